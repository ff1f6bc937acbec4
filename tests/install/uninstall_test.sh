#!/bin/sh
# Usage: uninstall_test.sh <build dir> <uninstall script> <source dir>
#
# Installs the build tree into temporary prefixes and removes the
# installation again with the tree's uninstall script (what the target
# `uninstall` and `make uninstall` run), and checks what is left: nothing of
# ours, every file and directory of someone else's, and nothing at all of a
# prefix that the installation created.
set -eu
build=$1
uninstall=$2
src=$3
tmp=$(mktemp -d "${TMPDIR:-/tmp}/kivuninstall.XXXXXX")
trap 'rm -rf "$tmp"' EXIT INT TERM
unset DESTDIR KIV_UNINSTALL_PREFIX || true

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

# install_into <prefix> [<prefix as given to cmake --install, from the prefix's parent>]
install_into() {
  (cd "$(dirname "$1")" && cmake --install "$build" --prefix "${2:-$1}") >"$tmp/install.log" ||
    { cat "$tmp/install.log" >&2; fail "cmake --install into $1"; }
  for file in bin/kivini lib/libkiv.so.5 include/kiv/kiv.hpp share/kiv/nls/qrnmsg50.cat \
              share/bash-completion/completions/kivini share/man/man1/kivini.1; do
    [ -e "$1/$file" ] || fail "the installation into $1 has no $file"
  done
}

uninstall_from() {
  KIV_UNINSTALL_PREFIX=$1 cmake -P "$uninstall" >"$tmp/uninstall.log" 2>&1 ||
    { cat "$tmp/uninstall.log" >&2; fail "uninstalling from $1"; }
}

tree() { (cd "$1" && find . | LC_ALL=C sort); }

echo "== a prefix with files of someone else's: they stay, and so do their directories"
# Before the installation: files in shared directories and in one of the
# library's own, and an empty lib/. After it, someone else's file lands in
# include/, which the installation created.
p=$tmp/shared
mkdir -p "$p/bin" "$p/lib" "$p/share/man/man1" "$p/share/kiv/nls"
echo other >"$p/bin/other"
echo other >"$p/share/man/man1/other.1"
echo other >"$p/share/kiv/nls/other.cat"
install_into "$p"
echo other >"$p/include/other.hpp"
before=$(tree "$p")
uninstall_from "$p"
after=$(tree "$p")
expected=$(printf '%s\n' . ./bin ./bin/other ./include ./include/other.hpp ./lib ./share \
             ./share/kiv ./share/kiv/nls ./share/kiv/nls/other.cat ./share/man ./share/man/man1 \
             ./share/man/man1/other.1 | LC_ALL=C sort)
if [ "$after" != "$expected" ]; then
  echo "expected:" >&2; echo "$expected" >&2
  echo "left:" >&2; echo "$after" >&2
  fail "the prefix does not hold exactly the files of someone else's"
fi
[ "$(cat "$p/bin/other")" = other ] || fail "bin/other was changed"
for dir in include share/kiv/nls share/kiv; do
  grep -q "Keeping directory: $p/$dir (it holds other files)" "$tmp/uninstall.log" ||
    { cat "$tmp/uninstall.log" >&2; fail "no note that $dir was kept"; }
done

echo "== a prefix that the installation created, installed twice: nothing is left"
# The first time with a relative prefix, taken from the working directory.
mkdir "$tmp/fresh"
p=$tmp/fresh/prefix
install_into "$p" prefix
install_into "$p"
uninstall_from "$p"
[ ! -e "$p" ] || { tree "$p" >&2; fail "$p is left"; }
[ -d "$tmp/fresh" ] || fail "the parent of the prefix, which existed before, was removed"

echo "== a second uninstallation finds nothing to do"
if cmake -P "$uninstall" >"$tmp/again.log" 2>&1; then
  fail "a second uninstallation succeeded"
fi
grep -q "Nothing to uninstall" "$tmp/again.log" || { cat "$tmp/again.log" >&2; fail "no reason given"; }

echo "== make uninstall with another prefix removes nothing"
p=$tmp/elsewhere
install_into "$p"
before=$(tree "$p")
if make -s -C "$src" uninstall BUILD="$build" PREFIX="$tmp/other" >"$tmp/wrong.log" 2>&1; then
  fail "make uninstall with the wrong prefix succeeded"
fi
grep -q "prefix given: $tmp/other\$" "$tmp/wrong.log" || { cat "$tmp/wrong.log" >&2; fail "no reason given"; }
[ "$(tree "$p")" = "$before" ] || fail "make uninstall with the wrong prefix removed files"
make -s -C "$src" uninstall BUILD="$build" PREFIX="$p" >"$tmp/right.log" 2>&1 ||
  { cat "$tmp/right.log" >&2; fail "make uninstall PREFIX=$p"; }
[ ! -e "$p" ] || { tree "$p" >&2; fail "$p is left after make uninstall"; }
echo "all removed"
