#!/bin/sh
# Installs the Debian packages that building and testing the library need,
# when they are missing. As root it installs them; otherwise it prints the
# exact command to run.
set -eu

packages="
cmake
ninja-build
g++
clang
libclang-rt-dev
make
libgtest-dev
libgmock-dev
libbenchmark-dev
libspdlog-dev
libinih-dev
libglib2.0-dev
libicu-dev
pkg-config
libc-bin
iso-codes
python3
valgrind
time
"

missing=""
for p in $packages; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing="$missing $p"
  fi
done

[ -z "$missing" ] && exit 0

cmd="apt-get install -y --no-install-recommends$missing"
if [ "$(id -u)" -eq 0 ]; then
  echo "Installing missing packages:$missing"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update
  $cmd
else
  echo "These packages are missing:$missing" >&2
  echo "Install them with:" >&2
  echo "  sudo apt-get update && sudo $cmd" >&2
  exit 1
fi
