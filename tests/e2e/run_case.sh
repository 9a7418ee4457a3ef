#!/bin/sh
# run_case.sh BINARY CASEDIR: one scripted session in a scratch copy of CASEDIR.
#
# The case folder holds `args` (the command line), `stdin.txt`, `expected.txt` (standard
# output) and `expected.code`, and may hold `expected.stderr`, `sorvek.txt` (put beside
# the program, which reads its option file from its own folder), `expected/` (files the
# run must leave, compared byte for byte), `absent` (names the run must not leave) and any
# input files, which are copied into the working directory.
binary=$1
case_dir=$2
work=$(mktemp -d) || exit 2
trap 'rm -rf "$work"' EXIT
cp -R "$case_dir"/. "$work" && cd "$work" || exit 2
mkdir bin && ln -s "$binary" bin/sorvek || exit 2
[ -f sorvek.txt ] && mv sorvek.txt bin/sorvek.txt
# shellcheck disable=SC2046
./bin/sorvek $(cat args) < stdin.txt > stdout.txt 2> stderr.txt
code=$?
status=0
if ! cmp -s stdout.txt expected.txt; then
  echo "standard output differs:"; diff expected.txt stdout.txt | head -n 40; status=1
fi
if [ -f expected.stderr ] && ! cmp -s stderr.txt expected.stderr; then
  echo "standard error differs:"; diff expected.stderr stderr.txt | head -n 40; status=1
fi
if [ "$code" -ne "$(cat expected.code)" ]; then
  echo "exit code $code, expected $(cat expected.code)"; status=1
fi
if [ -d expected ]; then
  for want in expected/*; do
    name=$(basename "$want")
    if ! cmp -s "$want" "$name"; then
      echo "file $name differs:"; diff "$want" "$name" | head -n 40; status=1
    fi
  done
fi
if [ -f absent ]; then
  while read -r name; do
    [ -n "$name" ] && [ -e "$name" ] && { echo "file $name should not exist"; status=1; }
  done < absent
fi
exit $status
