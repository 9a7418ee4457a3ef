#!/usr/bin/env bash
# run_fuzzers.sh [SECONDS] [TARGET...]: builds the fuzz targets (clang, libFuzzer,
# AddressSanitizer, UndefinedBehaviorSanitizer) and runs each for SECONDS (default 10),
# starting from its seed corpus and first replaying every kept regression input.
# Fails on the first crash, hang, leak or sanitizer report. FUZZ_SEED fixes libFuzzer's
# seed, so that a run repeats the same inputs (CI uses it); findings are kept in
# build/fuzz/findings/.
set -euo pipefail
cd "$(dirname "$0")/../.."
seconds=${1:-10}
shift || true

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for source in tests/fuzz/*_fuzz.cpp; do targets+=("$(basename "$source" .cpp)"); done
fi
mkdir -p build/fuzz/findings
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for target in "${targets[@]}"; do
  name=${target%_fuzz}
  binary=build/fuzz/tests/fuzz/$target
  if [ -d "tests/fuzz/regressions/$name" ]; then
    "$binary" -close_fd_mask=1 tests/fuzz/regressions/"$name"/* >/dev/null 2>&1 \
      || { echo "$target: a kept regression input fails again"; "$binary" tests/fuzz/regressions/"$name"/*; exit 1; }
  fi
  mkdir -p "$work/$name"
  seeds=()
  [ -d "tests/fuzz/corpus/$name" ] && seeds+=("tests/fuzz/corpus/$name")
  echo "fuzzing $target for ${seconds}s"
  (cd "$work" && "$OLDPWD/$binary" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=3072 -close_fd_mask=1 ${FUZZ_SEED:+-seed=$FUZZ_SEED} -artifact_prefix="$OLDPWD/build/fuzz/findings/" \
      -print_final_stats=1 "$work/$name" "${seeds[@]/#/$OLDPWD/}" 2>"$work/$name.log") \
    || { tail -n 60 "$work/$name.log"; echo "$target: finding (see above)"; exit 1; }
  grep -E 'stat::number_of_executed_units' "$work/$name.log" | sed "s/^/$target: /"
done
