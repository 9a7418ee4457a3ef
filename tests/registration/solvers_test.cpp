// The three solvers driven by scripted measures: what they turn, store and print.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "points/cube_grid.h"
#include "registration/iterative_search.h"
#include "registration/partial_least_squares.h"
#include "registration/ping_pong.h"
#include "registration/solver_console.h"

namespace sorvek {
namespace {

// Scans 11 and 12, each cloud one point 10 units east of its pivot, so that a work cloud's
// angle about its pivot is how far the solver has turned it. Angle options in radians.
Run probeRun() {
    Run run;
    run.options.ALPHA = run.options.ALPHA * degToRad;
    run.options.ALPHATHRESH = run.options.ALPHATHRESH * degToRad;
    run.state.scans = {ScanRecord{}, ScanRecord{}};
    run.state.scanCount = 2;
    run.pair.secondIndex = 1;
    run.pair.initialRms = 0.5F;
    for (std::size_t k = 0; k < 2; ++k) {
        ScanRecord& scan = run.state.scans[k];
        std::tie(scan.gpsX, scan.gpsY, scan.scanId) = k == 0 ? std::tuple{100.0, 200.0, 11} : std::tuple{112.0, 203.0, 12};
        (k == 0 ? run.pair.firstCloud : run.pair.secondCloud) = {{scan.gpsX + 10.0, scan.gpsY, 1.0}};
    }
    run.pair.overlapBounds = overlapOf(run.pair.firstBounds = computeBounds(run.pair.firstCloud),
                                       run.pair.secondBounds = computeBounds(run.pair.secondCloud));
    return run;
}

// Turns read back from coordinates near 200 carry their rounding: a few 1e-15 radians.
constexpr double turnTolerance = 1e-13;

// One scripted call: its limits, and how far each work cloud had turned, in radians.
struct Call {
    bool isEstimate = false, turnsSecond = false;  // turnsSecond: about the second scan's pivot
    double maxDistance = 0.0, minDistance = 0.0, firstTurn = 0.0, secondTurn = 0.0;
};

// Measures and estimates that record every call, report the number of calls so far as
// their pair count, and answer through `answer` with the RMS and an estimate's turn.
struct Script {
    std::function<double(const Call&, std::size_t, double&)> answer;
    std::vector<Call> calls;

    double record(Run& run, Call call, std::int32_t& accepted, double& turn) {
        const PointRecord& first = run.pair.firstWork[0];
        const PointRecord& second = run.pair.secondWork[0];
        call.firstTurn = std::atan2(first.y - 200.0, first.x - 100.0);
        call.secondTurn = std::atan2(second.y - 203.0, second.x - 112.0);
        calls.push_back(call);
        accepted = static_cast<std::int32_t>(calls.size());
        return answer(call, calls.size(), turn);
    }
    PairMeasures measures() {
        PairMeasures m;
        m.measure = [this](Run& run, std::span<const PointRecord>, std::span<const PointRecord>,
                           double maxDistance, std::int32_t& accepted, double) {
            double unused = 0.0;
            return record(run, {false, false, maxDistance, 0.0}, accepted, unused);
        };
        m.estimate = [this](Run& run, std::span<const PointRecord>, std::span<const PointRecord>,
                            double maxDistance, double minDistance, std::int32_t& accepted,
                            double& turn, double pivotX, double, double) {
            return record(run, {true, pivotX == 112.0, maxDistance, minDistance}, accepted, turn);
        };
        return m;
    }
};

// A solver's results in degrees, as the drivers receive them, and what it printed.
struct Outcome {
    double rms = 0.0, firstRotationDeg = -7.0, secondRotationDeg = -7.0;
    std::int32_t pointCount = -5, iterationCount = -5;
    std::string printed;
};

enum class Solver { pingPong, partialLeastSquares, iterativeSearch };

Outcome solveScripted(Solver solver, Run& run, Script& script) {
    const PairMeasures measures = script.measures();
    Outcome o;
    ::testing::internal::CaptureStdout();
    if (solver == Solver::pingPong) {
        o.rms = solvePingPongWith(run, measures, o.firstRotationDeg, o.secondRotationDeg, o.pointCount, o.iterationCount);
    } else if (solver == Solver::partialLeastSquares) {
        o.rms = solvePartialLeastSquaresWith(run, measures, o.firstRotationDeg, o.secondRotationDeg, o.pointCount);
    } else {
        o.rms = solveIterativeSearchWith(run, measures, o.firstRotationDeg, o.secondRotationDeg, o.pointCount);
    }
    o.printed = ::testing::internal::GetCapturedStdout();
    return o;
}

const std::string noRotationClosing = "RMSfinal:  0.500000  No rotation necessary.  Scan is at optimal alignment \n\n";


// Estimates answer pass by pass from (second step, first step), then 0.0; the estimate
// that turns the first scan reports `rms`, the other 0.9.
Outcome solvePingPongScripted(sorvek::Run& run, Script& script, std::vector<std::pair<double, double>> steps = {},
              double rms = 0.3) {
    script.answer = [steps, rms](const Call& call, std::size_t number, double& turn) {
        const std::size_t pass = (number - 1) / 2;
        const auto step = pass < steps.size() ? steps[pass] : std::pair{0.0, 0.0};
        turn = call.turnsSecond ? step.first : step.second;
        return call.turnsSecond ? 0.9 : rms;
    };
    return solveScripted(Solver::pingPong, run, script);
}

TEST(PingPong, EachStepTurnsItsCloudAndEachCycleRestartsFromTheStoredTotals) {
    sorvek::Run run = probeRun();
    run.options.MINDISTINITIAL = 0.05;
    run.options.MINDISTFINAL = 0.01;
    run.state.scans[0].northRotation = 0.02;  // north before south
    run.state.scans[0].southRotation = 0.03;
    run.state.scans[1].southRotation = -0.01;  // the north side is still unregistered
    Script script;
    const Outcome out = solvePingPongScripted(run, script, {{0.01, -0.005}, {0.01, -0.005}}, 0.8);
    EXPECT_EQ(out.iterationCount, 5);  // cycle 0: three passes, the third settles; then one each
    ASSERT_EQ(script.calls.size(), 10U);
    const double firstTurn[] = {0.02, 0.02, 0.015, 0.015, 0.01};
    const double secondTurn[] = {-0.01, 0.0, 0.0, 0.01, 0.01};
    const std::size_t cycleOf[] = {0, 0, 0, 0, 0, 0, 1, 1, 2, 2};
    const std::pair<double, float> limits[] = {{0.5, 0.05F}, {0.3, 0.03F}, {0.1, 0.01F}};
    for (std::size_t k = 0; k < script.calls.size(); ++k) {
        SCOPED_TRACE(k);
        const Call& call = script.calls[k];
        EXPECT_EQ(call.turnsSecond, k % 2 == 0);
        EXPECT_NEAR(call.firstTurn, firstTurn[k < 5 ? k : 4], turnTolerance);
        EXPECT_NEAR(call.secondTurn, secondTurn[k < 5 ? k : 4], turnTolerance);
        EXPECT_NEAR(call.maxDistance, limits[cycleOf[k]].first, 1e-15);
        EXPECT_EQ(call.minDistance, static_cast<double>(limits[cycleOf[k]].second));
    }
    EXPECT_EQ(out.rms, 0.8);  // stored although worse than the initial 0.5
    EXPECT_EQ(out.pointCount, 10);
    EXPECT_DOUBLE_EQ(run.state.scans[0].southRotation, 0.01);
    EXPECT_DOUBLE_EQ(run.state.scans[1].northRotation, 0.01);
    EXPECT_DOUBLE_EQ(out.firstRotationDeg, radToDeg * 0.01);
    EXPECT_TRUE(out.printed.starts_with(
        "Registering Scans\n0.0 Complete, RMSmin = 0.800000, 2 pts, Dist 0.050000 to 0.500000 \r"));
    EXPECT_TRUE(out.printed.ends_with(noRotationClosing));
    EXPECT_TRUE(run.pair.firstWork.empty() && run.pair.secondWork.empty());
}


// Estimates settle at once; measures answer rmsOf(first turn).
Outcome solveSearchScripted(sorvek::Run& run, Script& script, std::function<double(double)> rmsOf) {
    script.answer = [=](const Call& call, std::size_t, double& turn) {
        turn = 0.0;
        return call.isEstimate ? 0.25 : rmsOf(call.firstTurn);
    };
    return solveScripted(Solver::partialLeastSquares, run, script);
}

std::vector<double> limitsOf(const Script& script, bool estimates) {
    std::vector<double> limits;
    for (const Call& c : script.calls) {
        if (c.isEstimate == estimates && (limits.empty() || limits.back() != c.maxDistance)) limits.push_back(c.maxDistance);
    }
    return limits;
}

TEST(PartialLeastSquares, WalksShrinkingRangesAroundTheBestCandidateAndStoresNothing) {
    sorvek::Run run = probeRun();
    run.state.scans[1].northRotation = 0.04;  // the second scan's start is always 0.0
    Script script;
    const Outcome out = solveSearchScripted(run, script, [](double turn) { return 0.1 + std::fabs(turn - (0.3 * degToRad)); });
    ASSERT_EQ(script.calls.size(), 64U);  // 10, 10, 4, 4, 4 candidates of one estimate and one measure
    for (std::size_t k = 0; k < 10; ++k) {
        EXPECT_NEAR(script.calls[2 * k + 1].firstTurn * radToDeg, -2.0 + (0.4 * static_cast<double>(k)), 1e-9);
    }
    EXPECT_NEAR(script.calls[0].secondTurn, 0.0, turnTolerance);
    EXPECT_NEAR(script.calls[21].firstTurn * radToDeg, 0.0, 1e-9);  // centred on 0.4
    EXPECT_NEAR(out.firstRotationDeg, 0.3, 0.01);
    EXPECT_EQ(out.secondRotationDeg, 0.0);
    EXPECT_EQ(out.pointCount, 64);  // the last call's count, not the best candidate's
    const std::vector<double> limits = {0.5, 0.4F, 0.3F, 0.2F, 0.1F};
    EXPECT_EQ(limitsOf(script, false), limits);
    EXPECT_EQ(limitsOf(script, true), limits);
    EXPECT_EQ(run.state.scans[1].northRotation, 0.04);
    EXPECT_EQ(run.state.scans[0].southRotation, noRotation);
    EXPECT_TRUE(run.pair.firstWork.empty() && run.pair.secondWork.empty());
}

TEST(PartialLeastSquares, PrintsProgressAndTheRotationsWithScanIds) {
    sorvek::Run run = probeRun();
    run.options.MAXITER = 1;
    run.options.ALPHAINC = 1;
    run.state.pairsDone = 2;
    run.state.progressScans = 8;
    Script script;
    EXPECT_EQ(solveSearchScripted(run, script, [](double turn) { return turn < 0.0 ? 0.4 : 0.45; }).printed,
              "Registering Scans\n"
              "Percent Complete 25.000000 RMSmin = 0.500000 DistThresh: 0.100000 \r"
              "Percent Complete 25.000000 RMSmin = 0.400000 DistThresh: 0.100000 \r"
              "Percent Complete 25.000000 RMSmin = 0.400000 DistThresh: 0.100000 \r"
              "RMSfinal:  0.400000  rotations of Scan 11 = -2.000000 && Scan 12 = 0.000000 from "
              "4 pts\n\n");
}


// Measures answer rmsOf(call number from 1, the call).
Outcome solveGridScripted(sorvek::Run& run, Script& script, std::function<double(std::size_t, const Call&)> rmsOf) {
    script.answer = [rmsOf](const Call& call, std::size_t number, double&) { return rmsOf(number, call); };
    return solveScripted(Solver::iterativeSearch, run, script);
}

TEST(IterativeSearch, DefaultsMeasure1563TrialsNeverAtTheGridStartAndOncePerCycleEnd) {
    sorvek::Run run = probeRun();
    Script script;  // 0.9 never beats the initial 0.5: the clouds never move
    const Outcome out = solveGridScripted(run, script, [](std::size_t, const Call&) { return 0.9; });
    ASSERT_EQ(script.calls.size(), 1563U + 3U);
    const double start = -run.options.ALPHA;
    const double step = run.options.ALPHA / 5.0;
    EXPECT_NEAR(script.calls[0].firstTurn, start + step, turnTolerance);
    EXPECT_NEAR(script.calls[0].secondTurn, start + step, turnTolerance);
    std::set<long> firstValues;
    for (std::size_t call = 1; call <= script.calls.size(); ++call) {
        const Call& trial = script.calls[call - 1];
        EXPECT_EQ(trial.maxDistance, run.options.MAXDISTINITIAL);
        const double least = call % 522 == 0 ? -turnTolerance : start + (step / 2.0);
        EXPECT_GT(trial.firstTurn, least);  // nothing at -2 degrees; calls 522, 1044, 1566 at 0
        EXPECT_GT(trial.secondTurn, least);
        if (call <= 100) firstValues.insert(std::lround(trial.firstTurn / step));
    }
    EXPECT_EQ(firstValues.size(), 10U);  // -4 to +5 steps of the first grid
    EXPECT_EQ(out.rms, 0.9);  // the last cycle-end measure, although worse than the initial
    EXPECT_EQ(out.pointCount, 1566);
    EXPECT_EQ(out.firstRotationDeg, 0.0);
    EXPECT_TRUE(out.printed.starts_with("registering points, Percent Complete 0.000000, RMS:  0.500000\r"));
    EXPECT_TRUE(out.printed.ends_with(noRotationClosing));
    EXPECT_EQ(run.pair.firstWork.size(), 1U);  // left filled, unlike the other solvers
}

TEST(IterativeSearch, FindsTheLeastRmsInBothRotations) {
    sorvek::Run run = probeRun();
    Script script;
    const Outcome out = solveGridScripted(run, script, [](std::size_t, const Call& trial) {
        return (0.1 + std::fabs(trial.firstTurn - (0.3 * degToRad))) + std::fabs(trial.secondTurn + (0.55 * degToRad));
    });
    EXPECT_NEAR(out.firstRotationDeg, 0.3, 0.0002);  // the finest grid steps by 0.00016 degrees
    EXPECT_NEAR(out.secondRotationDeg, -0.55, 0.0002);
    EXPECT_NEAR(script.calls.back().firstTurn, out.firstRotationDeg * degToRad, turnTolerance);
    EXPECT_TRUE(out.printed.ends_with(" from 1566 pts\n\n"));
    EXPECT_TRUE(out.printed.find("RMSfinal:  0.100") != std::string::npos);
}


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

// No cycle, no iteration or no search range: the solvers keep their start values (the
// alternation stores them), and only the grid search still measures at each cycle end.
TEST(SolverClosing, NothingToSearchKeepsTheStartValues) {
    struct Case { Solver solver; std::int32_t maxRepeat; std::int32_t maxIter; double alphaDeg; std::size_t calls; };
    const Case cases[] = {
        {Solver::pingPong, 0, 5, 2, 0}, {Solver::pingPong, -3, 5, 2, 0}, {Solver::pingPong, 3, 0, 2, 0},
        {Solver::partialLeastSquares, 3, -2, 2, 0}, {Solver::partialLeastSquares, 3, 5, 0, 0},
        {Solver::partialLeastSquares, 3, 5, -1, 0}, {Solver::iterativeSearch, -1, 5, 2, 0},
        {Solver::iterativeSearch, 3, 0, 2, 3}, {Solver::iterativeSearch, 3, 5, 0, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << static_cast<int>(c.solver) << ": " << c.maxRepeat << " " << c.maxIter << " " << c.alphaDeg);
        sorvek::Run run = probeRun();
        run.options.MAXREPEAT = c.maxRepeat;
        run.options.MAXITER = c.maxIter;
        run.options.ALPHA = c.alphaDeg * degToRad;
        run.state.scans[0].northRotation = 0.01;
        run.state.scans[1].southRotation = 0.007;
        Script script;
        script.answer = [](const Call&, std::size_t, double&) { return 0.2; };
        const Outcome out = solveScripted(c.solver, run, script);
        EXPECT_EQ(script.calls.size(), c.calls);
        EXPECT_EQ(out.firstRotationDeg, c.solver == Solver::iterativeSearch ? 0.0 : radToDeg * 0.01);
        EXPECT_EQ(out.secondRotationDeg, c.solver == Solver::pingPong ? radToDeg * 0.007 : 0.0);
        EXPECT_EQ(out.pointCount, c.calls == 0 ? -5 : 3);
        EXPECT_EQ(out.iterationCount, c.solver == Solver::pingPong ? 0 : -5);
        EXPECT_EQ(out.rms, c.calls == 0 ? 0.5 : 0.2);
        EXPECT_EQ(run.state.scans[0].southRotation, c.solver == Solver::pingPong ? 0.01 : noRotation);
        EXPECT_EQ(run.state.scans[1].northRotation, c.solver == Solver::pingPong ? 0.007 : noRotation);
        const std::string opening = c.solver == Solver::iterativeSearch ? "" : "Registering Scans\n";
        if (c.calls == 0) {
            EXPECT_EQ(out.printed, opening + noRotationClosing);
        } else {
            EXPECT_TRUE(out.printed.ends_with("RMSfinal:  0.200000  rotations of b1 = 0.000000 && b2 = 0.000000 from 3 pts\n\n"));
        }
    }
}

}  // namespace
}  // namespace sorvek
