// Which scan is whose neighbour, at the edges of the distance span, for ties and level
// scans; and the progress figures that the confirmation leaves behind.
#include "survey/scan_neighbors.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "support/sorvek_session.h"

namespace sorvek {
namespace {

struct Spot { double x; double y; };

Run runWithScans(const std::vector<Spot>& spots, double minDist, double maxDist, int dataDir = 0) {
    sorvek::Run run;
    run.options.GPSMINDIST = minDist;
    run.options.GPSMAXDIST = maxDist;
    run.options.DATADIR = dataDir;
    for (std::size_t index = 0; index < spots.size(); ++index) {
        ScanRecord scan;
        scan.gpsX = spots[index].x;
        scan.gpsY = spots[index].y;
        scan.gpsZ = 100.0 * static_cast<double>(index);  // height never matters
        scan.scanId = 10 + static_cast<std::int32_t>(index);
        run.state.scans.push_back(scan);
    }
    run.state.scanCount = static_cast<std::int32_t>(spots.size());
    findScanNeighbors(run);
    return run;
}

struct Expected { std::int32_t north; double northDist; std::int32_t south; double southDist; };

void expectNeighbours(const Run& run, std::size_t index, const Expected& want) {
    SCOPED_TRACE(index);
    const ScanRecord& scan = run.state.scans[index];
    EXPECT_EQ(scan.northScan, want.north);
    EXPECT_EQ(scan.northDist, want.northDist);
    EXPECT_EQ(scan.southScan, want.south);
    EXPECT_EQ(scan.southDist, want.southDist);
}

TEST(ScanNeighbours, TheLowerBoundIsInclusiveAndTheUpperExclusive) {
    // Seen from scan 0: 2 units north (on GPSMINDIST), 1 north (too near), 10 south (on
    // GPSMAXDIST) and 9.5 south.
    const sorvek::Run run = runWithScans({{0, 0}, {0, 2}, {0, 1}, {0, -10}}, 2.0, 10.0);
    expectNeighbours(run, 0, {1, 2.0, -1, 10.0});
    expectNeighbours(run, 1, {-1, 10.0, 0, 2.0});
    const sorvek::Run nearer = runWithScans({{0, 0}, {0, -10}, {0, -9.5}}, 2.0, 10.0);
    expectNeighbours(nearer, 0, {-1, 10.0, 2, 9.5});
}

TEST(ScanNeighbours, OfTwoAtTheSameDistanceTheFirstInTheTableStays) {
    expectNeighbours(runWithScans({{0, 0}, {3, 4}, {-3, 4}}, 0.0, 200.0), 0, {1, 5.0, -1, 200.0});
    expectNeighbours(runWithScans({{0, 0}, {-3, 4}, {3, 4}}, 0.0, 200.0), 0, {1, 5.0, -1, 200.0});
    expectNeighbours(runWithScans({{3, -4}, {-3, -4}, {0, 0}}, 0.0, 200.0), 2, {-1, 200.0, 0, 5.0});
}

TEST(ScanNeighbours, OneCoordinateDecidesTheSideAndBothTheDistance) {
    const sorvek::Run northSouth = runWithScans({{0, 0}, {5, 0}, {100, 1}}, 0.0, 200.0);
    expectNeighbours(northSouth, 0, {2, std::sqrt(10001.0), -1, 200.0});  // level scan 1 is no neighbour
    expectNeighbours(northSouth, 1, {2, std::sqrt(9026.0), -1, 200.0});
    const sorvek::Run eastWest = runWithScans({{0, 0}, {5, 0}, {100, 1}}, 0.0, 200.0, 7);
    expectNeighbours(eastWest, 0, {1, 5.0, -1, 200.0});
    expectNeighbours(eastWest, 1, {2, std::sqrt(9026.0), 0, 5.0});
    expectNeighbours(eastWest, 2, {-1, 200.0, 1, std::sqrt(9026.0)});
}

TEST(ScanNeighbours, NeedNotBeMutual) {
    // 1 is the nearest scan north of 0, while 2, off to the side, is nearer to 1 than 0 is.
    const sorvek::Run run = runWithScans({{0, 0}, {0, 10}, {-8, 9}}, 0.0, 200.0);
    expectNeighbours(run, 0, {1, 10.0, -1, 200.0});
    expectNeighbours(run, 1, {-1, 200.0, 2, std::sqrt(65.0)});
}

TEST(ScanNeighbours, ScansWithoutPartnersKeepMinusOneAndTheUpperBound) {
    expectNeighbours(runWithScans({{4, 4}}, 0.0, 200.0), 0, {-1, 200.0, -1, 200.0});
    const sorvek::Run crossed = runWithScans({{0, 0}, {0, 5}}, 50.0, 20.0);
    expectNeighbours(crossed, 0, {-1, 20.0, -1, 20.0});
    expectNeighbours(crossed, 1, {-1, 20.0, -1, 20.0});
}

TEST(ScanNeighbours, AnEmptyTableIsLeftAlone) {
    const sorvek::Run run = runWithScans({}, 0.0, 200.0);
    EXPECT_TRUE(run.state.scans.empty());
}

TEST(PercentStep, DividesByTheProductAsThirtyTwoBitArithmeticLeavesIt) {
    const double inf = std::numeric_limits<double>::infinity();
    struct Case { std::int32_t maxIter; std::int32_t scanCount; double step; };
    for (const Case c : {Case{5, 4, 5.0}, Case{5, 0, inf}, Case{0, 3, inf}, Case{-5, 4, -5.0},
                         Case{65536, 65536, inf}, Case{65537, 65536, 100.0 / 65536.0},
                         Case{65536, 32768, 100.0 / -2147483648.0},
                         Case{INT32_MAX, 2, -50.0}, Case{INT32_MIN, -1, 100.0 / -2147483648.0}}) {
        SCOPED_TRACE(::testing::Message() << c.maxIter << " x " << c.scanCount);
        EXPECT_EQ(percentStepFor(c.maxIter, c.scanCount), c.step);
    }
}

TEST(PrepareScans, SetsTheProgressFiguresOnceTheUserGoesOn) {
    const std::filesystem::path folder = sorvek::testing::makeScratchDir("prepare");
    sorvek::testing::writeFile(folder / "line7.txt", "H\n0,0,0,0,0,0,1,1,A\n0,5,0,0,0,0,2,1,B\n"
                                                     "0,9,0,0,0,0,3,1,C\n");
    sorvek::testing::writeFile(folder / "answer.txt", "X\n");
    ASSERT_NE(std::freopen((folder / "answer.txt").c_str(), "r", stdin), nullptr);
    sorvek::Run run;
    run.state.databasePath = (folder / "line7.txt").string();
    run.state.databaseStem = (folder / "line7").string();
    run.options.MAXITER = 8;
    prepareScans(run);
    EXPECT_EQ(run.state.scanCount, 3);
    EXPECT_EQ(run.state.scans.size(), 3U);
    EXPECT_EQ(run.state.progressScans, 3);
    EXPECT_EQ(run.state.percentStep, 100.0 / 24.0);
    EXPECT_EQ(run.state.scans[1].northScan, 2);
    EXPECT_EQ(run.state.scans[1].southScan, 0);
    EXPECT_EQ(std::getchar(), '\n');  // only the first character was taken
}

}  // namespace
}  // namespace sorvek
