#!/usr/bin/env bash
# The main job on a demo survey: builds sorvek and the survey generator, makes a line of
# six street scans whose database headings are off by known errors, measures the misfit
# of each neighbouring pair, runs mode 4 (register, rotate, measure again) unattended
# with a report page, and compares what sorvek did with the truth.
set -euo pipefail
cd "$(dirname "$0")/.."

./tools/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default --target sorvek sorvek-synth

job=demo-run
rm -rf "$job"
build/default/tools/sorvek-synth --out "$job" --name demo --scans 6 --points 100000 \
  --spacing 15 --error-deg 0.6 --seed 7 >/dev/null
cd "$job"

# The program reads sorvek.txt from its own folder: one folder measures the scans as
# they came (FILEEXT 1: their own files), the other runs the whole job.
mkdir before bin
cp sorvek.txt bin/sorvek.txt
{ cat sorvek.txt; echo "FILEEXT 1"; } > before/sorvek.txt
ln -s "$OLDPWD/build/default/sorvek" before/sorvek
ln -s "$OLDPWD/build/default/sorvek" bin/sorvek

echo "Measuring the misfit of each neighbouring pair as surveyed (mode 3)..."
./before/sorvek --mode 3 --yes demo.txt < /dev/null > before.log 2>&1
mv demorms.csv demorms-before.csv
echo "Registering, rotating and measuring again (mode 4), then writing the report..."
start=$(date +%s)
./bin/sorvek --mode 4 --yes --report report.html demo.txt < /dev/null > run.log 2> run-errors.log
echo "Mode 4 and its report took $(( $(date +%s) - start )) s; console output in $job/run.log, log in $job/demolog.txt."
echo

awk -F, '
  FNR == 1 { file++; next }
  file == 1 { before[$1 "-" $2] = $7; order[++pairs] = $1 "-" $2 }
  file == 2 { after[$1 "-" $2] = $7 }
  file == 3 { applied[$1] = $2 }
  file == 4 { error[$1] = $5; scans[++count] = $1 }
  END {
    print "RMS misfit of each pair (metres), weighted over both directions:"
    printf "  %-7s %10s %10s\n", "pair", "before", "after"
    for (i = 1; i <= pairs; i++) {
      key = order[i]
      printf "  %-7s %10.4f %10.4f\n", key, before[key], after[key]
      if (after[key] < before[key]) improved++
    }
    print ""
    print "Heading of each scan (degrees): the database error, the rotation sorvek applied,"
    print "and what is left (error + rotation; 0 would be perfect):"
    printf "  %-5s %10s %10s %10s\n", "scan", "error", "rotation", "left"
    for (i = 1; i <= count; i++) {
      id = scans[i]
      left = error[id] + applied[id]
      printf "  %-5s %10.4f %10.4f %10.4f\n", id, error[id], applied[id], left
      if (left < 0) left = -left
      if (error[id] < 0) error[id] = -error[id]
      sumLeft += left; sumError += error[id]
    }
    print ""
    printf "Verdict: %d of %d pairs fit better after alignment; mean heading error %.3f deg before, %.3f deg after.\n",
      improved, pairs, sumError / count, sumLeft / count
  }' demorms-before.csv demorms.csv demorot.csv demo_truth.csv
echo
echo "The report with the plan, the RMS of each pair and pictures of each overlap before and"
echo "after alignment: open $job/report.html in a web browser (file://$PWD/report.html)."
