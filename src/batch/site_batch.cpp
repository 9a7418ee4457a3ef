#include "batch/site_batch.h"

// Every pair i < j of the site within the distance span, once: the order of the indices
// alone keeps a pair from being done twice, so nothing is stored in the scan records
// (Ping Pong still stores its own rotations, which its later pairs start from).

#include <cmath>
#include <cstdio>

#include "batch/batch_pair.h"
#include "batch/result_rows.h"
#include "batch/wall_clock.h"
#include "points/pair_preparation.h"

namespace sorvek {
namespace {

// What one pass carries from pair to pair besides the shared records.
struct SitePass {
    OutputFile file;            // the result file being written
    bool isEvaluation = false;  // run mode 7 rather than run mode 6
    SolverOutputs outputs;      // the solver's out values, kept across pairs
};

void doPair(Run& run, SitePass& pass, std::int32_t secondIndex, double distance) {
    run.pair.secondPath = run.state.scans[static_cast<std::size_t>(secondIndex)].fileName;
    run.pair.secondIndex = secondIndex;
    if (prepareScanPair(run) == 0) {
        logFailedPair(run);
        return;
    }
    if (pass.isEvaluation) {
        writeRmsRow(pass.file, evaluatePreparedPair(run, distance));
    } else {
        const double solverRms = solvePreparedPair(run, pass.outputs);
        writeRegistrationRow(pass.file, registrationRowOf(run, pass.outputs, solverRms));
    }
    ++run.state.pairsDone;
}

void takeTurn(Run& run, SitePass& pass, std::int32_t firstIndex, std::int32_t scanCount) {
    const std::time_t start = wallClockNow();
    pass.outputs.firstRotationDeg = 0.0;
    pass.outputs.secondRotationDeg = 0.0;
    pass.outputs.iterationCount = 0;
    run.pair.firstIndex = firstIndex;
    const ScanRecord& first = run.state.scans[static_cast<std::size_t>(firstIndex)];
    run.pair.firstPath = first.fileName;
    for (std::int32_t secondIndex = firstIndex + 1; secondIndex < scanCount; ++secondIndex) {
        const double distance =
            planDistance(first, run.state.scans[static_cast<std::size_t>(secondIndex)]);
        if (isWithinSpan(run.options, distance)) doPair(run, pass, secondIndex, distance);
    }
    printScanTime(pass.isEvaluation, first.scanId, secondsSince(start));
}

void printTotalTime(bool isEvaluation, std::int32_t seconds) {
    if (isEvaluation) {
        std::printf("Total Time for all RMS evaluations: %i seconds \n", seconds);
    } else {
        std::printf("Total Time for all registrations: %i seconds \n", seconds);
    }
}

}  // namespace

double planDistance(const ScanRecord& first, const ScanRecord& second) {
    const double dy = second.gpsY - first.gpsY;
    const double dx = second.gpsX - first.gpsX;
    return std::sqrt((dy * dy) + (dx * dx));
}

bool isWithinSpan(const RunOptions& options, double distance) {
    return distance >= options.GPSMINDIST && options.GPSMAXDIST >= distance;
}

void runSiteBatch(Run& run, const std::string& path) {
    const std::time_t passStart = wallClockNow();
    SitePass pass;
    pass.isEvaluation = run.state.runMode == 7;
    const ResultFileKind kind =
        pass.isEvaluation ? ResultFileKind::siteRms : ResultFileKind::registration;
    pass.file = createResultFile(path, kind, run.state.logFile.get());
    const std::int32_t scanCount = static_cast<std::int32_t>(run.state.scans.size());
    for (std::int32_t firstIndex = 0; firstIndex < scanCount; ++firstIndex) {
        takeTurn(run, pass, firstIndex, scanCount);
    }
    closeInPlace(pass.file);
    const std::int32_t seconds = secondsSince(passStart);
    std::printf("\n");
    printTotalTime(pass.isEvaluation, seconds);
}

}  // namespace sorvek
