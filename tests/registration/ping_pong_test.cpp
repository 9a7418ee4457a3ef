#include "registration/ping_pong.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "registration/solver_probe.h"
#include "registration/synthetic_pair.h"

namespace sorvek {
namespace {

using probe::endsWith;
using probe::printedBy;
using probe::probeRun;
using probe::turnOf;

// What one estimate saw: how far each work cloud had been turned, and its limits.
struct EstimateSeen {
    double firstTurn = 0.0;
    double secondTurn = 0.0;
    double maxDistance = 0.0;
    double minDistance = 0.0;
};

// Answers pass by pass from (second step, first step) pairs, then 0.0 for both; the
// second call of each pass reports `rms` and 77 pairs.
struct ScriptedEstimates {
    std::vector<std::pair<double, double>> steps;
    double rms = 0.3;
    std::vector<EstimateSeen> seen;

    PairMeasures calls(sorvek::Run& run) {
        PairMeasures result;
        result.estimate = [this, &run](sorvek::Run&, std::span<const PointRecord> subject,
                                       std::span<const PointRecord> reference, double maxDistance,
                                       double minDistance, std::int32_t& accepted,
                                       double& rotationOut, double pivotX, double, double) {
            const bool turnsSecond = pivotX == run.state.scans[1].gpsX;
            const auto first = turnsSecond ? subject : reference;
            const auto second = turnsSecond ? reference : subject;
            seen.push_back({turnOf(first, run.state.scans[0]), turnOf(second, run.state.scans[1]),
                            maxDistance, minDistance});
            const std::size_t pass = (seen.size() - 1) / 2;
            const std::pair<double, double> step = pass < steps.size() ? steps[pass]
                                                                       : std::pair{0.0, 0.0};
            rotationOut = turnsSecond ? step.first : step.second;
            accepted = 77;
            return turnsSecond ? 0.9 : rms;
        };
        return result;
    }
};

struct Outcome {
    double rms = 0.0;
    double firstRotationDeg = 0.0;
    double secondRotationDeg = 0.0;
    std::int32_t pointCount = -5;
    std::int32_t iterationCount = -5;
    std::string printed;
};

Outcome solve(sorvek::Run& run, ScriptedEstimates& script) {
    const PairMeasures calls = script.calls(run);
    Outcome out;
    out.printed = printedBy([&] {
        out.rms = solvePingPongWith(run, calls, out.firstRotationDeg, out.secondRotationDeg,
                                    out.pointCount, out.iterationCount);
    });
    return out;
}

const char* const noRotationClosing =
    "RMSfinal:  0.500000  No rotation necessary.  Scan is at optimal alignment \n\n";

TEST(PingPong, EachStepTurnsItsCloudAndEachCycleRestartsFromTheTotals) {
    sorvek::Run run = probeRun();
    run.options.MINDISTINITIAL = 0.05;
    run.options.MINDISTFINAL = 0.01;
    ScriptedEstimates script;
    script.steps = {{0.01, -0.005}, {0.01, -0.005}};
    const Outcome out = solve(run, script);

    // Cycle 0: three passes, the third settles; cycles 1 and 2: one pass each.
    EXPECT_EQ(out.iterationCount, 5);
    ASSERT_EQ(script.seen.size(), 10U);
    const double firstTurn[] = {0.0, 0.0, -0.005, -0.005, -0.01};
    const double secondTurn[] = {0.0, 0.01, 0.01, 0.02, 0.02};
    const double maxDist[] = {0.5, 0.3, 0.1};
    const float minDist[] = {0.05F, 0.03F, 0.01F};
    const std::size_t cycleOf[] = {0, 0, 0, 0, 0, 0, 1, 1, 2, 2};
    for (std::size_t call = 0; call < script.seen.size(); ++call) {
        SCOPED_TRACE(call);
        const EstimateSeen& seen = script.seen[call];
        EXPECT_NEAR(seen.firstTurn, firstTurn[call < 5 ? call : 4], probe::turnTolerance);
        EXPECT_NEAR(seen.secondTurn, secondTurn[call < 5 ? call : 4], probe::turnTolerance);
        EXPECT_NEAR(seen.maxDistance, maxDist[cycleOf[call]], 1e-15);
        EXPECT_EQ(seen.minDistance, static_cast<double>(minDist[cycleOf[call]]));
    }
    EXPECT_DOUBLE_EQ(out.firstRotationDeg, radToDeg * -0.01);
    EXPECT_DOUBLE_EQ(out.secondRotationDeg, radToDeg * 0.02);
    EXPECT_EQ(out.rms, 0.3);
    EXPECT_EQ(out.pointCount, 77);
    EXPECT_TRUE(endsWith(out.printed, "RMSfinal:  0.300000  rotations of Scan 11 = -0.572958 && "
                                      "Scan 12 = 1.145916 from 77 pts in 5 iterations\n\n"));
    EXPECT_TRUE(run.pair.firstWork.empty());
    EXPECT_TRUE(run.pair.secondWork.empty());
}

TEST(PingPong, StoresTheTotalsUnconditionallyEvenWhenTheRmsGotWorse) {
    sorvek::Run run = probeRun();
    ScriptedEstimates script;
    script.steps = {{0.004, 0.002}};
    script.rms = 0.8;  // above the initial 0.5
    const Outcome out = solve(run, script);
    EXPECT_EQ(out.rms, 0.8);
    EXPECT_DOUBLE_EQ(run.state.scans[0].southRotation, 0.002);
    EXPECT_DOUBLE_EQ(run.state.scans[1].northRotation, 0.004);
    EXPECT_EQ(run.state.scans[0].northRotation, noRotation);
    EXPECT_DOUBLE_EQ(out.firstRotationDeg, radToDeg * 0.002);
    EXPECT_TRUE(endsWith(out.printed, noRotationClosing));
}

TEST(PingPong, StartsFromStoredRotationsNorthBeforeSouth) {
    sorvek::Run run = probeRun();
    run.state.scans[0].northRotation = 0.02;
    run.state.scans[0].southRotation = 0.03;
    run.state.scans[1].southRotation = -0.01;  // the north side is still unregistered
    ScriptedEstimates script;
    const Outcome out = solve(run, script);
    ASSERT_FALSE(script.seen.empty());
    EXPECT_NEAR(script.seen[0].firstTurn, 0.02, probe::turnTolerance);
    EXPECT_NEAR(script.seen[0].secondTurn, -0.01, probe::turnTolerance);
    EXPECT_DOUBLE_EQ(out.secondRotationDeg, radToDeg * -0.01);
    EXPECT_EQ(run.state.scans[0].southRotation, 0.02);
}

TEST(PingPong, NoCycleOrNoPassEstimatesNothingButStillStoresTheStartValues) {
    struct Case { std::int32_t maxRepeat; std::int32_t maxIter; };
    for (const Case c : {Case{0, 5}, Case{-3, 5}, Case{3, 0}, Case{3, -1}}) {
        SCOPED_TRACE(c.maxRepeat * 10 + c.maxIter);
        sorvek::Run run = probeRun();
        run.options.MAXREPEAT = c.maxRepeat;
        run.options.MAXITER = c.maxIter;
        run.state.scans[1].southRotation = 0.007;
        ScriptedEstimates script;
        const Outcome out = solve(run, script);
        EXPECT_TRUE(script.seen.empty());
        EXPECT_EQ(out.iterationCount, 0);
        EXPECT_EQ(out.pointCount, -5);
        EXPECT_EQ(out.rms, 0.5);
        EXPECT_EQ(run.state.scans[0].southRotation, 0.0);
        EXPECT_EQ(run.state.scans[1].northRotation, 0.007);
        EXPECT_EQ(out.printed, std::string("Registering Scans\n") + noRotationClosing);
    }
}

TEST(PingPong, CyclesEndOnAGoodRmsOrOnSettlingAtExactlyTheFinalThresholds) {
    sorvek::Run good = probeRun();
    ScriptedEstimates goodRms;
    goodRms.steps = {{0.001, 0.001}, {0.001, 0.001}, {0.001, 0.001}};
    goodRms.rms = 0.01;  // below RMSTHRESH, but the cycle still finishes its passes
    EXPECT_EQ(solve(good, goodRms).iterationCount, 4);

    sorvek::Run twelve = probeRun();
    twelve.options.MAXREPEAT = 12;
    ScriptedEstimates still;  // nothing moves: the thresholds are final from cycle 10
    EXPECT_EQ(solve(twelve, still).iterationCount, 11);

    sorvek::Run unmatched = probeRun();
    unmatched.options.MAXREPEAT = 12;
    unmatched.options.MINDISTINITIAL = 0.01;
    unmatched.options.MINDISTFINAL = 0.01;  // never equal once held in 32 bits
    ScriptedEstimates again;
    EXPECT_EQ(solve(unmatched, again).iterationCount, 12);
}

TEST(PingPong, ProgressLineShowsTheWholePercentOfPairsAndTheLimits) {
    sorvek::Run run = probeRun();
    run.state.pairsDone = 3;
    run.state.progressScans = 12;
    run.options.MAXREPEAT = 1;  // a single cycle runs at the final thresholds
    ScriptedEstimates script;
    const Outcome out = solve(run, script);
    EXPECT_EQ(out.printed,
              "Registering Scans\n"
              "25.0 Complete, RMSmin = 0.300000, 77 pts, Dist 0.000000 to 0.100000 \r"
              "RMSfinal:  0.300000  rotations of Scan 11 = 0.000000 && Scan 12 = 0.000000 from "
              "77 pts in 1 iterations\n\n");
    EXPECT_EQ(run.state.percentDone, 25.0);
}

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
    // A clean synthetic pair falls below the default RMSTHRESH of 0.04 after the first
    // cycle, which would end the solver with the error only partly undone; twenty passes
    // a cycle let the alternation converge at each threshold.
    run.options.RMSTHRESH = 0.0;
    run.options.MAXITER = 20;
    synthetic::PairSpec surveySpec;
    surveySpec.label = "pp_accuracy";
    surveySpec.secondErrorDeg = -0.6;
    synthetic::prepareSyntheticPair(run, surveySpec);
    const synthetic::SolvedPair solved = solveReal(run);
    EXPECT_LT(solved.rms, static_cast<double>(run.pair.initialRms));
    // The steps settle to within ALPHATHRESH (1.75e-5 degrees); what remains is scan
    // noise, some thousandths of a degree here. 0.05 is a tenth of the error.
    EXPECT_NEAR(solved.firstRotationDeg - solved.secondRotationDeg, -0.6, 0.05);
    EXPECT_DOUBLE_EQ(run.state.scans[1].northRotation, solved.secondRotationDeg * degToRad);
}

TEST(PingPongOnScans, PointToPointEstimatesNothingSoEachCycleTakesOnePass) {
    sorvek::Run run;
    run.options = probe::optionsInRadians();
    run.options.REGMODE = 0;
    run.options.RMSTHRESH = 0.0;
    synthetic::PairSpec surveySpec;
    surveySpec.label = "pp_point_to_point";
    synthetic::prepareSyntheticPair(run, surveySpec);
    const synthetic::SolvedPair solved = solveReal(run);
    EXPECT_EQ(solved.iterationCount, 3);
    EXPECT_EQ(solved.firstRotationDeg, 0.0);
    EXPECT_EQ(solved.secondRotationDeg, 0.0);
}

}  // namespace
}  // namespace sorvek
