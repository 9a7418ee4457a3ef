#include "points/pair_preparation.h"

#include <cstdio>

#include "points/cube_grid.h"
#include "points/cube_sort.h"
#include "points/point_file_kind.h"
#include "points/point_loading.h"
#include "points/transforms.h"
#include "points/work_cloud.h"
#include "registration/engine_scratch.h"
#include "registration/pair_rms.h"
#include "run/worker_pool.h"

// Loads, moves, grids and sorts the two clouds of a pair and measures where it starts
// from. Clouds and scratch keep their capacity from pair to pair.
namespace sorvek {
namespace {

// Mode 5 has no scan table; the text reader then has no use for a position.
Point3 placeOf(const Run& run, std::int32_t scanIndex) {
    const auto& scans = run.state.scans;
    const bool isInTable = scanIndex >= 0 && static_cast<std::size_t>(scanIndex) < scans.size();
    if (run.state.runMode == 5 || !isInTable) return {};
    return scannerOf(scans[static_cast<std::size_t>(scanIndex)]);
}

// Any file is tried as .bxyz records first when it is no other kind, and as text when that
// delivered no record. The path becomes the file really read, for the messages and the
// log. Returns the Cliff Distance, 0.0 for a .bxyz cloud.
double loadCloud(Run& run, std::string& path, std::int32_t scanIndex, Cloud& cloud,
                 CloudBounds& bounds) {
    path = scanPointFile(path);
    return loadPointFile(run, path, placeOf(run, scanIndex), cloud, bounds, true);
}

void moveIntoSurveyFrame(const Run& run, const ScanRecord& scan, Cloud& cloud) {
    const ScanMatrix matrix =
        buildScanMatrix(scan.rotX, scan.rotY, scan.rotZ, 1.0, scan.gpsX, scan.gpsY, scan.gpsZ);
    runShares(run.state.workers.get(), cloud.size(), [&](std::size_t begin, std::size_t end) {
        applyMatrix(std::span<PointRecord>(cloud).subspan(begin, end - begin), matrix);
    });
}

std::int32_t scanNumber(const Run& run, std::int32_t scanIndex, std::int32_t modeFiveNumber) {
    if (run.state.runMode == 5) return modeFiveNumber;
    return run.state.scans.at(static_cast<std::size_t>(scanIndex)).scanId;
}

void assignAndSort(Run& run) {
    PairState& pair = run.pair;
    const double zMin = run.options.ZMIN;
    std::printf("Assigning Points to Cubes\n");
    assignCubes(run, pair.firstCloud, pair.overlapBounds, zMin);
    std::printf("Assigned %i Points from scan %i to %i Cubes\n", pair.firstBounds.count,
                scanNumber(run, pair.firstIndex, 1), run.state.cubeCount);
    assignCubes(run, pair.secondCloud, pair.overlapBounds, zMin);
    std::printf("Assigned %i Points from scan %i to %i Cubes\n", pair.secondBounds.count,
                scanNumber(run, pair.secondIndex, 2), run.state.cubeCount);
    const CubeGrid grid = layCubeGrid(run.options, pair.overlapBounds, zMin);
    if (grid.isOutOfReach) {
        std::printf(
            "Coordinates of this pair are not numbers or too far out for the cube grid. "
            "Check the point files and TRANSX, TRANSY. \n");
    } else if (grid.isTooLarge) {
        std::printf("Cube grid too large for this pair. Increase dCX, dCY or dCZ. \n");
    }
    std::printf("Sorting Data\n");
    sortByCube(run, pair.firstCloud);
    sortByCube(run, pair.secondCloud);
}

// The three initial values are 32-bit on purpose: a solver's result must beat exactly
// this mean, and the sum is rounded before it is halved.
void measureInitialRms(Run& run) {
    PairState& pair = run.pair;
    const double maxDistance = run.options.MAXDISTINITIAL;
    const double zMin = run.options.ZMIN;
    std::int32_t acceptedCount = 0;
    // The walk reads coordinates apart; the work copies serve, as the solvers remake them.
    copySorted(run, pair.firstCloud, run.state.cubeCount, pair.firstWork);
    copySorted(run, pair.secondCloud, run.state.cubeCount, pair.secondWork);
    const double rms21 =
        measurePairRms(run, pair.secondWork, pair.firstWork, maxDistance, acceptedCount, zMin);
    pair.initialRms21 = static_cast<float>(rms21);
    const double rms12 =
        measurePairRms(run, pair.firstWork, pair.secondWork, maxDistance, acceptedCount, zMin);
    clearWorkCloud(pair.firstWork);
    clearWorkCloud(pair.secondWork);
    pair.initialRms12 = static_cast<float>(rms12);
    const float sum = pair.initialRms12 + pair.initialRms21;
    const double half = static_cast<double>(sum) * 0.5;
    pair.initialRms = static_cast<float>(half);
    std::printf("Initial rms = %f calculated from %i pts\n", static_cast<double>(pair.initialRms),
                acceptedCount);
}

}  // namespace

std::int32_t prepareScanPair(Run& run) {
    PairState& pair = run.pair;
    const std::int32_t runMode = run.state.runMode;
    std::printf("Preparing data for registration.... \n");
    pair.firstCloud.clear();
    pair.secondCloud.clear();
    forgetKeys(run);
    const double firstCliff =
        loadCloud(run, pair.firstPath, pair.firstIndex, pair.firstCloud, pair.firstBounds);
    const double secondCliff =
        loadCloud(run, pair.secondPath, pair.secondIndex, pair.secondCloud, pair.secondBounds);
    pair.meanCliffDistance = (firstCliff + secondCliff) * 0.5;
    if (pair.firstCloud.empty() || pair.secondCloud.empty()) return 0;
    if (run.options.SCANTRANSFORM == 0 && runMode != 5) {
        const auto& scans = run.state.scans;
        moveIntoSurveyFrame(run, scans.at(static_cast<std::size_t>(pair.firstIndex)),
                            pair.firstCloud);
        moveIntoSurveyFrame(run, scans.at(static_cast<std::size_t>(pair.secondIndex)),
                            pair.secondCloud);
    }
    gridPairOnOverlap(run);
    if (runMode != 1 && runMode != 5 && runMode != 6) return 1;
    measureInitialRms(run);
    return 1;
}

void gridPairOnOverlap(Run& run) {
    PairState& pair = run.pair;
    pair.firstBounds = computeBounds(pair.firstCloud);
    pair.secondBounds = computeBounds(pair.secondCloud);
    pair.overlapBounds = overlapOf(pair.firstBounds, pair.secondBounds);
    assignAndSort(run);
}

}  // namespace sorvek
