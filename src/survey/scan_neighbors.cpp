#include "survey/scan_neighbors.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <span>

#include "run/console.h"
#include "run/int32_arithmetic.h"
#include "survey/database_reader.h"

namespace sorvek {
namespace {

struct Neighbours {
    double northDist = 0.0;
    double southDist = 0.0;
    std::int32_t northScan = -1;
    std::int32_t southScan = -1;
};

// Only strict comparisons decide, except the lower distance bound: a scan at exactly
// GPSMINDIST qualifies, one at exactly GPSMAXDIST does not, of two at the same distance
// the first in table order stays, and a scan level with `scan` in the direction
// coordinate (the scan itself among them) is on neither side.
Neighbours nearestOnEachSide(std::span<const ScanRecord> scans, std::size_t scanIndex,
                             const RunOptions& options) {
    const ScanRecord& scan = scans[scanIndex];
    const bool isEastWest = options.DATADIR != 0;
    const double here = isEastWest ? scan.gpsX : scan.gpsY;
    Neighbours best{options.GPSMAXDIST, options.GPSMAXDIST, -1, -1};
    for (std::size_t other = 0; other < scans.size(); ++other) {
        const double dy = scans[other].gpsY - scan.gpsY;
        const double dx = scans[other].gpsX - scan.gpsX;
        const double distance = std::sqrt((dy * dy) + (dx * dx));
        if (distance < options.GPSMINDIST) continue;
        const double there = isEastWest ? scans[other].gpsX : scans[other].gpsY;
        // The table never holds more than INT32_MAX scans, so the index fits.
        const auto otherIndex = static_cast<std::int32_t>(other);
        if (there > here && best.northDist > distance) {
            best.northDist = distance;
            best.northScan = otherIndex;
        }
        if (there < here && best.southDist > distance) {
            best.southDist = distance;
            best.southScan = otherIndex;
        }
    }
    return best;
}

void printNeighbourLine(std::span<const ScanRecord> scans, const ScanRecord& scan,
                        bool isEastWest) {
    const bool hasNorth = scan.northScan >= 0;
    const bool hasSouth = scan.southScan >= 0;
    const std::int32_t id = scan.scanId;
    if (!hasNorth && !hasSouth) {
        std::printf("No scans available to match with %i \n", id);
        return;
    }
    const std::int32_t northId =
        hasNorth ? scans[static_cast<std::size_t>(scan.northScan)].scanId : 0;
    const std::int32_t southId =
        hasSouth ? scans[static_cast<std::size_t>(scan.southScan)].scanId : 0;
    if (!isEastWest) {
        if (hasNorth && hasSouth)
            std::printf(" Location:  %i N: %i S: %i \n", id, northId, southId);
        if (hasNorth && !hasSouth) std::printf(" Location:  %i N: %i S: None \n", id, northId);
        if (!hasNorth && hasSouth) std::printf(" Location:  %i N: None S: %i \n", id, southId);
    } else {
        if (hasNorth && hasSouth)
            std::printf(" Location:  %i E: %i W: %i \n", id, northId, southId);
        if (hasNorth && !hasSouth) std::printf(" Location:  %i E: %i W: None \n", id, northId);
        if (!hasNorth && hasSouth) std::printf(" Location:  %i E: None W: %i \n", id, southId);
    }
}

// Only a lower-case x stops the run; the end of the input, like any other character, lets
// it go on, and the rest of the typed line is left for the closing prompt.
void confirmOrQuit() {
    std::fflush(stdout);
    if (std::getchar() == 'x') leaveRun(exitQuit);
}

}  // namespace

void findScanNeighbors(Run& run) {
    std::printf("\n");
    std::printf("Finding Scan Neighbors...... \n");
    std::printf("\n");
    const std::span<ScanRecord> scans = run.state.scans;
    for (std::size_t scanIndex = 0; scanIndex < scans.size(); ++scanIndex) {
        const Neighbours best = nearestOnEachSide(scans, scanIndex, run.options);
        ScanRecord& scan = scans[scanIndex];
        scan.northDist = best.northDist;
        scan.southDist = best.southDist;
        scan.northScan = best.northScan;
        scan.southScan = best.southScan;
        printNeighbourLine(scans, scan, run.options.DATADIR != 0);
    }
}

double percentStepFor(std::int32_t maxIter, std::int32_t scanCount) {
    const std::int32_t product = wrapToInt32(std::int64_t{maxIter} * std::int64_t{scanCount});
    return 100.0 / static_cast<double>(product);
}

void prepareScans(Run& run) {
    RunState& state = run.state;
    const std::int32_t scanCount = countScans(state.databasePath);
    std::printf("There are %i scans to process\n", scanCount);
    state.scans = loadScanDatabase(run, scanCount);
    findScanNeighbors(run);
    std::printf(
        " Please check that all filenames are correct and that the program has correctly matched "
        "up scans correctly \n");
    std::printf(" and press Enter to continue.  \n");
    std::printf(" \n");
    confirmOrQuit();
    state.progressScans = scanCount;
    state.percentStep = percentStepFor(run.options.MAXITER, scanCount);
}

}  // namespace sorvek
