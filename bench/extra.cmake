# The peers that single benchmarks compare with: inih and GLib (found
# through pkg-config) beside our INI files, spdlog beside our tracing. They
# are optional. A benchmark program whose peer is missing is built all the
# same, with KIV_BENCH_HAVE_<PEER> set to 0: it leaves out the peer's half of
# the comparison, still runs our half, and says at run time what it skipped.
set(KIV_BENCH_HIDE_PEERS "" CACHE STRING
    "Peers the benchmarks treat as not installed (a list of inih, glib, spdlog), to try them without")

# kiv_bench_peer(<peer> <found> <debian package> <program> <what is compared>)
# Passes KIV_BENCH_HAVE_<PEER> to <program> and names a missing peer.
function(kiv_bench_peer peer found package program comparison)
  string(TOUPPER "${peer}" upper)
  if(found)
    target_compile_definitions(${program} PRIVATE KIV_BENCH_HAVE_${upper}=1)
  else()
    target_compile_definitions(${program} PRIVATE KIV_BENCH_HAVE_${upper}=0)
    message(STATUS "Benchmarks: peer ${peer} not found (package ${package}): "
                   "${program} leaves out ${comparison}")
  endif()
endfunction()

find_package(PkgConfig QUIET)
set(kiv_bench_inih_found FALSE)
set(kiv_bench_glib_found FALSE)
if(PKG_CONFIG_FOUND)
  if(NOT "inih" IN_LIST KIV_BENCH_HIDE_PEERS)
    pkg_check_modules(KIV_BENCH_INIH QUIET IMPORTED_TARGET inih INIReader)
    set(kiv_bench_inih_found ${KIV_BENCH_INIH_FOUND})
  endif()
  if(NOT "glib" IN_LIST KIV_BENCH_HIDE_PEERS)
    pkg_check_modules(KIV_BENCH_GLIB QUIET IMPORTED_TARGET glib-2.0)
    set(kiv_bench_glib_found ${KIV_BENCH_GLIB_FOUND})
  endif()
endif()
if(kiv_bench_inih_found)
  target_link_libraries(inifile_bench PRIVATE PkgConfig::KIV_BENCH_INIH)
endif()
if(kiv_bench_glib_found)
  target_link_libraries(inifile_bench PRIVATE PkgConfig::KIV_BENCH_GLIB)
endif()
kiv_bench_peer(inih "${kiv_bench_inih_found}" libinih-dev inifile_bench
               "the comparison of INI files with inih")
kiv_bench_peer(glib "${kiv_bench_glib_found}" libglib2.0-dev inifile_bench
               "the comparison of INI files with GLib's key files")

set(kiv_bench_spdlog_found FALSE)
if(NOT "spdlog" IN_LIST KIV_BENCH_HIDE_PEERS)
  find_package(spdlog QUIET)
  set(kiv_bench_spdlog_found ${spdlog_FOUND})
endif()
if(kiv_bench_spdlog_found)
  target_link_libraries(trace_bench PRIVATE spdlog::spdlog)
endif()
kiv_bench_peer(spdlog "${kiv_bench_spdlog_found}" libspdlog-dev trace_bench
               "the comparison of tracing with spdlog")
