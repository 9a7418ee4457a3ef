#pragma once
// The owner's side of a pass spread over the ranks of an MPI job.

#include <string>

#include "run/records.h"

namespace sorvek {

// Runs the pass of the current run mode (3, 6 or 7) with `path` as its result file: the
// other ranks and one thread of this process compute the pairs, one at a time as each
// becomes free, and this process prints and writes each pair's text, log lines and row
// in serial order, as soon as every earlier pair is written. What it prints and writes is
// what runSiteBatch or runLinearSequence would, apart from the seconds of the time lines.
void runSpreadPass(Run& run, const std::string& path);

}  // namespace sorvek
