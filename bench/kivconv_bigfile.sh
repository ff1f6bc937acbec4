#!/bin/sh
# kivconv on 100 MB files, beside iconv(1), each as a whole process.
#
# Usage: bench/kivconv_bigfile.sh <kivconv program> [megabytes]
#
# Generates, in a temporary directory, a UTF-8 text of <megabytes> MB
# (default 100; mostly ASCII with some Latin, Greek, CJK and emoji
# characters) and a CP1252 text of the same size, then runs
#   kivconv -from 1208 -to 1200    vs  iconv -f UTF-8 -t UTF-16LE
#   kivconv -from 1252 -to 1208    vs  iconv -f CP1252 -t UTF-8
# under /usr/bin/time, each three times, and prints the best elapsed and
# the best CPU time (user + system, the fairer measure on a loaded
# machine), the peak resident memory, and the ratios iconv / kivconv (above
# 1: kivconv is faster). The outputs of each pair must be identical.
# CCSID 1200 is UCS-2 in little-endian byte order, the library's name for
# what iconv calls UTF-16LE. The CP1252 text avoids 0x80, 0x8E and 0x9E,
# where the library's CCSID 1252 (the code page as registered before the
# euro) and iconv's CP1252 differ, and the bytes iconv's CP1252 leaves
# undefined.
set -eu

kivconv=${1:?usage: kivconv_bigfile.sh <kivconv program> [megabytes]}
megabytes=${2:-100}
for tool in /usr/bin/time iconv awk cmp; do
  command -v "$tool" >/dev/null || { echo "kivconv_bigfile.sh: $tool is missing" >&2; exit 1; }
done

tmp=$(mktemp -d "${TMPDIR:-/tmp}/kivconv_bigfile.XXXXXX")
trap 'rm -rf "$tmp"' EXIT INT TERM

# A block of about 64 KiB, repeated to the size asked for.
awk 'BEGIN {
  for (i = 0; i < 700; ++i)
    printf "Line %05d: the quick brown fox jumps over the lazy dog; caf\303\251 na\303\257ve \316\261\316\262\316\263 \346\274\242\345\255\227 \360\237\230\200\n", i
}' >"$tmp/block.utf8"
awk 'BEGIN {
  for (i = 0; i < 900; ++i)
    printf "Zeile %05d: Gr\374\337e aus K\366ln \226 \223quoted\224 \251 \2455 fa\347ade\n", i
}' >"$tmp/block.cp1252"
for kind in utf8 cp1252; do
  : >"$tmp/big.$kind"
  block=$(wc -c <"$tmp/block.$kind")
  count=$((megabytes * 1024 * 1024 / block))
  i=0
  # Doubling keeps the number of appends small.
  cp "$tmp/block.$kind" "$tmp/part"
  n=1
  while [ $((n * 2)) -le "$count" ]; do
    cat "$tmp/part" "$tmp/part" >"$tmp/part2" && mv "$tmp/part2" "$tmp/part"
    n=$((n * 2))
  done
  cp "$tmp/part" "$tmp/big.$kind"
  i=$n
  while [ "$i" -lt "$count" ]; do
    cat "$tmp/block.$kind" >>"$tmp/big.$kind"
    i=$((i + 1))
  done
done
rm -f "$tmp/part"

# best <label> <output> <command...>: runs the command three times with its
# output to <output>; leaves "elapsed cpu kib" of the best runs in $best.
best() {
  label=$1
  output=$2
  shift 2
  bestElapsed=999999
  bestCpu=999999
  bestKib=0
  for _ in 1 2 3; do
    /usr/bin/time -f "%e %U %S %M" -o "$tmp/time" "$@" >"$output"
    read -r seconds user system kib <"$tmp/time"
    cpu=$(echo "$user $system" | awk '{ print $1 + $2 }')
    bestElapsed=$(echo "$bestElapsed $seconds" | awk '{ print ($2 < $1) ? $2 : $1 }')
    bestCpu=$(echo "$bestCpu $cpu" | awk '{ print ($2 < $1) ? $2 : $1 }')
    bestKib=$kib
  done
  printf '%-36s %8.2f s %8.2f s %9.1f MiB\n' "$label" "$bestElapsed" "$bestCpu" \
    "$(echo "$bestKib" | awk '{ print $1 / 1024 }')"
  best="$bestElapsed $bestCpu"
}

ratio() {
  echo "$1 $2" | awk '{ printf "%.2f", ($2 > 0) ? $1 / $2 : 0 }'
}

compare() {
  title=$1
  kivLabel=$2
  iconvLabel=$3
  kivArgs=$4
  iconvArgs=$5
  input=$6
  printf '\n%s (%s bytes)\n' "$title" "$(wc -c <"$input")"
  printf '%-36s %10s %10s %13s\n' "command" "elapsed" "CPU" "peak memory"
  # shellcheck disable=SC2086
  best "$kivLabel" "$tmp/kivconv.out" "$kivconv" $kivArgs "$input"
  kiv=$best
  # shellcheck disable=SC2086
  best "$iconvLabel" "$tmp/iconv.out" iconv $iconvArgs "$input"
  ref=$best
  cmp -s "$tmp/kivconv.out" "$tmp/iconv.out" ||
    { echo "kivconv_bigfile.sh: the outputs differ ($title)" >&2; exit 1; }
  set -- $kiv $ref
  printf 'iconv / kivconv: elapsed %s, CPU %s (outputs identical)\n' "$(ratio "$3" "$1")" \
    "$(ratio "$4" "$2")"
  rm -f "$tmp/kivconv.out" "$tmp/iconv.out"
}

compare "UTF-8 to UTF-16LE" "kivconv -from 1208 -to 1200" "iconv -f UTF-8 -t UTF-16LE" \
  "-from 1208 -to 1200" "-f UTF-8 -t UTF-16LE" "$tmp/big.utf8"
compare "CP1252 to UTF-8" "kivconv -from 1252 -to 1208" "iconv -f CP1252 -t UTF-8" \
  "-from 1252 -to 1208" "-f CP1252 -t UTF-8" "$tmp/big.cp1252"
