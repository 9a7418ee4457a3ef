#include "batch/linear_sequence.h"

// A rotation field that isUnregistered still holds noRotation: the pair on that side has
// not been registered. The fields stay set for the rest of the run, so a pair solved from
// one side is not due again from the other, and Ping Pong's own stores (always the first
// scan's south field and the second scan's north field) move later pairs to the scan
// beyond.

#include <cstdio>

#include "batch/batch_pair.h"
#include "batch/result_rows.h"
#include "batch/resume.h"
#include "batch/wall_clock.h"
#include "points/pair_preparation.h"
#include "survey/file_names.h"

namespace sorvek {
namespace {

enum class Side { south, north };

// What one pass carries from pair to pair besides the shared records.
struct LinearPass {
    OutputFile file;               // the result file being written
    bool isEvaluation = false;     // RMS evaluation pass rather than registration pass
    SolverOutputs outputs;         // the solver's out values, kept across pairs
    std::vector<PairFate> fates;   // RMS pass: per planned pair, do it or skip it on resuming
    std::size_t pairPosition = 0;  // RMS pass: the planned pair in hand
};

// The south pair's files: in an RMS pass those of lineRmsPassFileName, else the scans'
// own files.
void setSouthPaths(Run& run, const ScanRecord& first, const ScanRecord& second) {
    if (run.state.rmsPhase) {
        run.pair.firstPath = lineRmsPassFileName(run.options.FILEEXT, first.fileName);
        run.pair.secondPath = lineRmsPassFileName(run.options.FILEEXT, second.fileName);
    } else {
        run.pair.firstPath = first.fileName;
        run.pair.secondPath = second.fileName;
    }
}

// The solver hands back degrees; the records keep radians, for both row forms.
void storeRotations(Run& run, Side side, const SolverOutputs& outputs) {
    ScanRecord& first = run.state.scans[static_cast<std::size_t>(run.pair.firstIndex)];
    ScanRecord& second = run.state.scans[static_cast<std::size_t>(run.pair.secondIndex)];
    if (side == Side::south) {
        first.southRotation = degToRad * outputs.firstRotationDeg;
        first.southPoints = outputs.pointCount;
        second.northRotation = degToRad * outputs.secondRotationDeg;
        second.northPoints = outputs.pointCount;
    } else {
        first.northRotation = degToRad * outputs.firstRotationDeg;
        first.northPoints = outputs.pointCount;
        second.southRotation = degToRad * outputs.secondRotationDeg;
        second.southPoints = outputs.pointCount;
    }
}

}  // namespace

void setLineSouthPairFiles(Run& run, std::int32_t scanIndex) {
    const ScanRecord& scan = run.state.scans[static_cast<std::size_t>(scanIndex)];
    run.pair.firstIndex = scanIndex;
    run.pair.secondIndex = scan.southScan;
    if (scan.southScan < 0) return;
    setSouthPaths(run, scan, run.state.scans[static_cast<std::size_t>(scan.southScan)]);
}

namespace {

void solvePair(Run& run, LinearPass& pass, Side side) {
    const double solverRms = solvePreparedPair(run, standardMeasureCalls(), pass.outputs);
    storeRotations(run, side, pass.outputs);
    writeRegistrationRow(pass.file, registrationRowOf(run, pass.outputs, solverRms));
}

void evaluatePair(Run& run, OutputFile& rowFile) {
    const ScanRecord& first = run.state.scans[static_cast<std::size_t>(run.pair.firstIndex)];
    const ScanRecord& second = run.state.scans[static_cast<std::size_t>(run.pair.secondIndex)];
    const RmsRow row = evaluatePreparedPair(run, first.southDist);
    std::printf("%i:  N:  %lf  S: %lf %i: N: %lf S: %lf\n", row.firstId, first.northDist,
                first.southDist, row.secondId, second.northDist, second.southDist);
    std::printf("\n");
    writeRmsRow(rowFile, row);
}

// The south pair of scan i in an RMS pass; false as for doSouthPair.
bool evaluateSouthPair(Run& run, LinearPass& pass, std::int32_t scanIndex) {
    const ScanRecord& scan = run.state.scans[static_cast<std::size_t>(scanIndex)];
    if (scan.southScan < 0) {
        setLineSouthPairFiles(run, scanIndex);
        return true;
    }
    switch (pass.fates[pass.pairPosition++]) {
    case PairFate::kept: ++run.state.pairsDone; return true;
    case PairFate::failedBefore:
        setLineSouthPairFiles(run, scanIndex);
        logFailedPair(run);
        return false;
    case PairFate::toDo: break;
    }
    return doLineRmsPair(run, pass.file, scanIndex);
}

// The south pair of scan i. Returns false when the pair could not be prepared, which
// ends the scan's turn.
bool doSouthPair(Run& run, LinearPass& pass, std::int32_t scanIndex) {
    if (pass.isEvaluation) return evaluateSouthPair(run, pass, scanIndex);
    const ScanRecord& scan = run.state.scans[static_cast<std::size_t>(scanIndex)];
    setLineSouthPairFiles(run, scanIndex);
    if (scan.southScan < 0) return true;
    if (!isUnregistered(scan.southRotation)) return true;
    if (prepareScanPair(run) == 0) {
        logFailedPair(run);
        return false;
    }
    solvePair(run, pass, Side::south);
    ++run.state.pairsDone;
    return true;
}

// The north pair of scan i, registration passes only; false as for the south pair.
bool doNorthPair(Run& run, LinearPass& pass, std::int32_t scanIndex) {
    const ScanRecord& scan = run.state.scans[static_cast<std::size_t>(scanIndex)];
    run.pair.firstIndex = scanIndex;
    run.pair.secondIndex = scan.northScan;
    if (scan.northScan < 0) return true;
    run.pair.firstPath = scan.fileName;
    run.pair.secondPath = run.state.scans[static_cast<std::size_t>(scan.northScan)].fileName;
    if (!isUnregistered(scan.northRotation)) return true;
    if (prepareScanPair(run) == 0) {
        logFailedPair(run);
        return false;
    }
    pass.outputs.firstRotationDeg = 0.0;
    pass.outputs.secondRotationDeg = 0.0;
    solvePair(run, pass, Side::north);
    ++run.state.pairsDone;
    return true;
}

void takeTurn(Run& run, LinearPass& pass, std::int32_t scanIndex) {
    const std::time_t start = wallClockNow();
    pass.outputs.firstRotationDeg = 0.0;
    pass.outputs.secondRotationDeg = 0.0;
    if (!doSouthPair(run, pass, scanIndex)) return;
    if (!pass.isEvaluation && !doNorthPair(run, pass, scanIndex)) return;
    const std::int32_t scanId = run.state.scans[static_cast<std::size_t>(scanIndex)].scanId;
    printScanTime(stdout, pass.isEvaluation, scanId, secondsSince(start));
}

}  // namespace

bool doLineRmsPair(Run& run, OutputFile& rowFile, std::int32_t scanIndex) {
    setLineSouthPairFiles(run, scanIndex);
    if (prepareScanPair(run) == 0) {
        logFailedPair(run);
        return false;
    }
    evaluatePair(run, rowFile);
    ++run.state.pairsDone;
    return true;
}

void runLinearSequence(Run& run, const std::string& path) {
    LinearPass pass;
    pass.isEvaluation = run.state.rmsPhase;
    if (pass.isEvaluation) {
        PassFile passFile = openPassFile(run, path, ResultFileKind::lineRms,
                                         pairsOf(planPass(run, PassKind::lineEvaluation)));
        pass.file = std::move(passFile.file);
        pass.fates = std::move(passFile.fates);
    } else {
        pass.file = createResultFile(path, ResultFileKind::registration, run.state.logFile.get());
    }
    const std::int32_t scanCount = static_cast<std::int32_t>(run.state.scans.size());
    for (std::int32_t scanIndex = 0; scanIndex < scanCount; ++scanIndex) {
        takeTurn(run, pass, scanIndex);
    }
    closeInPlace(pass.file);
    std::printf("\n");
}

}  // namespace sorvek
