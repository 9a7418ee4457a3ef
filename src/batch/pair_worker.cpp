#include "batch/pair_worker.h"

#include <chrono>
#include <utility>

#include "batch/batch_pair.h"
#include "batch/linear_sequence.h"
#include "batch/site_batch.h"
#include "run/worker_pool.h"

namespace sorvek {

JobSetup jobSetupOf(const Run& run, PassKind kind) {
    JobSetup setup;
    setup.kind = kind;
    setup.options = run.options;
    setup.runMode = run.state.runMode;
    setup.rmsPhase = run.state.rmsPhase;
    setup.progressScans = run.state.progressScans;
    setup.percentStep = run.state.percentStep;
    setup.threadCount =
        run.state.workers ? static_cast<std::int32_t>(run.state.workers->threadCount) : 1;
    setup.scans = run.state.scans;
    return setup;
}

void setPlannedPairFiles(Run& run, PassKind kind, const PlannedPair& planned) {
    if (kind == PassKind::lineEvaluation) {
        setLineSouthPairFiles(run, planned.firstIndex);
    } else {
        setSitePairFiles(run, planned);
    }
}

bool startPairWorker(PairWorker& worker, JobSetup setup, std::shared_ptr<WorkerPool> workers) {
    worker.kind = setup.kind;
    worker.run = Run{};
    worker.run.options = std::move(setup.options);
    RunState& state = worker.run.state;
    state.runMode = setup.runMode;
    state.rmsPhase = setup.rmsPhase;
    state.scans = std::move(setup.scans);
    state.progressScans = setup.progressScans;
    state.percentStep = setup.percentStep;
    state.workers = std::move(workers);
    if (!openPairCapture(worker.capture)) return false;
    state.logFile = std::move(worker.capture.log);
    return true;
}

PairResult computePair(PairWorker& worker, const PairTask& task) {
    Run& run = worker.run;
    run.state.pairsDone = task.pairsDone;
    // A driver clears the solvers' out values at each turn and carries them from pair to
    // pair, yet no pair here can see what an earlier one left: every solver that runs here
    // writes both rotations before anything reads them, and writes the point count either
    // in every pair of a pass or in none, as the options alone decide.
    SolverOutputs outputs;
    OutputFile& rowFile = worker.capture.rows;
    const auto start = std::chrono::steady_clock::now();
    PairResult result;
    result.pairNumber = task.pairNumber;
    result.pairsDone = task.pairsDone;
    switch (worker.kind) {
    case PassKind::lineEvaluation:
        result.isDone = doLineRmsPair(run, rowFile, task.pair.firstIndex);
        break;
    case PassKind::siteRegistration:
    case PassKind::siteEvaluation:
        result.isDone =
            doSitePair(run, worker.kind == PassKind::siteEvaluation, outputs, rowFile, task.pair);
        break;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    result.seconds = elapsed.count();
    if (run.state.logFile) std::fflush(run.state.logFile.get());
    result.captured = takeCapturedText(worker.capture);
    return result;
}

}  // namespace sorvek
