#!/bin/sh
# make_case.sh BINARY NAME JOB STDIN ARGS [OPTION_LINE...]: makes the golden case
# cases/NAME: the job's generated options, the small-scan lines below and the given option
# lines become its sorvek.txt; STDIN is the typed input (printf escapes), ARGS the command
# line (default: the job's database). Its expectations are what BINARY gives. Only for a new
# case, or for one whose output a deliberate change of behaviour alters.
set -eu
binary=$1 name=$2 job=$3 stdin=$4 args=$5
shift 5
here=$(cd "$(dirname "$0")" && pwd)
case_dir=$here/cases/$name
rm -rf "$case_dir" && mkdir -p "$case_dir"
echo "$job" > "$case_dir/job"
echo "${args:-$job.txt}" > "$case_dir/args"
printf "$stdin" > "$case_dir/stdin.txt"
{
  cat "$here/jobs/$job.options"
  # Scans of 20,000 points need bigger cubes and fewer accepted samples than a field job.
  printf 'dCX 2\ndCY 2\ndCZ 2\nMINNUMPTS 200\nMAXRANGE 999999999\n'
  for line in "$@"; do echo "$line"; done
} > "$case_dir/sorvek.txt"
if [ -n "${EXTRA:-}" ]; then mkdir -p "$case_dir/extra" && cp -R "$EXTRA"/. "$case_dir/extra"; fi
GOLDEN_RECORD=1 "$here/run_golden.sh" "$binary" "$case_dir"
