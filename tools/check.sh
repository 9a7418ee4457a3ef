#!/usr/bin/env bash
# Checks the source layout, then builds and runs every test: the default build, the
# sanitizer build, the runs with several threads under ThreadSanitizer, then a short fuzz
# run of every reader of outside input (same inputs every time).
set -euo pipefail
cd "$(dirname "$0")/.."

./tools/install-deps.sh --for-tests
./tools/format.sh --check
cmake --workflow --preset test
cmake --workflow --preset test-asan
cmake --workflow --preset test-tsan
FUZZ_SEED=1 ./tests/fuzz/run_fuzzers.sh 8
