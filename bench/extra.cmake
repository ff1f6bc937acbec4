# Extra libraries of single benchmarks (peers found through pkg-config).
find_package(PkgConfig REQUIRED)
pkg_check_modules(KIV_BENCH_INIH REQUIRED IMPORTED_TARGET inih INIReader)
pkg_check_modules(KIV_BENCH_GLIB REQUIRED IMPORTED_TARGET glib-2.0)
target_link_libraries(inifile_bench PRIVATE PkgConfig::KIV_BENCH_INIH PkgConfig::KIV_BENCH_GLIB)
# spdlog, the logger the trace benchmark compares with (a benchmark
# dependency only).
find_package(spdlog REQUIRED)
target_link_libraries(trace_bench PRIVATE spdlog::spdlog)
