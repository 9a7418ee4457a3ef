#include "registration/solver_console.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "registration/iterative_search.h"
#include "registration/partial_least_squares.h"
#include "registration/ping_pong.h"
#include "registration/solver_pair.h"
#include "registration/solver_probe.h"

namespace sorvek {
namespace {

TEST(SolverProgress, WholePercentOfPairsDividesInThirtyTwoBitWholeNumbers) {
    struct Case { std::int32_t pairsDone; std::int32_t progressScans; double percent; };
    for (const Case c : {Case{3, 12, 25.0}, Case{1, 3, 33.0}, Case{-1, 3, -33.0},
                         Case{5, 0, 0.0},  // no scans: 0 instead of a trap
                         Case{30000000, 7, -184995328.0},  // the product wraps to -1294967296
                         // The product wraps to INT32_MIN, and INT32_MIN / -1 wraps back.
                         Case{536870912, -1, -2147483648.0}}) {
        SCOPED_TRACE(c.pairsDone);
        EXPECT_EQ(wholePercentOfPairs(c.pairsDone, c.progressScans), c.percent);
    }
}

TEST(SolverProgress, SearchAndGridFiguresAddTheShareOfTheIterations) {
    EXPECT_DOUBLE_EQ(partialLeastSquaresPercent(2, 8, 1, 5), 27.5);
    EXPECT_DOUBLE_EQ(partialLeastSquaresPercent(0, 2, 4, 5), 40.0);
    EXPECT_EQ(partialLeastSquaresPercent(3, 0, 2, 5), 0.0);
    sorvek::Run run;
    run.options.MAXITER = 5;
    run.state.percentStep = 100.0 / 20.0;
    run.state.pairsDone = 1;
    run.state.progressScans = 4;
    EXPECT_EQ(iterativeSearchPercent(run, 1, 2), 60.0);
}

TEST(StoredRotation, NorthBeforeSouthAndOnlyAboveMinus999) {
    struct Case { double north; double south; double start; };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const Case c : {Case{0.01, 0.02, 0.01}, Case{noRotation, 0.02, 0.02},
                         Case{noRotation, noRotation, 0.0}, Case{-999.0, 0.03, 0.03},
                         Case{-998.5, 0.03, -998.5}, Case{nan, -0.04, -0.04}}) {
        SCOPED_TRACE(c.north);
        ScanRecord scan;
        scan.northRotation = c.north;
        scan.southRotation = c.south;
        EXPECT_EQ(storedRotation(scan), c.start);
    }
}

TEST(Solvers, RefuseWithoutAWordAPairThatWasNotPrepared) {
    for (int variant = 0; variant < 3; ++variant) {
        SCOPED_TRACE(variant);
        sorvek::Run run = probe::probeRun();
        if (variant == 0) run.pair.secondIndex = -1;
        if (variant == 1) run.pair.firstIndex = 2;
        if (variant == 2) run.pair.firstCloud.clear();
        EXPECT_FALSE(pairIsPrepared(run));
        double first = 1.0;
        double second = 1.0;
        std::int32_t count = 0;
        std::int32_t iterations = 0;
        const std::string printed = probe::printedBy([&] {
            EXPECT_EQ(solvePingPong(run, first, second, count, iterations), 999.0);
            EXPECT_EQ(solvePartialLeastSquares(run, first, second, count), 999.0);
            EXPECT_EQ(solveIterativeSearch(run, first, second, count), 999.0);
        });
        EXPECT_EQ(printed, "");
        EXPECT_EQ(first, 0.0);
        EXPECT_EQ(run.state.scans[0].southRotation, noRotation);
    }
}

}  // namespace
}  // namespace sorvek
