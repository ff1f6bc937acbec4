#!/bin/sh
# Installs the Debian packages that one target of the Makefile needs, and
# only those, when they are missing.
#
#   scripts/install-deps.sh [TARGET]            install what TARGET needs
#   scripts/install-deps.sh --list [TARGET]     print TARGET's packages
#   scripts/install-deps.sh --missing [TARGET]  print those not installed
#
# TARGET is one of demo, test, asan, tsan, valgrind, fuzz, bench, docs,
# package and install; without one it is test. The two listing modes print
# one package a line and install nothing.
#
# As root the missing packages are installed quietly: apt's own output goes
# to a log that is printed only when apt fails, and one line is printed per
# package installed ("installed: NAME VERSION"). Packages already there are
# left at their version: nothing is upgraded. As another user the script
# prints the command to run and exits 1 when something is missing. Nothing
# missing: no output, exit 0. A bad target or option: exit 2.
#
# The compiler named by CXX (as the Makefile passes it) adds clang when it is
# clang, and with it clang's sanitizer runtimes for the trees that need them.
set -eu

usage() {
  echo "usage: $0 [--list | --missing] [demo|test|asan|tsan|valgrind|fuzz|bench|docs|package|install]"
}

mode=install
case ${1:-} in
  --list) mode=list; shift ;;
  --missing) mode=missing; shift ;;
  -h | --help) usage; exit 0 ;;
  -*) echo "$0: unknown option '$1'" >&2; usage >&2; exit 2 ;;
esac
[ $# -le 1 ] || { usage >&2; exit 2; }
target=${1:-test}

# What configuring and building the library itself takes: the build tools,
# ICU for the code-page converters, and gencat (libc-bin) for the message
# catalog.
base="cmake ninja-build g++ make libc-bin libicu-dev"

# dpkg-shlibdeps (dpkg-dev) fills in the Debian packages' dependencies, and
# CPack runs file(1) over what it packs.
packaging="dpkg-dev file"

# The default tree (make demo, test, valgrind, install, docs) also builds
# and runs the tests: GoogleTest; pkg-config for the consumer tests; python3
# for the checks of the generated tables; iso-codes for the language tables;
# the packaging tools for the test that builds and inspects the packages.
tests="$base libgtest-dev pkg-config python3 iso-codes $packaging"

case $target in
  demo | test | install) packages=$tests ;;
  asan | tsan) packages=$tests; sanitizers=yes ;;
  valgrind) packages="$tests valgrind" ;;
  # The fuzzing programs need clang's libFuzzer and sanitizer runtimes.
  fuzz) packages="$base clang libclang-rt-dev" ;;
  # Google Benchmark, the peers the benchmarks compare with (found through
  # pkg-config and CMake), and time(1) for the whole-file kivconv runs.
  bench) packages="$base libbenchmark-dev pkg-config libinih-dev libglib2.0-dev libspdlog-dev time" ;;
  docs) packages="$tests doxygen" ;;
  package) packages="$base $packaging" ;;
  *)
    echo "$0: unknown target '$target'" >&2
    usage >&2
    exit 2
    ;;
esac

case ${CXX:-} in
  *clang*)
    case $packages in *" clang "* | *" clang") ;; *) packages="$packages clang" ;; esac
    if [ "${sanitizers:-}" = yes ]; then packages="$packages libclang-rt-dev"; fi
    ;;
esac

if [ "$mode" = list ]; then
  for p in $packages; do echo "$p"; done
  exit 0
fi

installed() {
  dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "install ok installed"
}

missing=""
for p in $packages; do
  installed "$p" || missing="$missing $p"
done

if [ "$mode" = missing ]; then
  for p in $missing; do echo "$p"; done
  exit 0
fi

[ -z "$missing" ] && exit 0

apt_install="apt-get install -y --no-install-recommends --no-upgrade$missing"
if [ "$(id -u)" -ne 0 ]; then
  echo "These packages are missing:$missing" >&2
  echo "Install them with:" >&2
  echo "  sudo apt-get update && sudo $apt_install" >&2
  exit 1
fi

log=$(mktemp "${TMPDIR:-/tmp}/kiv-install-deps.XXXXXX")
trap 'rm -f "$log"' EXIT
trap 'exit 1' INT TERM
export DEBIAN_FRONTEND=noninteractive
# shellcheck disable=SC2086
if ! { apt-get update -qq && apt-get install -y -qq --no-install-recommends --no-upgrade $missing; } \
    >"$log" 2>&1; then
  echo "$0: apt-get failed installing:$missing" >&2
  cat "$log" >&2
  exit 1
fi
for p in $missing; do
  if installed "$p"; then
    echo "installed: $p $(dpkg-query -W -f='${Version}' "$p")"
  else
    echo "$0: $p is still not installed after apt-get" >&2
    cat "$log" >&2
    exit 1
  fi
done
