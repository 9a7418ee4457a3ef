// Which scan is whose neighbour: the edges of the distance span, ties, level scans, and
// the progress step that the confirmation leaves behind.
#include "survey/scan_neighbors.h"

#include <gtest/gtest.h>

#include <cmath>

namespace sorvek {
namespace {

struct Spot { double x; double y; };

// Lines name the scans by id. A side without a neighbour keeps -1 and the upper bound.
TEST(ScanNeighbours, FindsTheNearestScanOnEachSideWithinTheSpan) {
    struct Case { const char* label; std::vector<Spot> spots; double minDist, maxDist; int dataDir; std::string lines; };
    const std::string none = "No scans available to match with ";
    const std::string tie = " Location:  10 N: 11 S: None \n Location:  11 N: None S: 10 \n Location:  12 N: None S: 10 \n";
    for (const Case& c : {
             // 11 lies on GPSMINDIST, 12 is too near, 13 lies on GPSMAXDIST.
             Case{"lower bound inclusive, upper exclusive", {{0, 0}, {0, 2}, {0, 1}, {0, -10}}, 2, 10, 0,
                  " Location:  10 N: 11 S: None \n Location:  11 N: None S: 10 \n" + none + "12 \n" + none + "13 \n"},
             Case{"nearest beyond the lower bound", {{0, 0}, {0, -10}, {0, -9.5}}, 2, 10, 0,
                  " Location:  10 N: None S: 12 \n" + none + "11 \n Location:  12 N: 10 S: None \n"},
             Case{"a tie keeps the first in the table", {{0, 0}, {3, 4}, {-3, 4}}, 0, 200, 0, tie},
             Case{"whichever lies where", {{0, 0}, {-3, 4}, {3, 4}}, 0, 200, 0, tie},
             // 11 is level with 10 in Y, so the far scan 12 is the nearest one north.
             Case{"Y decides the side", {{0, 0}, {5, 0}, {100, 1}}, 0, 200, 0,
                  " Location:  10 N: 12 S: None \n Location:  11 N: 12 S: None \n Location:  12 N: None S: 11 \n"},
             Case{"X decides the side", {{0, 0}, {5, 0}, {100, 1}}, 0, 200, 7,
                  " Location:  10 E: 11 W: None \n Location:  11 E: 12 W: 10 \n Location:  12 E: None W: 11 \n"},
             // 11 is the nearest scan north of 10, while 12, off to the side, is nearer to 11.
             Case{"need not be mutual", {{0, 0}, {0, 10}, {-8, 9}}, 0, 200, 0,
                  " Location:  10 N: 11 S: None \n Location:  11 N: None S: 12 \n Location:  12 N: 11 S: 10 \n"},
             Case{"crossed bounds", {{0, 0}, {0, 5}}, 50, 20, 0, none + "10 \n" + none + "11 \n"},
             Case{"one scan", {{4, 4}}, 0, 200, 0, none + "10 \n"}, Case{"no scans", {}, 0, 200, 0, ""}}) {
        SCOPED_TRACE(c.label);
        sorvek::Run run;
        run.options.GPSMINDIST = c.minDist, run.options.GPSMAXDIST = c.maxDist, run.options.DATADIR = c.dataDir;
        for (const Spot& spot : c.spots) {  // ids 10, 11, ...; heights that never matter
            ScanRecord& scan = run.state.scans.emplace_back();
            scan.scanId = 9 + static_cast<std::int32_t>(run.state.scans.size());
            scan.gpsX = spot.x, scan.gpsY = spot.y, scan.gpsZ = 100.0 * scan.scanId;
        }
        ::testing::internal::CaptureStdout();
        findScanNeighbors(run);
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), "\nFinding Scan Neighbors...... \n\n" + c.lines);
        for (const ScanRecord& scan : run.state.scans) {
            EXPECT_TRUE((scan.northScan >= 0 || scan.northDist == c.maxDist) &&
                        (scan.southScan >= 0 || scan.southDist == c.maxDist));
        }
    }
}

TEST(PercentStep, DividesByTheProductAsThirtyTwoBitArithmeticLeavesIt) {
    struct Case { std::int32_t maxIter; std::int32_t scanCount; double step; };
    for (const Case c : {Case{5, 4, 5.0}, Case{5, 0, INFINITY}, Case{0, 3, INFINITY}, Case{-5, 4, -5.0},
                         Case{65536, 65536, INFINITY}, Case{65537, 65536, 100.0 / 65536.0},
                         Case{65536, 32768, 100.0 / -2147483648.0}, Case{INT32_MAX, 2, -50.0},
                         Case{INT32_MIN, -1, 100.0 / -2147483648.0}}) {
        SCOPED_TRACE(::testing::Message() << c.maxIter << " x " << c.scanCount);
        EXPECT_EQ(percentStepFor(c.maxIter, c.scanCount), c.step);
    }
}

}  // namespace
}  // namespace sorvek
