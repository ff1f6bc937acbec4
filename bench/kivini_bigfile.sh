#!/bin/sh
# kivini on a 50 MB INI file, beside the tools a script would otherwise use.
#
# Usage: bench/kivini_bigfile.sh <kivini program> [sections]
#
# Generates a file of <sections> sections (default 100000) of 10 options
# each (about 50 MB) in a temporary directory, then runs each command as a
# whole process under /usr/bin/time and prints its elapsed time, its CPU
# time (user and system) and its peak resident memory:
#   -get    kivini -get, git config --file, an awk script that finds the line
#   -set    kivini -set, git config --file, an awk script that rewrites the
#           line (each on a fresh copy of the file)
# The option asked for sits in the middle of the file. Every run must
# succeed and every -set must leave the same file behind.
set -eu

kivini=${1:?usage: kivini_bigfile.sh <kivini program> [sections]}
sections=${2:-100000}
for tool in /usr/bin/time git awk cmp; do
  command -v "$tool" >/dev/null || { echo "kivini_bigfile.sh: $tool is missing" >&2; exit 1; }
done

tmp=$(mktemp -d "${TMPDIR:-/tmp}/kivini_bigfile.XXXXXX")
trap 'rm -rf "$tmp"' EXIT INT TERM

middle=$((sections / 2))
section="section$middle"
option="key05"
value="changed-value"

awk -v n="$sections" 'BEGIN {
  for (s = 1; s <= n; ++s) {
    printf "[section%d]\n", s
    for (o = 0; o < 10; ++o) printf "key%02d = value-%07d-%02d-abcdefghijklmnopqrstuvw\n", o, s, o
  }
}' >"$tmp/big.ini"
size=$(wc -c <"$tmp/big.ini")

# The awk peers: the value of the option, and the file with it replaced.
awk_get='$0 == "[" s "]" { inside = 1; next }
/^\[/ { inside = 0 }
inside && $1 == k { sub(/^[^=]*=[ \t]*/, ""); print; exit }'
awk_set='$0 == "[" s "]" { inside = 1; print; next }
/^\[/ { inside = 0 }
inside && !done && $1 == k { print k " = " v; done = 1; next }
{ print }'

# run <label> <command...>: one line of the table; the command's output
# goes to $tmp/out.
run() {
  label=$1
  shift
  /usr/bin/time -f "%e %U %S %M" -o "$tmp/time" "$@" >"$tmp/out"
  read -r seconds user system kib <"$tmp/time"
  printf '%-30s %7s s %7.2f s %9.1f MiB\n' "$label" "$seconds" \
    "$(echo "$user $system" | awk '{ print $1 + $2 }')" "$(echo "$kib" | awk '{ print $1 / 1024 }')"
}

expect_output() {
  [ "$(cat "$tmp/out")" = "$1" ] || { echo "unexpected output: $(cat "$tmp/out")" >&2; exit 1; }
}

printf 'File: %s bytes, %s sections of 10 options; option [%s] %s\n\n' \
  "$size" "$sections" "$section" "$option"
printf '%-30s %9s %9s %13s\n' "command" "elapsed" "CPU" "peak memory"
expected="value-$(printf %07d "$middle")-05-abcdefghijklmnopqrstuvw"

run "kivini -get" "$kivini" -get "$tmp/big.ini" "$section" "$option"
expect_output "$expected"
run "git config --file (get)" git config --file "$tmp/big.ini" "$section.$option"
expect_output "$expected"
run "awk (get)" awk -v s="$section" -v k="$option" "$awk_get" "$tmp/big.ini"
expect_output "$expected"

cp "$tmp/big.ini" "$tmp/kivini.ini"
run "kivini -set" "$kivini" -set "$tmp/kivini.ini" "$section" "$option" "$value"
cp "$tmp/big.ini" "$tmp/git.ini"
run "git config --file (set)" git config --file "$tmp/git.ini" "$section.$option" "$value"
cp "$tmp/big.ini" "$tmp/awk.ini"
run "awk (set, to a new file)" sh -c 'awk -v s="$1" -v k="$2" -v v="$3" "$4" "$5" >"$5.new" &&
  mv "$5.new" "$5"' sh "$section" "$option" "$value" "$awk_set" "$tmp/awk.ini"

# git writes "\tkey05 = value"; kivini and awk keep the file's layout.
cmp "$tmp/kivini.ini" "$tmp/awk.ini"
run "kivini -get (after -set)" "$kivini" -get "$tmp/kivini.ini" "$section" "$option"
expect_output "$value"
