#!/bin/sh
# Lists the dynamic symbols that libkiv.so defines and fails on any name that
# is not part of the library's API: classes and records beginning with Kiv or
# _Kiv (with their vtables, type information and thunks), flat functions
# beginning with kiv, operators on our classes, a few plain C names, and the
# internal kiv::detail helpers that the library's command-line tools share.
set -eu
lib=$1
symbols=$(nm -D --defined-only -C "$lib" | sed -E 's/^[0-9a-fA-F]+ [A-Za-z] //')
if [ -z "$symbols" ]; then
  echo "no exported symbols found in $lib" >&2
  exit 1
fi
bad=$(printf '%s\n' "$symbols" | grep -v -E \
  -e '^_?Kiv' \
  -e '^kiv' \
  -e '^(typeinfo|typeinfo name|vtable|VTT) for _?Kiv' \
  -e '^(non-)?virtual thunk to _?Kiv' \
  -e '^operator.*\(.*Kiv' \
  -e '^(strupr|strlwr|strcmpi|strncmpi|memicmp|gs_pclKivTraceInstance)$' || true)
if [ -n "$bad" ]; then
  echo "libkiv.so exports names that are not the library's API:" >&2
  printf '%s\n' "$bad" >&2
  exit 1
fi
# kivMalloc and kivFree are inline in their header; the library must still
# export them for programs that link against the names.
for name in kivMalloc kivCalloc kivRealloc kivFree; do
  if ! printf '%s\n' "$symbols" | grep -qx "$name"; then
    echo "libkiv.so does not export $name" >&2
    exit 1
  fi
done
count=$(printf '%s\n' "$symbols" | wc -l)
echo "$count exported names, all the library's own"
