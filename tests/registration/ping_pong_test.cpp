#include "registration/ping_pong.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "registration/solver_probe.h"
#include "registration/synthetic_pair.h"

namespace sorvek {
namespace {

using probe::printedBy;
using probe::probeRun;
using probe::turnOf;

// What one estimate saw: how far each work cloud had been turned, and its limits.
struct EstimateSeen {
    double subjectTurn = 0.0;
    double referenceTurn = 0.0;
    double pivotX = 0.0;
    double maxDistance = 0.0;
    double minDistance = 0.0;
};

// An estimator that answers pass by pass from a script of (second step, first step)
// pairs, then 0.0 for both, and reports the second call of each pass as `rms`.
struct ScriptedEstimates {
    std::vector<std::pair<double, double>> steps;
    double rms = 0.3;
    std::int32_t acceptedCount = 77;
    std::vector<EstimateSeen> seen;

    PairMeasures measures(Run& run) {
        PairMeasures result;
        result.estimate = [this, &run](Run&, std::span<const PointRecord> subject,
                                       std::span<const PointRecord> reference, double maxDistance,
                                       double minDistance, std::int32_t& accepted,
                                       double& rotationOut, double pivotX, double, double) {
            const bool turnsSecond = pivotX == run.state.scans[1].gpsX;
            const ScanRecord& subjectScan = run.state.scans[turnsSecond ? 0 : 1];
            const ScanRecord& referenceScan = run.state.scans[turnsSecond ? 1 : 0];
            seen.push_back({turnOf(subject, subjectScan), turnOf(reference, referenceScan), pivotX,
                            maxDistance, minDistance});
            const std::size_t pass = (seen.size() - 1) / 2;
            if (pass < steps.size()) {
                rotationOut = turnsSecond ? steps[pass].first : steps[pass].second;
            } else {
                rotationOut = 0.0;
            }
            accepted = acceptedCount;
            return turnsSecond ? 0.9 : rms;
        };
        return result;
    }
};

struct PingPongOutcome {
    double rms = 0.0;
    double firstRotationDeg = 0.0;
    double secondRotationDeg = 0.0;
    std::int32_t pointCount = -5;
    std::int32_t iterationCount = -5;
    std::string printed;
};

PingPongOutcome solve(Run& run, const PairMeasures& measures) {
    PingPongOutcome outcome;
    outcome.printed = printedBy([&] {
        outcome.rms = solvePingPongWith(run, measures, outcome.firstRotationDeg,
                                        outcome.secondRotationDeg, outcome.pointCount,
                                        outcome.iterationCount);
    });
    return outcome;
}

TEST(PingPong, EachStepTurnsTheReferenceCloudAndEachCycleRestartsFromTheTotals) {
    sorvek::Run run = probeRun();
    ScriptedEstimates script;
    script.steps = {{0.01, -0.005}, {0.01, -0.005}};
    const PingPongOutcome outcome = solve(run, script.measures(run));

    // Cycle 0: three passes (the third settles), cycles 1 and 2: one pass each.
    EXPECT_EQ(outcome.iterationCount, 5);
    ASSERT_EQ(script.seen.size(), 10U);
    struct Turns { double first; double second; };
    const Turns expected[] = {{0.0, 0.0},     {0.0, 0.01},    {-0.005, 0.01}, {-0.005, 0.02},
                              {-0.01, 0.02},  {-0.01, 0.02},  {-0.01, 0.02},  {-0.01, 0.02},
                              {-0.01, 0.02},  {-0.01, 0.02}};
    for (std::size_t call = 0; call < script.seen.size(); ++call) {
        SCOPED_TRACE(call);
        const EstimateSeen& seen = script.seen[call];
        const bool turnsSecond = call % 2 == 0;
        EXPECT_EQ(seen.pivotX, turnsSecond ? 112.0 : 100.0);
        const double firstTurn = turnsSecond ? seen.subjectTurn : seen.referenceTurn;
        const double secondTurn = turnsSecond ? seen.referenceTurn : seen.subjectTurn;
        EXPECT_NEAR(firstTurn, expected[call].first, probe::turnTolerance);
        EXPECT_NEAR(secondTurn, expected[call].second, probe::turnTolerance);
    }
    EXPECT_DOUBLE_EQ(outcome.firstRotationDeg, radToDeg * -0.01);
    EXPECT_DOUBLE_EQ(outcome.secondRotationDeg, radToDeg * 0.02);
    EXPECT_EQ(outcome.rms, 0.3);
    EXPECT_EQ(outcome.pointCount, 77);
    EXPECT_TRUE(probe::endsWith(outcome.printed,
                                "RMSfinal:  0.300000  rotations of Scan 11 = -0.572958 && "
                                "Scan 12 = 1.145916 from 77 pts in 5 iterations\n\n"));
}

TEST(PingPong, CyclesFollowTheScheduleWithTheMinimumWidenedFromThirtyTwoBits) {
    sorvek::Run run = probeRun();
    run.options.MINDISTINITIAL = 0.05;
    run.options.MINDISTFINAL = 0.01;
    ScriptedEstimates script;
    solve(run, script.measures(run));
    ASSERT_EQ(script.seen.size(), 6U);
    const double maxDist[] = {0.5, 0.3, 0.1};
    const float minDist[] = {0.05F, 0.03F, 0.01F};
    for (std::size_t call = 0; call < 6; ++call) {
        SCOPED_TRACE(call);
        EXPECT_NEAR(script.seen[call].maxDistance, maxDist[call / 2], probe::turnTolerance);
        EXPECT_EQ(script.seen[call].minDistance, static_cast<double>(minDist[call / 2]));
    }
}

TEST(PingPong, StoresTheTotalsUnconditionallyEvenWhenTheRmsGotWorse) {
    sorvek::Run run = probeRun();
    ScriptedEstimates script;
    script.steps = {{0.004, 0.002}};
    script.rms = 0.8;  // above the initial 0.5
    const PingPongOutcome outcome = solve(run, script.measures(run));
    EXPECT_EQ(outcome.rms, 0.8);
    EXPECT_DOUBLE_EQ(run.state.scans[0].southRotation, 0.002);
    EXPECT_DOUBLE_EQ(run.state.scans[1].northRotation, 0.004);
    EXPECT_EQ(run.state.scans[0].northRotation, noRotation);
    EXPECT_EQ(run.state.scans[1].southRotation, noRotation);
    EXPECT_DOUBLE_EQ(outcome.firstRotationDeg, radToDeg * 0.002);
    const std::string closing =
        "RMSfinal:  0.500000  No rotation necessary.  Scan is at optimal alignment \n\n";
    EXPECT_TRUE(probe::endsWith(outcome.printed, closing));
}

TEST(PingPong, StartsFromStoredRotationsNorthBeforeSouth) {
    sorvek::Run run = probeRun();
    run.state.scans[0].northRotation = 0.02;
    run.state.scans[0].southRotation = 0.03;
    run.state.scans[1].southRotation = -0.01;  // north side still unregistered
    ScriptedEstimates script;
    const PingPongOutcome outcome = solve(run, script.measures(run));
    ASSERT_FALSE(script.seen.empty());
    EXPECT_NEAR(script.seen[0].subjectTurn, 0.02, probe::turnTolerance);
    EXPECT_NEAR(script.seen[0].referenceTurn, -0.01, probe::turnTolerance);
    EXPECT_DOUBLE_EQ(outcome.firstRotationDeg, radToDeg * 0.02);
    EXPECT_DOUBLE_EQ(outcome.secondRotationDeg, radToDeg * -0.01);
    EXPECT_EQ(run.state.scans[0].southRotation, 0.02);
    EXPECT_EQ(run.state.scans[1].northRotation, -0.01);
}

TEST(PingPong, AStoredValueOfMinus999IsNotAStartValue) {
    sorvek::Run run = probeRun();
    run.state.scans[0].northRotation = -999.0;
    run.state.scans[0].southRotation = 0.01;
    ScriptedEstimates script;
    solve(run, script.measures(run));
    ASSERT_FALSE(script.seen.empty());
    EXPECT_NEAR(script.seen[0].subjectTurn, 0.01, probe::turnTolerance);
}

TEST(PingPong, NoCycleStillStoresTheStartValues) {
    for (const std::int32_t maxRepeat : {0, -3}) {
        SCOPED_TRACE(maxRepeat);
        sorvek::Run run = probeRun();
        run.options.MAXREPEAT = maxRepeat;
        run.state.scans[1].southRotation = 0.007;
        ScriptedEstimates script;
        const PingPongOutcome outcome = solve(run, script.measures(run));
        EXPECT_TRUE(script.seen.empty());
        EXPECT_EQ(outcome.iterationCount, 0);
        EXPECT_EQ(outcome.pointCount, -5);
        EXPECT_EQ(outcome.rms, 0.5);
        EXPECT_EQ(run.state.scans[0].southRotation, 0.0);
        EXPECT_EQ(run.state.scans[1].northRotation, 0.007);
        EXPECT_EQ(outcome.printed,
                  "Registering Scans\n"
                  "RMSfinal:  0.500000  No rotation necessary.  Scan is at optimal alignment \n\n");
    }
}

TEST(PingPong, MaxIterZeroOrBelowEstimatesNothing) {
    for (const std::int32_t maxIter : {0, -1}) {
        SCOPED_TRACE(maxIter);
        sorvek::Run run = probeRun();
        run.options.MAXITER = maxIter;
        ScriptedEstimates script;
        const PingPongOutcome outcome = solve(run, script.measures(run));
        EXPECT_TRUE(script.seen.empty());
        EXPECT_EQ(outcome.rms, 0.5);
        EXPECT_EQ(outcome.pointCount, -5);
        EXPECT_EQ(outcome.iterationCount, 0);
    }
}

TEST(PingPong, AGoodRmsEndsTheCyclesButNotThePassesOfTheCycle) {
    sorvek::Run run = probeRun();
    ScriptedEstimates script;
    script.steps = {{0.001, 0.001}, {0.001, 0.001}, {0.001, 0.001}};
    script.rms = 0.01;  // below RMSTHRESH 0.04 from the first pass on
    const PingPongOutcome outcome = solve(run, script.measures(run));
    EXPECT_EQ(outcome.iterationCount, 4);
    EXPECT_EQ(script.seen.size(), 8U);
}

TEST(PingPong, SettledTotalsEndTheCyclesOnlyAtExactlyTheFinalThresholds) {
    sorvek::Run run = probeRun();
    run.options.MAXREPEAT = 12;
    ScriptedEstimates script;
    // Nothing moves, so only the thresholds decide: final from cycle index 10.
    EXPECT_EQ(solve(run, script.measures(run)).iterationCount, 11);

    sorvek::Run unmatched = probeRun();
    unmatched.options.MAXREPEAT = 12;
    unmatched.options.MINDISTINITIAL = 0.01;
    unmatched.options.MINDISTFINAL = 0.01;  // never equal once held in 32 bits
    ScriptedEstimates again;
    EXPECT_EQ(solve(unmatched, again.measures(unmatched)).iterationCount, 12);
}

TEST(PingPong, ALargeStartValueKeepsTheFirstCycleFromSettling) {
    sorvek::Run run = probeRun();
    run.options.MAXREPEAT = 1;  // a single cycle, at the final thresholds
    run.options.RMSTHRESH = 0.0;
    run.state.scans[0].northRotation = 0.3;
    ScriptedEstimates script;
    const PingPongOutcome outcome = solve(run, script.measures(run));
    EXPECT_EQ(outcome.iterationCount, 1);
    ASSERT_EQ(script.seen.size(), 2U);
    EXPECT_EQ(script.seen[0].maxDistance, 0.1);
}

TEST(PingPong, ProgressLineShowsTheWholePercentOfPairsAndTheLimits) {
    sorvek::Run run = probeRun();
    run.state.pairsDone = 3;
    run.state.progressScans = 12;
    run.options.MAXREPEAT = 1;
    ScriptedEstimates script;
    const PingPongOutcome outcome = solve(run, script.measures(run));
    EXPECT_EQ(outcome.printed,
              "Registering Scans\n"
              "25.0 Complete, RMSmin = 0.300000, 77 pts, Dist 0.000000 to 0.100000 \r"
              "RMSfinal:  0.300000  rotations of Scan 11 = 0.000000 && Scan 12 = 0.000000 from "
              "77 pts in 1 iterations\n\n");
    EXPECT_EQ(run.state.percentDone, 25.0);
}

TEST(PingPong, LeavesBothWorkCloudsEmpty) {
    sorvek::Run run = probeRun();
    ScriptedEstimates script;
    solve(run, script.measures(run));
    EXPECT_TRUE(run.pair.firstWork.empty());
    EXPECT_TRUE(run.pair.secondWork.empty());
    EXPECT_EQ(run.pair.firstCloud.size(), 1U);
}

TEST(PingPong, RefusesAPairThatWasNotPrepared) {
    sorvek::Run run = probeRun();
    run.pair.secondIndex = -1;
    ScriptedEstimates script;
    const PingPongOutcome outcome = solve(run, script.measures(run));
    EXPECT_EQ(outcome.rms, 999.0);
    EXPECT_EQ(outcome.printed, "");
    EXPECT_EQ(outcome.iterationCount, 0);
    EXPECT_TRUE(script.seen.empty());
}

}  // namespace
}  // namespace sorvek

// Real pairs: a generated street scene seen from two set-ups, one heading written wrong.
namespace sorvek {
namespace {

synthetic::SolvedPair solveReal(sorvek::Run& run) {
    synthetic::SolvedPair solved;
    solved.printed = printedBy([&] {
        solved.rms = solvePingPong(run, solved.firstRotationDeg, solved.secondRotationDeg,
                                   solved.pointCount, solved.iterationCount);
    });
    return solved;
}

TEST(PingPongOnScans, UndoesAHeadingErrorWhenTheRmsThresholdDoesNotCutItShort) {
    sorvek::Run run;
    run.options = probe::optionsInRadians();
    run.options.REGSOL = 2;
    // A clean synthetic pair falls below the default RMSTHRESH of 0.04 after the first
    // cycle, which would end the solver with the error only partly undone; twenty passes
    // a cycle let the alternation converge at each threshold.
    run.options.RMSTHRESH = 0.0;
    run.options.MAXITER = 20;
    synthetic::PairSpec spec;
    spec.label = "pp_accuracy";
    spec.secondErrorDeg = -0.6;
    synthetic::prepareSyntheticPair(run, spec);
    const synthetic::SolvedPair solved = solveReal(run);
    EXPECT_LT(solved.rms, static_cast<double>(run.pair.initialRms));
    // Alternating closed-form steps settle to within ALPHATHRESH (1.75e-5 degrees); what
    // remains is the scan noise, a few thousandths of a degree on this pair. 0.05 is a
    // tenth of the error.
    EXPECT_NEAR(solved.firstRotationDeg - solved.secondRotationDeg, -0.6, 0.05);
    EXPECT_GT(solved.iterationCount, 3);
    EXPECT_DOUBLE_EQ(run.state.scans[0].southRotation, solved.firstRotationDeg * degToRad);
    EXPECT_DOUBLE_EQ(run.state.scans[1].northRotation, solved.secondRotationDeg * degToRad);
}

TEST(PingPongOnScans, PointToPointEstimatesNothingAndEachCycleTakesOnePass) {
    sorvek::Run run;
    run.options = probe::optionsInRadians();
    run.options.REGMODE = 0;
    run.options.RMSTHRESH = 0.0;
    synthetic::PairSpec spec;
    spec.label = "pp_point_to_point";
    synthetic::prepareSyntheticPair(run, spec);
    const synthetic::SolvedPair solved = solveReal(run);
    EXPECT_EQ(solved.iterationCount, 3);
    EXPECT_EQ(solved.firstRotationDeg, 0.0);
    EXPECT_EQ(solved.secondRotationDeg, 0.0);
    EXPECT_EQ(run.state.scans[0].southRotation, 0.0);
    EXPECT_EQ(run.state.scans[1].northRotation, 0.0);
}

}  // namespace
}  // namespace sorvek
