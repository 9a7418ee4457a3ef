#!/bin/sh
# run_golden.sh BINARY CASEDIR [FLAG...]: one golden run of a whole job.
# GOLDEN_LAUNCHER, when set, starts the program (e.g. "mpirun -np 3" for sorvek-mpi).
#
# The case folder names its job (`job`: a folder under jobs/ holding a survey database and
# its point files), and holds `args`, `stdin.txt`, `sorvek.txt` (put beside the program),
# optional `extra/` (more input files, e.g. a registration result file for mode 2) and what
# the run must give: `expected.txt` (standard output, every number of seconds written as 0),
# `expected.stderr`, `expected.code`, and `expected.sha256`, the checksum of every file the
# run created or changed. Files small enough to read are also kept whole in `expected/`, so
# that a failure shows a readable difference. FLAGs go before the case's own arguments.
#
# These outputs are what the program produced when the case was made; a change of any byte
# is a change of behaviour. With GOLDEN_RECORD=1 the script writes the expectations instead
# of checking them: that is only for making a new case, never for mending a failing one.
binary=$1
case_dir=$(cd "$2" && pwd) || exit 2
shift 2
golden_dir=$(cd "$(dirname "$0")" && pwd)
job=$(cat "$case_dir/job") || exit 2

work=$(mktemp -d) || exit 2
meta=$(mktemp -d) || exit 2
trap 'rm -rf "$work" "$meta"' EXIT
cp -R "$golden_dir/jobs/$job"/. "$work" || exit 2
if [ -d "$case_dir/extra" ]; then cp -R "$case_dir/extra"/. "$work" || exit 2; fi
mkdir "$work/bin" && ln -s "$binary" "$work/bin/sorvek" || exit 2
cp "$case_dir/sorvek.txt" "$work/bin/sorvek.txt" || exit 2
cd "$work" || exit 2

export LC_ALL=C
checksums() { find . -path ./bin -prune -o -type f -print | xargs sha256sum | sort; }
checksums > "$meta/before"
# shellcheck disable=SC2046
$GOLDEN_LAUNCHER ./bin/sorvek "$@" $(cat "$case_dir/args") < "$case_dir/stdin.txt" > "$meta/raw" 2> "$meta/stderr"
code=$?
# The time lines are the one part of the console text that depends on the clock.
sed -E 's/-?[0-9]+ seconds/0 seconds/g' "$meta/raw" > "$meta/stdout"
checksums > "$meta/after"
# What the run wrote: every file that is new or whose checksum changed.
comm -13 "$meta/before" "$meta/after" | sort -k 2 > "$meta/written"

if [ "${GOLDEN_RECORD:-0}" = 1 ]; then
  cp "$meta/stdout" "$case_dir/expected.txt"
  cp "$meta/stderr" "$case_dir/expected.stderr"
  echo "$code" > "$case_dir/expected.code"
  cp "$meta/written" "$case_dir/expected.sha256"
  rm -rf "$case_dir/expected" && mkdir "$case_dir/expected"
  awk '{ print $2 }' "$meta/written" | while read -r name; do
    [ "$(wc -c < "$name")" -le 65536 ] && cp "$name" "$case_dir/expected/"
  done
  exit 0
fi

status=0
if ! cmp -s "$meta/stdout" "$case_dir/expected.txt"; then
  echo "standard output differs:"; diff "$case_dir/expected.txt" "$meta/stdout" | head -n 40; status=1
fi
if ! cmp -s "$meta/stderr" "$case_dir/expected.stderr"; then
  echo "standard error differs:"; diff "$case_dir/expected.stderr" "$meta/stderr" | head -n 40; status=1
fi
if [ "$code" -ne "$(cat "$case_dir/expected.code")" ]; then
  echo "exit code $code, expected $(cat "$case_dir/expected.code")"; status=1
fi
for want in "$case_dir"/expected/*; do
  [ -f "$want" ] || continue
  name=$(basename "$want")
  if ! cmp -s "$want" "$name"; then
    echo "file $name differs:"; diff "$want" "$name" | head -n 40; status=1
  fi
done
if ! cmp -s "$meta/written" "$case_dir/expected.sha256"; then
  echo "the files written differ (checksum, name):"; diff "$case_dir/expected.sha256" "$meta/written"; status=1
fi
exit $status
