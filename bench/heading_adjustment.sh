#!/bin/sh
# heading_adjustment.sh WORKDIR POINTS SEED:SCANS:ERRORDEG...
#
# For each generated site: register every pair once (mode 6, on POINTS points per scan;
# kept in WORKDIR and reused by later calls), then apply the rotations twice (mode 2),
# once as plain means and once adjusted over all pairs, and compare what each applied
# with the generator's truth. The rotation stage needs only the registration file, so it
# runs on a 1000-point twin of the site with the same set-ups and the same errors.
# Prints one table row per site: RMS and largest miss of (applied rotation + true error).
set -eu
if [ $# -lt 3 ]; then
    echo "usage: $0 WORKDIR POINTS SEED:SCANS:ERRORDEG..." >&2
    exit 2
fi
here=$(cd "$(dirname "$0")/.." && pwd)
sorvek=$here/build/default/sorvek
synth=$here/build/default/tools/sorvek-synth
work=$1
points=$2
shift 2
mkdir -p "$work"

# prepare FOLDER: the generated job made ready for ./bin/sorvek with the generator's options.
prepare() {
    mkdir -p "$1/bin"
    cp "$1/sorvek.txt" "$1/bin/sorvek.txt"
    ln -sf "$sorvek" "$1/bin/sorvek"
}

# misses ROTFILE TRUTHFILE: "rms largest" of rotation + headingErrorDeg over all scans.
misses() {
    awk -F, 'NR == FNR { if (FNR > 1) error[$1] = $5; next }
             FNR > 1 { miss = $2 + error[$1]; sum += miss * miss; n++
                       if (miss < 0) miss = -miss; if (miss > worst) worst = miss }
             END { printf "%.4f %.4f", sqrt(sum / n), worst }' "$2" "$1"
}

printf '| Seed | Scans | Error (deg) | Pairs | Rejected | Mean: RMS | Mean: largest | Adjusted: RMS | Adjusted: largest | RMS ratio |\n'
printf '|---|---|---|---|---|---|---|---|---|---|\n'
for request in "$@"; do
    seed=${request%%:*}
    rest=${request#*:}
    scans=${rest%%:*}
    error=${rest#*:}
    site=$work/seed${seed}_${scans}
    if [ ! -s "$site/sitereg.csv" ]; then
        "$synth" --out "$site" --name site --layout site --scans "$scans" --points "$points" \
            --error-deg "$error" --seed "$seed" > /dev/null
        prepare "$site"
        (cd "$site" && printf '6\n\n\n' | ./bin/sorvek site.txt > mode6.txt 2>&1)
    fi
    twin=$work/twin${seed}_${scans}
    rm -rf "$twin"
    "$synth" --out "$twin" --name site --layout site --scans "$scans" --points 1000 \
        --error-deg "$error" --seed "$seed" > /dev/null
    prepare "$twin"
    cp "$site/sitereg.csv" "$twin/"
    (cd "$twin" && printf '2\n\n\n' | ./bin/sorvek site.txt > mean.txt 2>&1 && cp siterot.csv mean.csv)
    echo "ROTADJUST 1" >> "$twin/bin/sorvek.txt"
    (cd "$twin" && printf '2\n\n\n' | ./bin/sorvek site.txt > adjusted.txt 2>&1 && cp siterot.csv adjusted.csv)
    read -r meanRms meanWorst <<EOF
$(misses "$twin/mean.csv" "$twin/site_truth.csv")
EOF
    read -r adjustedRms adjustedWorst <<EOF
$(misses "$twin/adjusted.csv" "$twin/site_truth.csv")
EOF
    pairs=$(awk -F, '/^scan1,scan2,/ { on = 1; next } on { n++ } END { print n + 0 }' "$twin/siteadj.csv")
    rejected=$(awk -F, '/^scan1,scan2,/ { on = 1; next } on && $6 != 0 { n++ } END { print n + 0 }' "$twin/siteadj.csv")
    ratio=$(awk -v a="$adjustedRms" -v m="$meanRms" 'BEGIN { printf "%.2f", a / m }')
    printf '| %s | %s | %s | %s | %s | %s | %s | %s | %s | %s |\n' "$seed" "$scans" "$error" "$pairs" \
        "$rejected" "$meanRms" "$meanWorst" "$adjustedRms" "$adjustedWorst" "$ratio"
done
