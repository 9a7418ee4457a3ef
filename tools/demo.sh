#!/usr/bin/env bash
# Builds sorvek and runs it on the bundled example survey.
set -euo pipefail
cd "$(dirname "$0")/.."

./tools/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default

run_dir=demo-run
rm -rf "$run_dir" && mkdir -p "$run_dir/bin"
cp examples/line.txt "$run_dir/"
ln -s "$PWD/build/default/sorvek" "$run_dir/bin/sorvek"
# Mode 8 (transform matrices), then Enter at the neighbour list and at the closing prompt.
(cd "$run_dir" && printf '8\n\n\n' | ./bin/sorvek line.txt)
