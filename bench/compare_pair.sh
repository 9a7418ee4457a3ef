#!/usr/bin/env bash
# compare_pair.sh [OLD_SORVEK [NEW_SORVEK]]: the whole registration of one street pair
# (mode 1, Partial Least Squares, default options, the menu answered on standard input),
# old program against new, side by side in one hyperfine run, at 300k, 1M and 3M points
# per scan; then the peak resident memory of both at 3M, and a check that the new
# program's console text and files are byte for byte those of the old one, for several
# thread counts. Defaults: /work/oldmain/sorvek against build/default/sorvek.
#
# Environment: SIZES (points per scan, default "300000 1000000 3000000"), RUNS (hyperfine
# runs per command, default 5), THREADS_CHECKED (default "1 2 3 8"), WORK (folder for the
# generated pairs, kept between runs, default build/bench-pairs).
set -euo pipefail
cd "$(dirname "$0")/.."
old=$(realpath "${1:-/work/oldmain/sorvek}")
new=$(realpath "${2:-build/default/sorvek}")
synth=build/default/tools/sorvek-synth
sizes=${SIZES:-300000 1000000 3000000}
runs=${RUNS:-5}
threads_checked=${THREADS_CHECKED:-1 2 3 8}
work=$(realpath -m "${WORK:-build/bench-pairs}")
mkdir -p "$work"

# One job folder per size: the pair, and one program folder per binary (the program reads
# sorvek.txt from its own folder).
make_pair() {
  local size=$1 dir=$work/street-$1
  if [ ! -f "$dir/street_002_001_S002.bxyz" ]; then
    rm -rf "$dir"
    "$synth" --out "$dir" --name street --scans 2 --points "$size" --seed 7 >/dev/null
  fi
  for side in old new; do
    mkdir -p "$dir/$side"
    cp "$dir/sorvek.txt" "$dir/$side/sorvek.txt"
  done
  ln -sf "$old" "$dir/old/sorvek"
  ln -sf "$new" "$dir/new/sorvek"
}

# The time lines are the one part of the console text that may differ between two runs.
normalise() { sed -E 's/is [0-9]+ seconds/is N seconds/' "$1"; }

# Runs one program in the pair's folder and keeps its console text and its files.
run_into() {
  local dir=$1 side=$2 out=$3; shift 3
  (cd "$dir" && rm -f streetreg.csv streetlog.txt &&
     printf '1\n\n\n' | "./$side/sorvek" "$@" street.txt >"$out.stdout" 2>"$out.stderr")
  normalise "$out.stdout" >"$out.console"
  cp "$dir/streetreg.csv" "$out.reg.csv"
  cp "$dir/streetlog.txt" "$out.log.txt"
}

status=0
echo "== Identical output: old against new with --threads ${threads_checked// /, }"
for size in $sizes; do
  make_pair "$size"
  dir=$work/street-$size
  run_into "$dir" old "$work/old-$size"
  for threads in $threads_checked; do
    run_into "$dir" new "$work/new-$size-t$threads" --threads "$threads"
    for part in console stderr reg.csv log.txt; do
      if ! cmp -s "$work/old-$size.$part" "$work/new-$size-t$threads.$part"; then
        echo "DIFFERS: $size points, --threads $threads, $part"; status=1
      fi
    done
  done
  echo "$size points: $(tr '\r' '\n' < "$work/old-$size.stdout" | grep -a 'RMSfinal' | head -1)"
done
[ $status -eq 0 ] && echo "all identical"

echo
echo "== Whole registration, $runs runs each (hyperfine)"
for size in $sizes; do
  dir=$work/street-$size
  (cd "$dir" && hyperfine --runs "$runs" --warmup 1 --style basic \
     --export-markdown "$work/times-$size.md" \
     -n "old $size" "printf '1\n\n\n' | ./old/sorvek street.txt > /dev/null 2>&1" \
     -n "new $size" "printf '1\n\n\n' | ./new/sorvek street.txt > /dev/null 2>&1" \
     -n "new $size --threads 1" "printf '1\n\n\n' | ./new/sorvek --threads 1 street.txt > /dev/null 2>&1")
  cat "$work/times-$size.md"
done

echo
echo "== Peak resident memory (/usr/bin/time -v)"
for size in $sizes; do
  [ "$size" = 3000000 ] || continue
  dir=$work/street-$size
  for side in old new; do
    kb=$(cd "$dir" && printf '1\n\n\n' | /usr/bin/time -v "./$side/sorvek" street.txt 2>&1 >/dev/null |
         awk -F: '/Maximum resident set size/ { gsub(/ /, "", $2); print $2 }')
    echo "$side, $size points per scan: $((kb / 1024)) MB"
  done
done
exit $status
