#!/bin/sh
# make_jobs.sh SYNTH: writes the three small jobs of the golden runs into jobs/ with the
# survey generator. Kept to show where the committed inputs came from; the generator gives
# the same bytes for the same seed, but the golden runs read the committed files, so that
# they do not depend on it.
#   north: a line going north, .bxyz scans, survey-sized coordinates (TRANSX, TRANSY)
#   east:  a line going east (DATADIR 1) of tilted scans whose point files hold text
#   site:  four scans of a site, .bxyz, survey-sized coordinates
set -eu
synth=$1
cd "$(dirname "$0")"
rm -rf jobs && mkdir jobs
"$synth" --out jobs/north --name north --layout line --direction north --scans 3 \
  --points 20000 --seed 5 --offset 500000,4000000 --error-deg 0.5 > /dev/null
"$synth" --out jobs/east --name east --layout line --direction east --scans 3 \
  --points 20000 --seed 6 --text --tilt-deg 0.4 --error-deg 0.6 > /dev/null
"$synth" --out jobs/site --name site --layout site --scans 4 \
  --points 16000 --seed 11 --offset 300000,5000000 --error-deg 0.8 > /dev/null
# The east scans are text files under the names the database composes, with blanks
# between the numbers (the rotation stage reads blank-separated columns); the second one
# carries the four further columns of a rotated file.
for text in jobs/east/east_*.txt; do
  case $text in
    *_002_*) sed -e '1!s/,/ /g' -e '1!s/$/ 3 -2 7 4.75/' "$text" > "${text%.txt}.bxyz" ;;
    *) sed -e '1!s/,/ /g' "$text" > "${text%.txt}.bxyz" ;;
  esac
  rm "$text"
done
for job in north east site; do
  mv "jobs/$job/sorvek.txt" "jobs/$job.options"
  rm "jobs/$job/${job}_truth.csv"
done
