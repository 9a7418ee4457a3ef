#!/usr/bin/env bash
# Builds and runs every test: the default build, then the sanitizer build.
set -euo pipefail
cd "$(dirname "$0")/.."

./tools/install-deps.sh
cmake --workflow --preset test
cmake --workflow --preset test-asan
