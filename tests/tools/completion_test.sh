#!/bin/bash
# Usage: completion_test.sh <tool> <tool program> <completion file>
#
# Sources the tool's bash completion in a clean bash, sets COMP_WORDS and
# COMP_CWORD as readline would, calls the function that the file registers
# for the tool and compares COMPREPLY with what is expected: the options of
# the tool's --help (all of them, so that the two cannot drift apart), an
# option prefix, file names where the tool expects a file, nothing where it
# expects a word of the user's own, and code pages for kivconv.
set -eu
tool=$1
program=$(realpath "$2")
completion=$(realpath "$3")
tmp=$(mktemp -d "${TMPDIR:-/tmp}/kivcompletion.XXXXXX")
trap 'rm -rf "$tmp"' EXIT INT TERM
failures=0

# complete <word>...: prints COMPREPLY one word a line, sorted, and a last
# line "compopt: <options>" when the function asked for file name handling.
# The first word is the program itself, so that kivconv can run -list.
complete_words() {
  (cd "$tmp/files" && bash --norc --noprofile -c '
    set -u
    source "$1"
    shift
    registered=$(complete -p "$1" 2>/dev/null) || { echo "no completion for $1" >&2; exit 1; }
    function=$(printf "%s\n" "$registered" | sed -n "s/.* -F \([^ ]*\) .*/\1/p")
    compopt() { compopt_options="$*"; }
    compopt_options=
    shift
    COMP_WORDS=("$program" "$@")
    COMP_CWORD=$(( ${#COMP_WORDS[@]} - 1 ))
    COMP_LINE="${COMP_WORDS[*]}"
    COMP_POINT=${#COMP_LINE}
    "$function" "$program" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    if [ ${#COMPREPLY[@]} -gt 0 ]; then printf "%s\n" "${COMPREPLY[@]}" | LC_ALL=C sort; fi
    if [ -n "$compopt_options" ]; then echo "compopt: $compopt_options"; fi
  ' bash "$completion" "$tool" "$@")
}

# expect "<expected lines>" <word>...
expect() {
  want=$1
  shift
  got=$(program=$program complete_words "$@")
  if [ "$got" != "$want" ]; then
    echo "FAIL: $tool $*<TAB>" >&2
    echo "  expected: $(printf '%s' "$want" | tr '\n' ' ')" >&2
    echo "  got:      $(printf '%s' "$got" | tr '\n' ' ')" >&2
    failures=$((failures + 1))
  else
    echo "ok: $tool $*<TAB> -> $(printf '%s' "$got" | tr '\n' ' ')"
  fi
}
export program

lines() { printf '%s\n' "$@" | LC_ALL=C sort; }

mkdir "$tmp/files" "$tmp/files/alps"
touch "$tmp/files/alpha.ini" "$tmp/files/alpine.txt" "$tmp/files/beta.ini"
files_al=$(lines alpha.ini alpine.txt alps; echo "compopt: -o filenames")

# Every option of the usage block of --help (up to its first empty line
# after "Usage:"), and the GNU-style --help and --version.
help=$("$program" --help)
help_options=$({
  printf '%s\n' "$help" | awk '/^Usage:/ { on = 1 } on && /^$/ { exit } on' |
    sed -e 's/<[^>]*>//g' -e 's/[][|]/ /g' -e 's/\.\.\.//g' | tr ' ' '\n' | grep '^-'
  echo --help
  echo --version
} | LC_ALL=C sort -u)
if [ "$(printf '%s\n' "$help_options" | wc -l)" -lt 8 ]; then
  echo "FAIL: too few options read from $tool --help: $(printf '%s' "$help_options" | tr '\n' ' ')" >&2
  exit 1
fi
expect "$help_options" -

case $tool in
  kivini)
    expect "-sections" -sec
    expect "-sections
-set
-strict" -s
    expect "$files_al" -get al
    expect "$files_al" -quiet -check al
    expect "$files_al" -delete al
    # section, option and value names are not completed
    expect "" -get alpha.ini ""
    expect "" -set alpha.ini sect opt ""
    # after a command, a word beginning with "-" is still an option
    expect "-bool" -get alpha.ini sect opt -b
    # before a command every word is an option
    expect "$help_options" -quiet ""
    ;;
  kivconv)
    expect "-substitute" -su
    expect "-from" -fr
    expect "$files_al" -output al
    expect "$files_al" -from 1208 -to 37 al
    # the code pages convertible in the direction of the option
    expect "273
274
277
278" -from 27
    expect "273
277
278" -to 27
    expect "UTF-8" -from UTF-
    expect "UTF-8" -to UTF-
    ;;
  kivtrace)
    expect "-fnest
-fnofhd" -fn
    expect "-key" -k
    expect "$files_al" -key KIV -file al
    expect "" -key ""
    expect "" -key KIV -fpid ""
    expect "-display" -key KIV -d
    ;;
  *)
    echo "no cases for $tool" >&2
    exit 2
    ;;
esac

if [ "$failures" -ne 0 ]; then
  echo "$failures completion case(s) of $tool failed" >&2
  exit 1
fi
