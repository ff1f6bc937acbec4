# Runs one or more commands and checks what they print against an expected
# file. The example tests (ctest -L examples) use it through
# kiv_add_example() and kiv_add_output_test() in CMakeLists.txt.
#
#   cmake -DEXPECTED=<file> -DSTEPS=<n>
#         -DSTEP1_ARGC=<k> -DSTEP1_ARG0=<program> ... -DSTEP1_ARG<k-1>=<argument>
#         [-DSTATUS1=<code>] [-DSTDERR1=ON]
#         ... the same for the steps 2 to <n> ...
#         -P compare_output.cmake
#
# Each word of a command is a variable of its own, so that arguments may hold
# spaces. The steps run one after the other in the current directory, with
# the environment of this script. A step whose exit status is not STATUS<i>
# (default 0) fails the test at once. The standard output of all steps,
# joined in order, must equal the expected file byte for byte. With
# STDERR<i>=ON the step's standard error counts as output too: the step runs
# through "sh -c" with its standard error sent to its standard output, so
# that the two stay in the order in which the program wrote them. Otherwise
# standard error is passed to the test log and not compared. On a mismatch
# the whole output is written to <expected name>.actual in the current
# directory and shown as a unified diff against the expected file.

cmake_minimum_required(VERSION 3.25)

if(NOT DEFINED EXPECTED OR NOT DEFINED STEPS)
  message(FATAL_ERROR "compare_output.cmake needs -DEXPECTED=<file> and -DSTEPS=<n>")
endif()

set(actual "")
foreach(step RANGE 1 ${STEPS})
  if(NOT DEFINED STEP${step}_ARGC OR STEP${step}_ARGC LESS 1)
    message(FATAL_ERROR "compare_output.cmake: STEP${step}_ARGC is missing")
  endif()
  set(command "")
  math(EXPR last "${STEP${step}_ARGC} - 1")
  foreach(word RANGE 0 ${last})
    list(APPEND command "${STEP${step}_ARG${word}}")
  endforeach()
  set(want 0)
  if(DEFINED STATUS${step})
    set(want ${STATUS${step}})
  endif()
  if(STDERR${step})
    execute_process(COMMAND sh -c "exec \"$0\" \"$@\" 2>&1" ${command}
                    OUTPUT_VARIABLE output RESULT_VARIABLE status)
  else()
    execute_process(COMMAND ${command}
                    OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE status)
    if(NOT errors STREQUAL "")
      message("standard error of step ${step}:\n${errors}")
    endif()
  endif()
  string(APPEND actual "${output}")
  if(NOT status STREQUAL want)
    message("output of step ${step}:\n${output}")
    message(FATAL_ERROR "step ${step} (${command}) ended with status ${status}, expected ${want}")
  endif()
endforeach()

get_filename_component(name "${EXPECTED}" NAME_WE)
set(actual_file "${CMAKE_CURRENT_BINARY_DIR}/${name}.actual")
file(REMOVE "${actual_file}")  # left from an earlier failure
file(READ "${EXPECTED}" expected)
if(actual STREQUAL expected)
  return()
endif()

file(WRITE "${actual_file}" "${actual}")
find_program(KIV_DIFF diff)
if(KIV_DIFF)
  execute_process(COMMAND "${KIV_DIFF}" -u "${EXPECTED}" "${actual_file}" OUTPUT_VARIABLE diff)
  message("${diff}")
else()
  message("expected:\n${expected}\nactual:\n${actual}")
endif()
message(FATAL_ERROR "the output differs from ${EXPECTED} (the output is in ${actual_file})")
