#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the fuzzers need, if any is
# missing. Safe to run again: it does nothing on a machine that has them all.
set -euo pipefail

packages=(cmake ninja-build g++ libgtest-dev libbenchmark-dev clang libclang-rt-14-dev
  libopenmpi-dev openmpi-bin)
missing=()
for package in "${packages[@]}"; do
  dpkg -s "$package" >/dev/null 2>&1 || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
as_root=()
[ "$(id -u)" -ne 0 ] && as_root=(sudo)
"${as_root[@]}" apt-get update -q
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -q "${missing[@]}"
