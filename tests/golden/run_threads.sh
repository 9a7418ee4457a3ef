#!/bin/sh
# run_threads.sh BINARY CASEDIR: one golden case run with 1, 2, 3 and 8 threads. The
# engine splits its work by the thread count, so every one of these runs must give the
# case's expectations byte for byte.
status=0
for threads in 1 2 3 8; do
  if ! sh "$(dirname "$0")/run_golden.sh" "$1" "$2" --threads "$threads"; then
    echo "with --threads $threads"; status=1
  fi
done
exit $status
