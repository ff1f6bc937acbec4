#!/bin/sh
# Usage: package_test.sh <source dir> <c++ compiler> <version> <multiarch tuple> <ICU: 1 or 0>
#
# Builds the Debian packages as `make package` does, in a release tree of
# its own configured for /usr, and checks each package: with dpkg-deb -c
# that it holds exactly its files (nothing of the build tree, no test or
# example program), with dpkg-deb -I its control fields and dependencies,
# and in the unpacked files that nothing names the build tree and that the
# tools carry no run path.
set -eu
src=$1
cxx=$2
version=$3
multiarch=$4
icu=$5
major=${version%%.*}

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

# The dependencies are filled in by dpkg-shlibdeps: without it the packages
# would be wrong, so this is a failure, not a reason to skip.
for program in dpkg-shlibdeps dpkg-deb file readelf; do
  command -v "$program" >/dev/null ||
    fail "$program not found: the Debian packages cannot be built and checked" \
         "(install dpkg-dev, file and binutils: scripts/install-deps.sh package)"
done

tmp=$(mktemp -d "${TMPDIR:-/tmp}/kivpackage.XXXXXX")
trap 'rm -rf "$tmp"' EXIT INT TERM
tree=$tmp/tree

echo "== building the packages in $tree"
cmake -S "$src" -B "$tree" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_INSTALL_PREFIX=/usr -DKIV_BUILD_TESTS=OFF -DKIV_BUILD_BENCH=OFF >"$tmp/configure.log" 2>&1 ||
  { cat "$tmp/configure.log" >&2; fail "configuring the package tree"; }
cmake --build "$tree" --target package >"$tmp/build.log" 2>&1 ||
  { tail -50 "$tmp/build.log" >&2; fail "building the packages"; }

arch=$(dpkg --print-architecture)
lib=usr/lib${multiarch:+/$multiarch}
failures=0
check() {
  if [ "$2" != "$3" ]; then
    echo "FAIL: $1" >&2
    echo "  expected: $(printf '%s' "$2" | tr '\n' ' ')" >&2
    echo "  got:      $(printf '%s' "$3" | tr '\n' ' ')" >&2
    failures=$((failures + 1))
  fi
}
# lines <text>...: the lines of all the texts, sorted.
lines() { printf '%s\n' "$@" | LC_ALL=C sort; }

# contents <deb>: the files and links of the package ("link -> target"),
# without the directories, one a line.
contents() {
  dpkg-deb -c "$1" | awk '$1 !~ /^d/ { $1 = $2 = $3 = $4 = $5 = ""; sub(/^ +/, ""); print }' |
    sed 's|^\./||' | LC_ALL=C sort
}

# field <control text> <name>
field() { printf '%s\n' "$1" | sed -n "s/^$2: //p"; }

headers=$(cd "$src/kiv_include" && for h in *.hpp kiv_config.hpp kiv_export.hpp; do
            echo "usr/include/kiv/$h"; done)

for package in "libkiv$major" libkiv-dev kiv-tools; do
  deb=$tree/${package}_${version}_$arch.deb
  [ -f "$deb" ] || fail "$deb was not built (built: $(cd "$tree" && ls ./*.deb 2>/dev/null))"
  echo "== $package"
  control=$(dpkg-deb -I "$deb" control)
  printf '%s\n' "$control"
  check "$package: Package" "$package" "$(field "$control" Package)"
  check "$package: Version" "$version" "$(field "$control" Version)"
  check "$package: Architecture" "$arch" "$(field "$control" Architecture)"
  check "$package: Priority" optional "$(field "$control" Priority)"
  [ -n "$(field "$control" Maintainer)" ] || check "$package: Maintainer" "a maintainer" ""
  depends=$(field "$control" Depends | tr ',' '\n' | sed 's/^ *//')
  summary=$(field "$control" Description)

  case $package in
    libkiv*-dev)
      check "$package: Section" libdevel "$(field "$control" Section)"
      check "$package: contents" "$(lines "$headers" \
          "$lib/cmake/Kiv/KivConfig.cmake" "$lib/cmake/Kiv/KivConfigVersion.cmake" \
          "$lib/cmake/Kiv/KivTargets-release.cmake" "$lib/cmake/Kiv/KivTargets.cmake" \
          "$lib/libkiv.a" "$lib/libkiv.so -> libkiv.so.$major" "$lib/pkgconfig/kiv.pc" \
          "usr/share/doc/$package/copyright")" "$(contents "$deb")"
      expected_depends="libkiv$major (= $version)"
      if [ "$icu" = 1 ]; then
        expected_depends="$expected_depends
libicu-dev"
      fi
      check "$package: Depends" "$expected_depends" "$depends"
      ;;
    libkiv*)
      check "$package: Section" libs "$(field "$control" Section)"
      check "$package: contents" "$(lines "$lib/libkiv.so.$major -> libkiv.so.$version" \
          "$lib/libkiv.so.$version" "usr/share/doc/$package/copyright" \
          "usr/share/kiv/nls/qrnmsg50.cat")" "$(contents "$deb")"
      check "$package: shlibs" "libkiv $major $package (>= $version)" \
            "$(dpkg-deb -I "$deb" shlibs)"
      # From dpkg-shlibdeps: the C and C++ runtimes, and ICU's common library.
      expected="libc6 libgcc-s1 libstdc++6"
      if [ "$icu" = 1 ]; then
        expected="$expected libicu"
      fi
      for dependency in $expected; do
        printf '%s\n' "$depends" | grep -q "^${dependency}[0-9]* (>= " ||
          check "$package: Depends has $dependency" "$dependency (>= ...)" "$depends"
      done
      if printf '%s\n' "$depends" | grep -q "^libkiv"; then
        check "$package: Depends on itself" "" "$depends"
      fi
      ;;
    kiv-tools)
      check "$package: Section" utils "$(field "$control" Section)"
      check "$package: contents" "$(lines \
          usr/bin/kivconv usr/bin/kivini usr/bin/kivtrace \
          usr/share/bash-completion/completions/kivconv \
          usr/share/bash-completion/completions/kivini \
          usr/share/bash-completion/completions/kivtrace \
          "usr/share/doc/$package/copyright" \
          usr/share/kiv/nls/kivconv.cat usr/share/kiv/nls/kivini.cat \
          usr/share/man/man1/kivconv.1 usr/share/man/man1/kivini.1 \
          usr/share/man/man1/kivtrace.1)" "$(contents "$deb")"
      printf '%s\n' "$depends" | grep -qx "libkiv$major (= $version)" ||
        check "$package: Depends has libkiv$major" "libkiv$major (= $version)" "$depends"
      printf '%s\n' "$depends" | grep -q "^libc6 (>= " ||
        check "$package: Depends has libc6" "libc6 (>= ...)" "$depends"
      ;;
  esac
  [ -n "$summary" ] || check "$package: Description" "a summary line" ""

  # Every file belongs to root, and nothing refers to the build tree.
  dpkg-deb -c "$deb" | awk '$2 != "root/root" { print; bad = 1 } END { exit bad }' ||
    check "$package: owner" "root/root" "other owners (above)"
  mkdir "$tmp/$package"
  dpkg-deb -x "$deb" "$tmp/$package"
  named=$(grep -rl -F "$tree" "$tmp/$package" || true)
  check "$package: files that name the build tree" "" "$named"
done

# The tools find libkiv.so.5 in the system's library directory: no run path
# (least of all one into the build tree).
for tool in kivini kivconv kivtrace; do
  check "$tool: run path" "" "$(readelf -d "$tmp/kiv-tools/usr/bin/$tool" | grep -E 'RPATH|RUNPATH' || true)"
done

if [ "$failures" -ne 0 ]; then
  fail "$failures check(s) of the packages failed"
fi
echo "three packages, each with exactly its files and dependencies"
