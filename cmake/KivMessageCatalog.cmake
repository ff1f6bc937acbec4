# kiv_add_message_catalog(<target> NAME <base name> GENERATOR_SOURCES <files...>
#                         [INCLUDE_DIRS <dirs...>] [COMPONENT <install component>])
#
# Builds a message catalog <base name>.cat from a compiled-in string table:
# a small generator program (GENERATOR_SOURCES, whose main() calls
# kivbuild::runCatalogSourceGenerator with the table) writes the message
# source, and gencat compiles it. The catalog is built by default, installed
# under share/kiv/nls (found there with NLSPATH=<prefix>/share/kiv/nls/%N),
# in the install component COMPONENT (default Runtime, the library's), and
# its path is left in <target>_FILE in the caller's scope.
find_program(KIV_GENCAT gencat REQUIRED)

function(kiv_add_message_catalog target)
  cmake_parse_arguments(ARG "" "NAME;COMPONENT" "GENERATOR_SOURCES;INCLUDE_DIRS" ${ARGN})
  if(NOT ARG_COMPONENT)
    set(ARG_COMPONENT Runtime)
  endif()
  set(generator ${target}_source_generator)
  add_executable(${generator} ${ARG_GENERATOR_SOURCES}
                 "${PROJECT_SOURCE_DIR}/message/catalog_source/kiv_catalog_source.cpp")
  target_compile_features(${generator} PRIVATE cxx_std_17)
  target_include_directories(${generator} PRIVATE
    "${PROJECT_SOURCE_DIR}/kiv_include" "${KIV_GENERATED_INCLUDE_DIR}"
    "${PROJECT_SOURCE_DIR}/message" "${PROJECT_SOURCE_DIR}/tools/common" ${ARG_INCLUDE_DIRS})
  kiv_target_warnings(${generator})

  set(source "${CMAKE_CURRENT_BINARY_DIR}/${ARG_NAME}.msg")
  set(catalog "${CMAKE_CURRENT_BINARY_DIR}/${ARG_NAME}.cat")
  add_custom_command(OUTPUT "${catalog}"
    COMMAND ${generator} "${source}"
    COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C "${KIV_GENCAT}" --new "${catalog}" "${source}"
    DEPENDS ${generator}
    BYPRODUCTS "${source}"
    COMMENT "Generating the message catalog ${ARG_NAME}.cat"
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS "${catalog}")
  install(FILES "${catalog}" DESTINATION "${CMAKE_INSTALL_DATADIR}/kiv/nls"
          COMPONENT ${ARG_COMPONENT})
  set(${target}_FILE "${catalog}" PARENT_SCOPE)
endfunction()
