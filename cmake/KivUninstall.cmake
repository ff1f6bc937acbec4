# The target `uninstall`: removes what the last `cmake --install` of this
# build tree wrote (install_manifest.txt lists it), and the directories that
# the installation created, once they are empty.
#
# Which directories an installation created cannot be seen afterwards, so
# the first install rule (this file is included before any other install
# rule) writes down which of the directories that the installation fills
# do not exist yet: install_created_dirs.txt beside the manifest. The
# directories named after the library are ours in any case. A directory
# that holds anything else is never removed.
#
# With KIV_UNINSTALL_PREFIX set in the environment (the Makefile sets it
# from PREFIX), the uninstallation first checks that the manifest lists an
# installation into that prefix and removes nothing otherwise.

# Every directory that the install rules write into, relative to the
# prefix, and the directories of the library's own among them. The install
# test checks that an installation into an empty prefix leaves nothing
# behind, so a new destination that is missing here is noticed.
set(KIV_INSTALL_DIRS
  "${CMAKE_INSTALL_BINDIR}"
  "${CMAKE_INSTALL_INCLUDEDIR}/kiv"
  "${CMAKE_INSTALL_LIBDIR}/cmake/Kiv"
  "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
  "${CMAKE_INSTALL_DATADIR}/kiv/nls"
  "${CMAKE_INSTALL_DOCDIR}"
  "${CMAKE_INSTALL_MANDIR}/man1"
  "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
set(KIV_OWN_INSTALL_DIRS
  "${CMAKE_INSTALL_INCLUDEDIR}/kiv"
  "${CMAKE_INSTALL_LIBDIR}/cmake/Kiv"
  "${CMAKE_INSTALL_DATADIR}/kiv/nls"
  "${CMAKE_INSTALL_DATADIR}/kiv"
  "${CMAKE_INSTALL_DOCDIR}")

# The directories above with each of their parents below the prefix.
set(kiv_dirs_with_parents "")
foreach(dir IN LISTS KIV_INSTALL_DIRS)
  while(NOT dir STREQUAL "" AND NOT IS_ABSOLUTE "${dir}")
    list(APPEND kiv_dirs_with_parents "${dir}")
    get_filename_component(dir "${dir}" DIRECTORY)
  endwhile()
endforeach()
list(REMOVE_DUPLICATES kiv_dirs_with_parents)

set(KIV_INSTALL_CREATED_DIRS_FILE "${CMAKE_BINARY_DIR}/install_created_dirs.txt")
configure_file("${CMAKE_CURRENT_LIST_DIR}/KivRecordInstallDirs.cmake.in"
               "${CMAKE_BINARY_DIR}/kiv_record_install_dirs.cmake" @ONLY)
install(SCRIPT "${CMAKE_BINARY_DIR}/kiv_record_install_dirs.cmake" ALL_COMPONENTS)

configure_file("${CMAKE_CURRENT_LIST_DIR}/KivUninstall.cmake.in"
               "${CMAKE_BINARY_DIR}/kiv_uninstall.cmake" @ONLY)
add_custom_target(uninstall
  COMMAND "${CMAKE_COMMAND}" -P "${CMAKE_BINARY_DIR}/kiv_uninstall.cmake"
  COMMENT "Removing the files of the last installation of this tree"
  VERBATIM)
unset(kiv_dirs_with_parents)
