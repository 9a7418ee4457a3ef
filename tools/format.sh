#!/usr/bin/env bash
# format.sh --check | --apply: the layout of every tracked C++ source of the program, its
# tools and its benchmarks (src, tools, bench) against .clang-format. --check changes
# nothing and fails, naming each line that differs; --apply lays the files out in place.
#
# The tests keep the layout they are written in: their case tables hold one case a line,
# and clang-format puts every field of a case that does not fit on a line of its own
# (its option to align such tables crashes the clang-format Debian ships).
set -euo pipefail
cd "$(dirname "$0")/.."

mode=${1:-}
case $mode in
  --check) flags=(--dry-run -Werror) ;;
  --apply) flags=(-i) ;;
  *) echo "usage: tools/format.sh --check | --apply" >&2; exit 2 ;;
esac

command -v clang-format >/dev/null || { echo "clang-format is missing: tools/install-deps.sh --for-tests installs it" >&2; exit 2; }
mapfile -t sources < <(git ls-files -- 'src/*.cpp' 'src/*.h' 'tools/*.cpp' 'tools/*.h' \
  'bench/*.cpp' 'bench/*.h')
[ ${#sources[@]} -gt 0 ] || { echo "no sources found" >&2; exit 2; }
clang-format --style=file "${flags[@]}" "${sources[@]}"
