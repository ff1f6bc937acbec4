# Read by CPack before it builds the packages (CPACK_PROJECT_CONFIG_FILE).
# The Debian packages take their dependencies from dpkg-shlibdeps; CPack
# alone would build them without it, and they would depend on nothing.
if(CPACK_GENERATOR STREQUAL "DEB")
  cmake_policy(PUSH)
  cmake_policy(SET CMP0109 NEW) # a program is what may be executed
  find_program(KIV_DPKG_SHLIBDEPS dpkg-shlibdeps)
  cmake_policy(POP)
  if(NOT KIV_DPKG_SHLIBDEPS)
    message(FATAL_ERROR "dpkg-shlibdeps not found: the packages' dependencies cannot be "
                        "filled in. Install the Debian package dpkg-dev "
                        "(scripts/install-deps.sh package).")
  endif()
endif()
