#include "batch/site_batch.h"

// Every pair i < j of the site within the distance span, once: the order of the indices
// alone keeps a pair from being done twice, so nothing is stored in the scan records
// (Ping Pong still stores its own rotations, which its later pairs start from).

#include <cstdio>

#include "batch/result_rows.h"
#include "batch/resume.h"
#include "batch/wall_clock.h"
#include "points/pair_preparation.h"

namespace sorvek {
namespace {

// What one pass carries from pair to pair besides the shared records.
struct SitePass {
    OutputFile file;               // the result file being written
    bool isEvaluation = false;     // run mode 7 rather than run mode 6
    SolverOutputs outputs;         // the solver's out values, kept across pairs
    std::vector<PairFate> fates;   // per planned pair: do it, or skip it on a resumed run
    std::size_t pairPosition = 0;  // the planned pair in hand
};

void takeTurn(Run& run, SitePass& pass, const PlannedTurn& turn) {
    const std::time_t start = wallClockNow();
    pass.outputs.firstRotationDeg = 0.0;
    pass.outputs.secondRotationDeg = 0.0;
    pass.outputs.iterationCount = 0;
    for (const PlannedPair& planned : turn.pairs) {
        switch (pass.fates[pass.pairPosition++]) {
        case PairFate::toDo:
            (void)doSitePair(run, pass.isEvaluation, pass.outputs, pass.file, planned);
            break;
        case PairFate::kept: ++run.state.pairsDone; break;
        case PairFate::failedBefore:
            setSitePairFiles(run, planned);
            logFailedPair(run);
            break;
        }
    }
    const std::int32_t scanId = run.state.scans[static_cast<std::size_t>(turn.scanIndex)].scanId;
    printScanTime(stdout, pass.isEvaluation, scanId, secondsSince(start));
}

}  // namespace

void setSitePairFiles(Run& run, const PlannedPair& planned) {
    const std::vector<ScanRecord>& scans = run.state.scans;
    run.pair.firstIndex = planned.firstIndex;
    run.pair.firstPath = scans[static_cast<std::size_t>(planned.firstIndex)].fileName;
    run.pair.secondIndex = planned.secondIndex;
    run.pair.secondPath = scans[static_cast<std::size_t>(planned.secondIndex)].fileName;
}

bool doSitePair(Run& run, bool isEvaluation, SolverOutputs& outputs, OutputFile& rowFile,
                const PlannedPair& planned) {
    setSitePairFiles(run, planned);
    if (prepareScanPair(run) == 0) {
        logFailedPair(run);
        return false;
    }
    if (isEvaluation) {
        writeRmsRow(rowFile, evaluatePreparedPair(run, planned.spacing));
    } else {
        const double solverRms = solvePreparedPair(run, standardMeasureCalls(), outputs);
        writeRegistrationRow(rowFile, registrationRowOf(run, outputs, solverRms));
    }
    ++run.state.pairsDone;
    return true;
}

void runSiteBatch(Run& run, const std::string& path) {
    const std::time_t passStart = wallClockNow();
    SitePass pass;
    pass.isEvaluation = run.state.runMode == 7;
    const std::vector<PlannedTurn> turns =
        planPass(run, pass.isEvaluation ? PassKind::siteEvaluation : PassKind::siteRegistration);
    PassFile passFile = openPassFile(
        run, path, pass.isEvaluation ? ResultFileKind::siteRms : ResultFileKind::registration,
        pairsOf(turns));
    pass.file = std::move(passFile.file);
    pass.fates = std::move(passFile.fates);
    for (const PlannedTurn& turn : turns) takeTurn(run, pass, turn);
    closeInPlace(pass.file);
    const std::int32_t seconds = secondsSince(passStart);
    std::printf("\n");
    printTotalTime(stdout, pass.isEvaluation, seconds);
}

}  // namespace sorvek
