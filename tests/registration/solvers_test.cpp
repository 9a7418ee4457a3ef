// Two solvers driven by scripted measures: what they turn, store and print.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "points/cube_grid.h"
#include "registration/iterative_search.h"
#include "registration/ping_pong.h"

namespace sorvek {
namespace {

// Scans 11 and 12, each cloud one point 10 units east of its pivot, so that a work cloud's
// angle about its pivot is how far the solver has turned it. Angle options in radians.
Run probeRun() {
    sorvek::Run run;
    setSearchAnglesInRadians(run.options);
    run.state.scans = {ScanRecord{.gpsX = 100.0, .gpsY = 200.0, .scanId = 11, .fileName = {}},
                       ScanRecord{.gpsX = 112.0, .gpsY = 203.0, .scanId = 12, .fileName = {}}};
    run.pair.secondIndex = 1;
    run.pair.initialRms = 0.5F;
    run.pair.firstCloud = {{110.0, 200.0, 1.0}};
    run.pair.secondCloud = {{122.0, 203.0, 1.0}};
    run.pair.overlapBounds = overlapOf(run.pair.firstBounds = computeBounds(run.pair.firstCloud),
                                       run.pair.secondBounds = computeBounds(run.pair.secondCloud));
    return run;
}

// Turns read back from coordinates near 200 carry their rounding: a few 1e-15 radians.
constexpr double turnTolerance = 1e-13;

// One scripted call: its limits, and how far each work cloud had turned, in radians.
// turnsSecond: an estimate about the second scan's pivot.
struct Call { bool turnsSecond = false; double maxDistance = 0.0, minDistance = 0.0, firstTurn = 0.0, secondTurn = 0.0; };
// Gives the RMS of call `number` (from 1), and an estimate's turn.
using Answer = std::function<double(const Call& call, std::size_t number, double& turn)>;

// A solver's calls, its results in degrees as the drivers receive them, and what it printed.
struct Outcome {
    std::vector<Call> calls;
    double rms = 0.0, firstRotationDeg = -7.0, secondRotationDeg = -7.0;
    std::int32_t pointCount = -5, iterationCount = -5;
    std::string printed;
};

enum class Solver { pingPong, iterativeSearch };

// Every measure and estimate is recorded and reports the number of calls so far as its
// pair count.
Outcome solveScripted(Solver solver, Run& run, const Answer& answer) {
    Outcome o;
    const auto record = [&](Run& r, Call call, std::int32_t& accepted, double& turn) {
        call.firstTurn = std::atan2(r.pair.firstWork.y[0] - 200.0, r.pair.firstWork.x[0] - 100.0);
        call.secondTurn = std::atan2(r.pair.secondWork.y[0] - 203.0, r.pair.secondWork.x[0] - 112.0);
        o.calls.push_back(call);
        accepted = static_cast<std::int32_t>(o.calls.size());
        return answer(call, o.calls.size(), turn);
    };
    MeasureCalls m;
    m.measure = [&](Run& r, auto, auto, double maxDistance, std::int32_t& accepted, double) {
        double unused = 0.0;
        return record(r, {false, maxDistance, 0.0}, accepted, unused);
    };
    m.estimate = [&](Run& r, auto, auto, double maxDistance, double minDistance, std::int32_t& accepted,
                     double& turn, double pivotX, double, double) {
        return record(r, {pivotX == 112.0, maxDistance, minDistance}, accepted, turn);
    };
    ::testing::internal::CaptureStdout();
    o.rms = solver == Solver::pingPong ? solvePingPong(run, m, o.firstRotationDeg, o.secondRotationDeg, o.pointCount, o.iterationCount)
                                       : solveIterativeSearch(run, m, o.firstRotationDeg, o.secondRotationDeg, o.pointCount);
    o.printed = ::testing::internal::GetCapturedStdout();
    return o;
}

const std::string noRotationClosing = "RMSfinal:  0.500000  No rotation necessary.  Scan is at optimal alignment \n\n";

// The first two passes turn the second scan by 0.01 and the first by -0.005, later ones
// not at all; estimates that turn the first scan report 0.8, the others 0.9.
TEST(PingPong, EachStepTurnsItsCloudAndEachCycleRestartsFromTheStoredTotals) {
    sorvek::Run run = probeRun();
    run.options.MINDISTINITIAL = 0.05;
    run.options.MINDISTFINAL = 0.01;
    run.state.scans[0].northRotation = 0.02;  // north before south
    run.state.scans[0].southRotation = 0.03;
    run.state.scans[1].southRotation = -0.01;  // the north side is still unregistered
    const Outcome out = solveScripted(Solver::pingPong, run, [](const Call& call, std::size_t number, double& turn) {
        turn = number > 4 ? 0.0 : call.turnsSecond ? 0.01 : -0.005;
        return call.turnsSecond ? 0.9 : 0.8;
    });
    EXPECT_EQ(out.iterationCount, 5);  // cycle 0: three passes, the third settles; then one each
    ASSERT_EQ(out.calls.size(), 10U);
    const std::pair<double, double> turns[] = {{0.02, -0.01}, {0.02, 0.0}, {0.015, 0.0}, {0.015, 0.01}, {0.01, 0.01}};
    const std::size_t cycleOf[] = {0, 0, 0, 0, 0, 0, 1, 1, 2, 2};
    const std::pair<double, float> limits[] = {{0.5, 0.05F}, {0.3, 0.03F}, {0.1, 0.01F}};
    for (std::size_t k = 0; k < out.calls.size(); ++k) {
        SCOPED_TRACE(k);
        const Call& call = out.calls[k];
        EXPECT_EQ(call.turnsSecond, k % 2 == 0);
        EXPECT_NEAR(call.firstTurn, turns[std::min<std::size_t>(k, 4)].first, turnTolerance);
        EXPECT_NEAR(call.secondTurn, turns[std::min<std::size_t>(k, 4)].second, turnTolerance);
        EXPECT_NEAR(call.maxDistance, limits[cycleOf[k]].first, 1e-15);
        EXPECT_EQ(call.minDistance, static_cast<double>(limits[cycleOf[k]].second));
    }
    EXPECT_EQ(out.rms, 0.8);  // stored although worse than the initial 0.5
    EXPECT_EQ(out.pointCount, 10);
    EXPECT_DOUBLE_EQ(run.state.scans[0].southRotation, 0.01);
    EXPECT_DOUBLE_EQ(run.state.scans[1].northRotation, 0.01);
    EXPECT_DOUBLE_EQ(out.firstRotationDeg, radToDeg * 0.01);
    EXPECT_TRUE(out.printed.ends_with(noRotationClosing));
    EXPECT_TRUE(run.pair.firstWork.x.empty() && run.pair.secondWork.x.empty());
}

// 0.9 never beats the initial 0.5, so the clouds never move: 1563 trials and one measure
// at each of the three cycle ends, and the last of those is the result.
TEST(IterativeSearch, DefaultsMeasure1563TrialsAndOncePerCycleEnd) {
    sorvek::Run run = probeRun();
    const Outcome out = solveScripted(Solver::iterativeSearch, run, [](const Call&, std::size_t, double&) { return 0.9; });
    EXPECT_EQ(out.calls.size(), 1563U + 3U);
    EXPECT_EQ(out.rms, 0.9);
    EXPECT_EQ(out.pointCount, 1566);
    EXPECT_TRUE(out.printed.ends_with(noRotationClosing));
    EXPECT_EQ(run.pair.firstWork.x.size(), 1U);  // left filled, unlike the other solvers
}

}  // namespace
}  // namespace sorvek
