# Debian packages, one per install component (target `package`, `make
# package`):
#   libkiv5     Runtime: libkiv.so.5 and the library's message catalog
#   libkiv-dev  Development: headers, libkiv.so, libkiv.a, CMake package, kiv.pc
#   kiv-tools   Tools: kivini, kivconv, kivtrace, their catalogs, man pages and
#               bash completions
# The dependencies on other packages come from dpkg-shlibdeps (dpkg-dev),
# which reads the shared libraries that the packaged programs and libraries
# use; the packages' dependencies among themselves are exact versions.
# Packages are meant for /usr: configure the tree with
# -DCMAKE_INSTALL_PREFIX=/usr, so that the library goes into the multiarch
# directory and the tools need no run path.

set(KIV_PACKAGE_MAINTAINER
  "KIV Library maintainers <maintainers@users.noreply.c-seed-de517326.example>"
  CACHE STRING "Maintainer field of the Debian packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kiv)
set(CPACK_PACKAGE_VENDOR "KIV Library maintainers")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "${KIV_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
# A source package of the tree would pick up the build trees inside it.
set(CPACK_SOURCE_IGNORE_FILES "/\\\\.git/" "/build/")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL Runtime Development Tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${KIV_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# kiv-tools links libkiv.so.5, which no installed package holds yet:
# dpkg-shlibdeps finds it in the build tree and leaves its dependency to
# the component dependency below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_BINARY_DIR}")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS Runtime)

set(kiv_package_about
  "The KIV Library gives command-line tools and server processes one error
vocabulary, file names, directories and directory walks, environment
variables, process launching, dynamic libraries, code-page conversion,
a binary tracing facility, message catalogs, a console user interface,
INI files, a memory pool, string search and matching, and language and
territory tables.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "libkiv${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The shlibs file of libkiv5 (the only package with a shared library) lets
# dpkg-shlibdeps of other packages depend on it.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
  "KIV Library, portable operating-system services (shared library)
${kiv_package_about}

This package holds the shared library and its message catalog.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkiv-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# The CMake package and kiv.pc ask for ICU's development files.
if(ICU_FOUND)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS libicu-dev)
endif()
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
  "KIV Library, portable operating-system services (development files)
${kiv_package_about}

This package holds the headers, the static library, the CMake package
(find_package(Kiv)) and the pkg-config file kiv.pc.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kiv-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
  "command-line tools of the KIV Library
kivini reads and changes INI files from scripts, kivconv converts text
between code pages, and kivtrace shows the trace settings of a program and
formats its trace files. With man pages and bash completion.")

# Every package carries the licence as its copyright file. Only a component
# installation (the packages) writes these; `make install` keeps the licence
# in the documentation directory.
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "${component}" upper)
  install(FILES "${PROJECT_SOURCE_DIR}/LICENSE"
          DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}"
          RENAME copyright COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

# dpkg-shlibdeps is not optional: without it CPack would build packages
# that depend on nothing.
set(CPACK_PROJECT_CONFIG_FILE "${CMAKE_CURRENT_LIST_DIR}/KivPackagingCheck.cmake")

include(CPack)
unset(kiv_package_about)
unset(upper)
