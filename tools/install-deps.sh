#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the fuzzers need, if any is
# missing. Safe to run again: it does nothing on a machine that has them all.
#
# libclang-rt-dev is the clang runtime of whichever clang Debian ships (libFuzzer and the
# sanitizers' libraries), so the list names no compiler version.
#
# With --for-tests it also installs clang-format, which checks the source layout, and
# chromium, in which the tests open the report page. Chromium may fail (a machine without
# access to the package archive): the build goes on and the tests that need it skip.
set -euo pipefail

packages=(cmake ninja-build g++ libgtest-dev libbenchmark-dev clang libclang-rt-dev zlib1g-dev
  libopenmpi-dev openmpi-bin)
browser=()
[ "${1:-}" = --for-tests ] && packages+=(clang-format) && browser=(chromium)

as_root=()
[ "$(id -u)" -ne 0 ] && as_root=(sudo)

missing_of() {
  for package in "$@"; do
    dpkg -s "$package" >/dev/null 2>&1 || echo "$package"
  done
}

mapfile -t missing < <(missing_of "${packages[@]}")
mapfile -t missing_browser < <(missing_of "${browser[@]}")
[ ${#missing[@]} -eq 0 ] && [ ${#missing_browser[@]} -eq 0 ] && exit 0

# Without the archive only the browser may be left out.
"${as_root[@]}" apt-get update -q || [ ${#missing[@]} -eq 0 ]
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -q "${missing[@]}"
fi
if [ ${#missing_browser[@]} -gt 0 ]; then
  echo "Installing: ${missing_browser[*]}"
  DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -q "${missing_browser[@]}" ||
    echo "chromium could not be installed: the report rendering tests will skip"
fi
