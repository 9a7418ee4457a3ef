#!/usr/bin/env bash
# spread_site.sh [BUILD_DIR]: a site job of 9 scans of 300,000 points, registered (mode 6,
# Partial Least Squares) and evaluated (mode 7) by sorvek on one process against
# sorvek-mpi on two ranks, side by side with hyperfine; then what rank 0 costs per pair
# and the memory each process holds. Needs a default build with sorvek-mpi (Open MPI
# installed) and hyperfine. The job is generated once into BUILD_DIR/bench-site.
set -euo pipefail
build=$(cd "${1:-build/default}" && pwd)
runs=${RUNS:-3}
warmup=${WARMUP:-1}
job=$build/bench-site
mpi=(mpirun --oversubscribe)
[ "$(id -u)" -eq 0 ] && mpi+=(--allow-run-as-root)
# One pair engine thread per process: the comparison is of processes, not of threads.
threads=(--threads 1)

if [ ! -f "$job/site.txt" ]; then
  "$build/tools/sorvek-synth" --out "$job" --name site --layout site --scans 9 \
    --points 300000 --seed 5 --error-deg 0.5 > /dev/null
  mkdir -p "$job/bin"
  cp "$job/sorvek.txt" "$job/bin/sorvek.txt"
  rm "$job/sorvek.txt"
fi
cd "$job"
ln -sf "$build/sorvek" bin/sorvek
ln -sf "$build/sorvek-mpi" bin/sorvek-mpi
# bin/sorvek-mpi finds bin/sorvek.txt beside it, as bin/sorvek does.

for mode in 6 7; do
  flags=(--mode "$mode" --yes "${threads[@]}")
  hyperfine --runs "$runs" --warmup "$warmup" --output null \
    --command-name "mode $mode, sorvek" "./bin/sorvek ${flags[*]} site.txt < /dev/null" \
    --command-name "mode $mode, mpirun -np 2 sorvek-mpi" \
      "${mpi[*]} -np 2 ./bin/sorvek-mpi ${flags[*]} site.txt < /dev/null"
  printf 'pairs in mode %s: %s\n' "$mode" "$(($(wc -l < "$([ "$mode" = 6 ] && echo sitereg.csv || echo siterms.csv)") - 1))"
done

# Memory: the largest resident set of each process over a whole mode 6 run.
flags=(--mode 6 --yes "${threads[@]}")
/usr/bin/time -f 'sorvek: max resident %M KB' ./bin/sorvek "${flags[@]}" site.txt \
  < /dev/null > /dev/null 2> time.err
grep 'max resident' time.err
"${mpi[@]}" -np 2 /usr/bin/time -f 'sorvek-mpi rank: max resident %M KB' ./bin/sorvek-mpi \
  "${flags[@]}" site.txt < /dev/null > /dev/null 2> time.err
grep 'max resident' time.err

# What rank 0 costs per pair: a site of 40 scans of 400 points within reach of each other
# (780 pairs), where a pair's own work is a few milliseconds, evaluated by sorvek and by
# sorvek-mpi on one rank (its owner and its computing thread, no messages) and on two.
# Start-up and shut-down alone are timed with mode 8, which reads the database and
# writes 40 small files. (T(one rank) - T(sorvek) - start-up difference) / 780 is what the
# owner adds to a pair: catching the text, the hand-over, the ordering and the writing.
small=$build/bench-tiny-site
if [ ! -f "$small/tiny.txt" ]; then
  "$build/tools/sorvek-synth" --out "$small" --name tiny --layout site --scans 40 \
    --points 400 --seed 9 > /dev/null
  mkdir -p "$small/bin"
  { cat "$small/sorvek.txt"; printf 'GPSMAXDIST 100000\nMINNUMPTS 1\ndCX 4\ndCY 4\ndCZ 4\n'; } \
    > "$small/bin/sorvek.txt"
  rm "$small/sorvek.txt"
fi
cd "$small"
ln -sf "$build/sorvek" bin/sorvek
ln -sf "$build/sorvek-mpi" bin/sorvek-mpi
for mode in 7 8; do
  flags="--mode $mode --yes ${threads[*]}"
  hyperfine --runs "$((runs * 3))" --warmup "$warmup" --output null \
    --command-name "mode $mode of 40 tiny scans, sorvek" "./bin/sorvek $flags tiny.txt < /dev/null" \
    --command-name "mode $mode of 40 tiny scans, mpirun -np 1 sorvek-mpi" \
      "${mpi[*]} -np 1 ./bin/sorvek-mpi $flags tiny.txt < /dev/null" \
    --command-name "mode $mode of 40 tiny scans, mpirun -np 2 sorvek-mpi" \
      "${mpi[*]} -np 2 ./bin/sorvek-mpi $flags tiny.txt < /dev/null"
done
