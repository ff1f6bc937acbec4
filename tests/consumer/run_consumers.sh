#!/bin/sh
# Usage: run_consumers.sh <build dir> <consumer sources> <c++ compiler>
set -eu
build=$1
src=$2
cxx=$3
tmp=$(mktemp -d "${TMPDIR:-/tmp}/kivconsumer.XXXXXX")
trap 'rm -rf "$tmp"' EXIT INT TERM

cmake --install "$build" --prefix "$tmp/prefix" >"$tmp/install.log"

echo "== find_package(Kiv) consumer"
cmake -S "$src/cmake" -B "$tmp/cmake-build" -G Ninja \
  -DCMAKE_PREFIX_PATH="$tmp/prefix" -DCMAKE_CXX_COMPILER="$cxx" >"$tmp/configure.log"
cmake --build "$tmp/cmake-build" >"$tmp/build.log"
"$tmp/cmake-build/kiv_cmake_consumer"

echo "== pkg-config consumer"
pc=$(find "$tmp/prefix" -name kiv.pc)
PKG_CONFIG_PATH=$(dirname "$pc")
export PKG_CONFIG_PATH
# shellcheck disable=SC2046
"$cxx" -std=c++17 -Wall -Wextra -Wpedantic -Werror "$src/pkgconfig/main.cpp" \
  -o "$tmp/kiv_pkgconfig_consumer" $(pkg-config --cflags --libs kiv)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir kiv) "$tmp/kiv_pkgconfig_consumer"
# The same program with the library's directory on its run path, as the
# README shows: it then runs without LD_LIBRARY_PATH.
# shellcheck disable=SC2046
"$cxx" -std=c++17 -Wall -Wextra -Wpedantic -Werror "$src/pkgconfig/main.cpp" \
  -o "$tmp/kiv_pkgconfig_rpath" $(pkg-config --cflags --libs kiv) \
  -Wl,-rpath,"$(pkg-config --variable=libdir kiv)"
env -u LD_LIBRARY_PATH "$tmp/kiv_pkgconfig_rpath"

echo "== installed message catalog"
test -f "$tmp/prefix/share/kiv/nls/qrnmsg50.cat"
# shellcheck disable=SC2046
"$cxx" -std=c++17 -Wall -Wextra -Wpedantic -Werror "$src/msgcat/main.cpp" \
  -o "$tmp/kiv_msgcat_consumer" $(pkg-config --cflags --libs kiv)
NLSPATH="$tmp/prefix/share/kiv/nls/%N" LD_LIBRARY_PATH=$(pkg-config --variable=libdir kiv) \
  "$tmp/kiv_msgcat_consumer"
