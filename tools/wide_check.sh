#!/usr/bin/env bash
# wide_check.sh [OLD_SORVEK [NEW_SORVEK]]: runs two builds side by side on generated jobs
# larger than the golden ones, through every solver, both error metrics, both scan
# transforms, fine, odd and coarse cubes, a z band, sample counts, the huge grids that sort
# by radix, and modes 1 and 3 to 7; the new build with several thread counts. Console text
# (time lines aside), standard error, exit code and every file written must be identical.
# Defaults: /work/oldmain/sorvek against build/default/sorvek.
#
# Environment: POINTS (points per scan, default 60000), THREADS (default "1 2 3"), ONLY (a
# pattern: run only the cases whose name matches), WORK (default build/wide-check). The old
# build's results are kept in WORK and reused while its binary is unchanged.
set -euo pipefail
cd "$(dirname "$0")/.."
old=$(realpath "${1:-/work/oldmain/sorvek}")
new=$(realpath "${2:-build/default/sorvek}")
synth=$(realpath build/default/tools/sorvek-synth)
points=${POINTS:-60000}
threads=${THREADS:-1 2 3}
only=${ONLY:-.}
work=$(realpath -m "${WORK:-build/wide-check}")
mkdir -p "$work"
export LC_ALL=C

make_job() {
  local name=$1; shift
  local dir=$work/jobs-$points/$name
  [ -f "$dir/done" ] && return
  rm -rf "$dir"
  "$synth" --out "$dir" --name "$name" --points "$points" "$@" >/dev/null
  rm -f "$dir/${name}_truth.csv"
  touch "$dir/done"
}
make_job north --layout line --direction north --scans 3 --seed 21 --offset 500000,4000000 --error-deg 0.6
make_job west --layout line --direction west --scans 3 --seed 22 --tilt-deg 0.5 --error-deg 0.4
make_job site --layout site --scans 4 --seed 23 --offset 300000,5000000 --error-deg 0.8

# name | job | menu answer | option lines (';' between lines) | arguments (default: JOB.txt)
cases=(
  "pls|north|1||"
  "pls_regmode0|north|4|REGMODE 0|"
  "pls_scanner_frame|north|1|SCANTRANSFORM 1|"
  "pls_half_cubes|north|1|dCX 0.5;dCY 0.5;dCZ 0.5|"
  "pls_odd_cubes|north|1|dCX 0.7;dCY 0.3;dCZ 1.3;NUMPPC 6;MINNUMPTS 100|"
  "pls_coarse_cubes|north|1|dCX 3;dCY 3;dCZ 3;NUMPPC 25|"
  "pls_z_band|north|4|ZMIN 30.5;ZMAX 34;MINNUMPTS 50|"
  "pls_schedule|north|1|MAXITER 12;ALPHAINC 3;MINDISTINITIAL 0.01;MINDISTFINAL 0.002;ALPHA 1|"
  "pls_radix|north|1|dCX 0.25;dCY 0.25;dCZ 0.25;NUMPPC 3;MINNUMPTS 20|"
  "pingpong|north|1|REGSOL 2|"
  "pingpong_regmode0|north|1|REGSOL 2;REGMODE 0;MAXREPEAT 4|"
  "pingpong_z_band|north|4|REGSOL 2;ZMIN 30.5;ZMAX 34;dCX 0.5;dCY 0.5;dCZ 0.5;MINNUMPTS 200|"
  "iterative|north|1|REGSOL 1;MAXITER 3;MAXREPEAT 2|"
  "iterative_regmode0|north|1|REGSOL 1;REGMODE 0;MAXITER 2;MAXREPEAT 2;dCX 2;dCY 2;dCZ 2|"
  "evaluate|north|3|FILEEXT 1|"
  "pair|north|5||north_001_001_S001.bxyz north_002_001_S002.bxyz"
  "pair_regmode0|north|5|REGMODE 0;dCX 0.5;dCY 0.5;dCZ 0.5|north_002_001_S002.bxyz north_003_001_S003.bxyz"
  "west_all|west|4||"
  "west_pingpong|west|1|REGSOL 2;dCX 0.5;dCY 0.5;dCZ 0.5|"
  "west_pls_regmode2|west|1|REGMODE 2|"
  "site_pls|site|6||"
  "site_pingpong|site|6|REGSOL 2|"
  "site_iterative|site|6|REGSOL 1;MAXITER 2;MAXREPEAT 1|"
  "site_evaluate|site|7|FILEEXT 1;dCX 2;dCY 2;dCZ 2|"
)

# Runs one case with one binary into OUT: normalised console text, standard error, exit
# code, and the checksums of every file the run created or changed.
run_case() {
  local binary=$1 job=$2 menu=$3 options=$4 arguments=$5 out=$6; shift 6
  local scratch
  scratch=$(mktemp -d "$work/run.XXXXXX")
  cp -R "$work/jobs-$points/$job"/. "$scratch"
  rm -f "$scratch/done"
  mkdir "$scratch/bin"
  ln -s "$binary" "$scratch/bin/sorvek"
  { cat "$scratch/sorvek.txt"; printf '%s\n' "$options" | tr ';' '\n'; } >"$scratch/bin/sorvek.txt"
  [ -n "$arguments" ] || arguments="$job.txt"
  (cd "$scratch" && find . -path ./bin -prune -o -type f -print | xargs sha256sum | sort >"$scratch/.before")
  local code=0
  # shellcheck disable=SC2086
  (cd "$scratch" && printf '%s\n\n\n' "$menu" | ./bin/sorvek "$@" $arguments >.stdout 2>.stderr) || code=$?
  mkdir -p "$out"
  sed -E 's/-?[0-9]+ seconds/0 seconds/g' "$scratch/.stdout" >"$out/stdout"
  cp "$scratch/.stderr" "$out/stderr"
  echo "$code" >"$out/code"
  (cd "$scratch" && find . -path ./bin -prune -o -name '.*' -prune -o -type f -print | xargs sha256sum | sort) >"$scratch/.after"
  comm -13 "$scratch/.before" "$scratch/.after" | sort -k 2 >"$out/files"
  rm -rf "$scratch"
}

status=0
oldKey=$(sha256sum "$old" | cut -c1-16)
for entry in "${cases[@]}"; do
  IFS='|' read -r name job menu options arguments <<<"$entry"
  [[ $name =~ $only ]] || continue
  caseKey=$(printf '%s' "$entry" | sha256sum | cut -c1-8)
  oldOut=$work/old-$oldKey-$points/$name-$caseKey
  [ -f "$oldOut/files" ] || run_case "$old" "$job" "$menu" "$options" "$arguments" "$oldOut"
  for t in $threads; do
    newOut=$work/new/$name-t$t
    rm -rf "$newOut"
    run_case "$new" "$job" "$menu" "$options" "$arguments" "$newOut" --threads "$t"
    for part in stdout stderr code files; do
      if ! cmp -s "$oldOut/$part" "$newOut/$part"; then
        echo "DIFFERS: $name, --threads $t, $part"
        status=1
      fi
    done
  done
  echo "checked $name: $(tr '\r' '\n' <"$oldOut/stdout" | grep -a -c 'RMSfinal\|RMS for scans\|Initial rms') result lines"
done
[ $status -eq 0 ] && echo "all identical"
exit $status
