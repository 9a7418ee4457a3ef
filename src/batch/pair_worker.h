#pragma once
// Computing single pairs of a spread pass, each exactly as the one-process driver would
// compute it at its place in the pass, with everything it prints and writes caught.

#include <memory>

#include "batch/pair_capture.h"
#include "batch/spread_messages.h"
#include "run/records.h"

namespace sorvek {

// A computing process's own records for one pass. The run's log stream belongs to the
// capture, so nothing a pair does reaches a file of this process.
struct PairWorker {
    Run run;                                   // built from the job
    PassKind kind = PassKind::siteEvaluation;  // which driver's pairs these are
    PairCapture capture;                       // opened in place by startPairWorker
};

// What a computing process needs to know of the owner's run for `kind`.
JobSetup jobSetupOf(const Run& run, PassKind kind);

// Sets the indices and files of a planned pair as the pass of `kind` would.
void setPlannedPairFiles(Run& run, PassKind kind, const PlannedPair& planned);

// Builds the worker's run from `setup`, whose scan table and options it takes over, with
// `workers` as the engine's threads, and opens its capture. False when the capture cannot
// be opened.
bool startPairWorker(PairWorker& worker, JobSetup setup, std::shared_ptr<WorkerPool> workers);

// One pair, with pairsDone as the task gives it. The stage code prints to the process's
// standard streams, so they must point at the worker's capture while it runs.
PairResult computePair(PairWorker& worker, const PairTask& task);

}  // namespace sorvek
