#pragma once
// Driver of a site: every pair of scans within the distance span, once.

#include <cstdio>
#include <string>

#include "batch/batch_pair.h"
#include "batch/pair_plan.h"
#include "run/output_file.h"
#include "run/records.h"

namespace sorvek {

// Registers (run mode 6) or evaluates (run mode 7) every pair i < j within
// GPSMINDIST..GPSMAXDIST, one result row per pair.
void runSiteBatch(Run& run, const std::string& path);

// Sets the indices and files of a planned pair as the pass does before reading it.
void setSitePairFiles(Run& run, const PlannedPair& planned);

// One pair of a site pass: prepares it, solves or evaluates it, writes its row to
// `rowFile` and adds 1 to pairsDone. False when the pair could not be prepared; the log
// then has its three lines and nothing else happened.
bool doSitePair(Run& run, bool isEvaluation, SolverOutputs& outputs, OutputFile& rowFile,
                const PlannedPair& planned);

}  // namespace sorvek
