#!/usr/bin/env bash
# format.sh --check | --apply: the layout of every tracked C++ source under src, tests,
# tools and bench against .clang-format. --check changes nothing and fails, naming each
# line that differs; --apply lays the files out in place.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=${1:-}
case $mode in
  --check) flags=(--dry-run -Werror) ;;
  --apply) flags=(-i) ;;
  *) echo "usage: tools/format.sh --check | --apply" >&2; exit 2 ;;
esac

command -v clang-format >/dev/null || { echo "clang-format is missing: tools/install-deps.sh --for-tests installs it" >&2; exit 2; }
mapfile -t sources < <(git ls-files -- 'src/*.cpp' 'src/*.h' 'tests/*.cpp' 'tests/*.h' \
  'tools/*.cpp' 'tools/*.h' 'bench/*.cpp' 'bench/*.h')
[ ${#sources[@]} -gt 0 ] || { echo "no sources found" >&2; exit 2; }
clang-format --style=file "${flags[@]}" "${sources[@]}"
