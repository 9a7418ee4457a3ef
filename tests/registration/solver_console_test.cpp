#include "registration/solver_console.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "registration/solver_pair.h"

namespace sorvek {
namespace {

TEST(SolverProgress, WholePercentOfPairsDividesInThirtyTwoBitWholeNumbers) {
    struct Case { std::int32_t pairsDone; std::int32_t progressScans; double percent; };
    const std::int32_t int32Min = std::numeric_limits<std::int32_t>::min();
    for (const Case c : {Case{3, 12, 25.0}, Case{1, 3, 33.0}, Case{-1, 3, -33.0}, Case{7, 7, 100.0},
                         Case{5, 0, 0.0},  // no scans: defined as 0 instead of a trap
                         // 30000000 * 100 wraps to -1294967296 in 32 bits.
                         Case{30000000, 7, -184995328.0},
                         // 536870912 * 100 wraps to INT32_MIN, and INT32_MIN / -1 wraps back.
                         Case{536870912, -1, static_cast<double>(int32Min)}}) {
        SCOPED_TRACE(c.pairsDone);
        EXPECT_EQ(wholePercentOfPairs(c.pairsDone, c.progressScans), c.percent);
    }
}

TEST(SolverProgress, SearchFigureAddsTheShareOfTheIteration) {
    EXPECT_DOUBLE_EQ(partialLeastSquaresPercent(2, 8, 1, 5), 27.5);
    EXPECT_EQ(partialLeastSquaresPercent(0, 4, 0, 5), 0.0);
    EXPECT_EQ(partialLeastSquaresPercent(3, 0, 2, 5), 0.0);
    // Unlike the whole-number figure it moves before pairsDone reaches progressScans.
    EXPECT_DOUBLE_EQ(partialLeastSquaresPercent(0, 2, 4, 5), 40.0);
}

TEST(SolverProgress, GridFigureCountsStepsOfAllCyclesAndThePairsDone) {
    sorvek::Run run;
    run.options.MAXITER = 5;
    run.state.percentStep = 100.0 / 20.0;
    run.state.pairsDone = 1;
    run.state.progressScans = 4;
    EXPECT_EQ(iterativeSearchPercent(run, 0, 0), 25.0);
    EXPECT_EQ(iterativeSearchPercent(run, 1, 2), 60.0);
    run.state.progressScans = 0;
    EXPECT_EQ(iterativeSearchPercent(run, 2, 4), 70.0);
}

TEST(SolverProgress, NoRotationLineShowsTheInitialRmsWithItsTrailingBlank) {
    ::testing::internal::CaptureStdout();
    printNoRotationNeeded(0.1F);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "RMSfinal:  0.100000  No rotation necessary.  Scan is at optimal alignment \n");
}

TEST(StoredRotation, NorthBeforeSouthAndOnlyAboveMinus999) {
    struct Case { double north; double south; double start; };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const Case c : {Case{0.01, 0.02, 0.01}, Case{noRotation, 0.02, 0.02},
                         Case{noRotation, noRotation, 0.0}, Case{-999.0, 0.03, 0.03},
                         Case{-998.5, 0.03, -998.5}, Case{nan, -0.04, -0.04},
                         Case{-999.0, -999.0, 0.0}}) {
        SCOPED_TRACE(c.north);
        ScanRecord scan;
        scan.northRotation = c.north;
        scan.southRotation = c.south;
        EXPECT_EQ(storedRotation(scan), c.start);
    }
}

TEST(PairIsPrepared, AsksForTwoRowsOfTheTableAndTwoCloudsWithPoints) {
    sorvek::Run run;
    run.state.scans.resize(2);
    run.pair.firstIndex = 0;
    run.pair.secondIndex = 1;
    run.pair.firstCloud.resize(1);
    run.pair.secondCloud.resize(3);
    EXPECT_TRUE(pairIsPrepared(run));
    run.pair.secondIndex = 2;
    EXPECT_FALSE(pairIsPrepared(run));
    run.pair.secondIndex = -1;
    EXPECT_FALSE(pairIsPrepared(run));
    run.pair.secondIndex = 1;
    run.pair.secondCloud.clear();
    EXPECT_FALSE(pairIsPrepared(run));
}

}  // namespace
}  // namespace sorvek
