#!/bin/sh
# Checks scripts/install-deps.sh: the package list of each target, its
# answer to a bad target, and what it does when packages are missing, as
# root and as another user. apt-get, dpkg-query and id are replaced by
# stand-ins on PATH that keep the "installed" packages in a file, so that
# nothing is installed on the machine and the outcome is the same wherever
# the test runs.
#   install_deps_test.sh <install-deps.sh>
set -u
script=${1:?usage: install_deps_test.sh <install-deps.sh>}

tmp=$(mktemp -d "${TMPDIR:-/tmp}/kivdepstest.XXXXXX")
trap 'rm -rf "$tmp"' EXIT INT TERM

failures=0
checks=0
fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
check() {  # check <description> <command...>: the command must succeed
  description=$1
  shift
  checks=$((checks + 1))
  "$@" || fail "$description"
}
has() { grep -qx -- "$2" "$1"; }
lacks() { ! grep -qx -- "$2" "$1"; }
same() { cmp -s "$1" "$2"; }
empty() { [ ! -s "$1" ]; }

# list <target|""> <output file> [CXX]: the package list of a target.
list() {
  if [ -n "$1" ]; then
    CXX=${3:-g++} sh "$script" --list "$1" >"$2" 2>"$2.err"
  else
    CXX=${3:-g++} sh "$script" --list >"$2" 2>"$2.err"
  fi
}

# --- The lists -------------------------------------------------------------
for target in demo test asan tsan valgrind fuzz bench docs package install; do
  list "$target" "$tmp/$target.list"
  status=$?
  check "--list $target exits 0 (got $status)" [ "$status" -eq 0 ]
  check "--list $target prints nothing on stderr" empty "$tmp/$target.list.err"
  check "--list $target is not empty" [ -s "$tmp/$target.list" ]
  check "--list $target names each package once" \
    [ "$(sort "$tmp/$target.list" | uniq -d | wc -l)" -eq 0 ]
  check "--list $target prints one package name a line" \
    [ "$(grep -cvE '^[a-z0-9][a-z0-9.+-]+$' "$tmp/$target.list")" -eq 0 ]
  for p in cmake ninja-build g++ make libc-bin libicu-dev; do
    check "--list $target has the build's $p" has "$tmp/$target.list" "$p"
  done
done

list "" "$tmp/default.list"
check "no target lists what test needs" same "$tmp/default.list" "$tmp/test.list"
check "demo lists what test needs" same "$tmp/demo.list" "$tmp/test.list"

# The default tree builds and runs the tests, and nothing of the others.
# The packaging tools serve the test that builds and inspects the packages.
for p in libgtest-dev pkg-config python3 iso-codes dpkg-dev file; do
  check "test has $p" has "$tmp/test.list" "$p"
done
for p in libbenchmark-dev libinih-dev libglib2.0-dev libspdlog-dev clang libclang-rt-dev \
         valgrind doxygen time; do
  check "test has no $p" lacks "$tmp/test.list" "$p"
done

for p in libbenchmark-dev libinih-dev libglib2.0-dev libspdlog-dev pkg-config time; do
  check "bench has $p" has "$tmp/bench.list" "$p"
done
check "bench (no tests in its tree) has no libgtest-dev" lacks "$tmp/bench.list" libgtest-dev

for p in clang libclang-rt-dev; do
  check "fuzz has $p" has "$tmp/fuzz.list" "$p"
done
for p in libgtest-dev libbenchmark-dev valgrind; do
  check "fuzz has no $p" lacks "$tmp/fuzz.list" "$p"
done

check "valgrind has valgrind" has "$tmp/valgrind.list" valgrind
check "valgrind has libgtest-dev" has "$tmp/valgrind.list" libgtest-dev
check "docs has doxygen" has "$tmp/docs.list" doxygen
check "package has dpkg-dev" has "$tmp/package.list" dpkg-dev
check "package has file" has "$tmp/package.list" file
for target in asan tsan valgrind install; do
  check "$target needs what test needs" [ "$(grep -cvxFf "$tmp/$target.list" "$tmp/test.list")" -eq 0 ]
done

# With g++ the sanitizer trees need no clang; with clang++ they need its runtimes.
check "asan with g++ has no clang" lacks "$tmp/asan.list" clang
list asan "$tmp/asan-clang.list" clang++
list test "$tmp/test-clang.list" clang++
check "asan with clang++ has clang" has "$tmp/asan-clang.list" clang
check "asan with clang++ has libclang-rt-dev" has "$tmp/asan-clang.list" libclang-rt-dev
check "test with clang++ has clang" has "$tmp/test-clang.list" clang
check "test with clang++ has no libclang-rt-dev" lacks "$tmp/test-clang.list" libclang-rt-dev
list fuzz "$tmp/fuzz-clang.list" clang++
check "fuzz with clang++ names clang once" [ "$(grep -cx clang "$tmp/fuzz-clang.list")" -eq 1 ]

# --- Bad arguments ----------------------------------------------------------
sh "$script" --list bogus >"$tmp/bogus.out" 2>"$tmp/bogus.err"
status=$?
check "an unknown target exits 2 (got $status)" [ "$status" -eq 2 ]
check "an unknown target is named on stderr" grep -q "unknown target 'bogus'" "$tmp/bogus.err"
check "an unknown target prints nothing on stdout" empty "$tmp/bogus.out"
sh "$script" bogus >"$tmp/bogus2.out" 2>"$tmp/bogus2.err"
status=$?
check "an unknown target to install exits 2 (got $status)" [ "$status" -eq 2 ]
check "an unknown target to install is named on stderr" \
  grep -q "unknown target 'bogus'" "$tmp/bogus2.err"
sh "$script" --frobnicate >"$tmp/option.out" 2>"$tmp/option.err"
status=$?
check "an unknown option exits 2 (got $status)" [ "$status" -eq 2 ]
check "an unknown option is named on stderr" grep -q "unknown option '--frobnicate'" "$tmp/option.err"

# --- Installing, with stand-ins for apt-get, dpkg-query and id -------------
stubs="$tmp/bin"
state="$tmp/state"
mkdir -p "$stubs" "$state"
cat >"$stubs/dpkg-query" <<'EOF'
#!/bin/sh
# dpkg-query -W -f=FORMAT PACKAGE against $KIV_STUB_STATE/installed.
format=$2
package=$3
version=$(awk -v p="$package" '$1 == p { print $2 }' "$KIV_STUB_STATE/installed")
if [ -z "$version" ]; then
  echo "dpkg-query: no packages found matching $package" >&2
  exit 1
fi
case $format in
  *Status*) printf 'install ok installed' ;;
  *Version*) printf '%s' "$version" ;;
esac
EOF
cat >"$stubs/apt-get" <<'EOF'
#!/bin/sh
# Records its arguments; "install" marks its packages installed, unless
# $KIV_STUB_STATE/fail exists. Chatters like apt does.
echo "$*" >>"$KIV_STUB_STATE/calls"
echo "Reading package lists... Done"
[ "$1" = install ] || exit 0
if [ -e "$KIV_STUB_STATE/fail" ]; then
  echo "E: Unable to locate package $(cat "$KIV_STUB_STATE/fail")" >&2
  exit 100
fi
for argument; do
  case $argument in
    install | -*) ;;
    *) echo "$argument 9.9-stub" >>"$KIV_STUB_STATE/installed"; echo "Setting up $argument" ;;
  esac
done
EOF
cat >"$stubs/id" <<'EOF'
#!/bin/sh
echo "$KIV_STUB_UID"
EOF
chmod +x "$stubs/dpkg-query" "$stubs/apt-get" "$stubs/id"

# run <uid> <arguments...>: the script with the stand-ins, as that user.
run() {
  uid=$1
  shift
  PATH="$stubs:$PATH" KIV_STUB_STATE="$state" KIV_STUB_UID=$uid TMPDIR="$state" CXX=g++ \
    sh "$script" "$@" >"$tmp/out" 2>"$tmp/err"
}
# Everything of test's list installed but pkg-config and iso-codes.
reset_state() {
  grep -vx -e pkg-config -e iso-codes "$tmp/test.list" | sed 's/$/ 1.0-1/' >"$state/installed"
  rm -f "$state/calls" "$state/fail"
}

reset_state
run 0 --missing test
status=$?
check "--missing exits 0 (got $status)" [ "$status" -eq 0 ]
printf 'pkg-config\niso-codes\n' >"$tmp/expected"
check "--missing prints the missing packages" same "$tmp/out" "$tmp/expected"
check "--missing calls no apt-get" [ ! -e "$state/calls" ]

run 1000 test
status=$?
check "a normal user with packages missing: exit 1 (got $status)" [ "$status" -eq 1 ]
check "a normal user gets the command to run" grep -qF \
  "sudo apt-get update && sudo apt-get install -y --no-install-recommends --no-upgrade pkg-config iso-codes" \
  "$tmp/err"
check "a normal user: nothing on stdout" empty "$tmp/out"
check "a normal user: apt-get is not called" [ ! -e "$state/calls" ]

run 0 test
status=$?
check "root installs what is missing: exit 0 (got $status)" [ "$status" -eq 0 ]
printf 'installed: pkg-config 9.9-stub\ninstalled: iso-codes 9.9-stub\n' >"$tmp/expected"
check "root: one line per package installed, with its version, and nothing of apt's" \
  same "$tmp/out" "$tmp/expected"
check "root: nothing on stderr" empty "$tmp/err"
printf '%s\n' "update -qq" \
  "install -y -qq --no-install-recommends --no-upgrade pkg-config iso-codes" >"$tmp/expected"
check "root: apt-get update once, then installs only the missing packages, upgrading nothing" \
  same "$state/calls" "$tmp/expected"
check "root: apt's log is removed" [ -z "$(find "$state" -name 'kiv-install-deps.*')" ]

rm -f "$state/calls"
run 0 test
status=$?
check "nothing missing: exit 0 (got $status)" [ "$status" -eq 0 ]
check "nothing missing: no output" empty "$tmp/out"
check "nothing missing: no error output" empty "$tmp/err"
check "nothing missing: apt-get is not called" [ ! -e "$state/calls" ]
run 1000 test
status=$?
check "nothing missing, a normal user: exit 0 (got $status)" [ "$status" -eq 0 ]
check "nothing missing, a normal user: no output" empty "$tmp/err"

reset_state
echo iso-codes >"$state/fail"
run 0 test
status=$?
check "apt-get failing: exit 1 (got $status)" [ "$status" -eq 1 ]
check "apt-get failing: apt's output is shown" grep -q "E: Unable to locate package iso-codes" "$tmp/err"
check "apt-get failing: nothing claimed installed" empty "$tmp/out"
check "apt-get failing: apt's log is removed" [ -z "$(find "$state" -name 'kiv-install-deps.*')" ]

echo "$((checks - failures)) passed, $failures failed"
[ "$failures" -eq 0 ]
