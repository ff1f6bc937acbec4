# Compiler settings applied per target, never globally, so that a parent
# project that adds this one with add_subdirectory() keeps its own flags.

function(kiv_target_warnings target)
  target_compile_options(${target} PRIVATE
    $<$<CXX_COMPILER_ID:GNU,Clang>:-Wall -Wextra -Wpedantic -Werror>)
endfunction()

function(kiv_target_sanitizers target)
  if(KIV_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=address,undefined)
  endif()
  if(KIV_TSAN)
    target_compile_options(${target} PRIVATE -fsanitize=thread -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=thread)
  endif()
endfunction()

# Every program of the project (tests, benchmarks, examples, tools) gets the
# same warnings and sanitizers as the library.
function(kiv_target_program target)
  kiv_target_warnings(${target})
  kiv_target_sanitizers(${target})
endfunction()
