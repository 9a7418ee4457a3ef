#pragma once
// What the solvers step through: the distance thresholds of each cycle or iteration, the
// candidate walk of the searched rotation, and the trial grid of the two-scan search.

#include <cstdint>

#include "config/run_options.h"

namespace sorvek {

// Where `step` of `stepCount` stands on the threshold line. Below ten steps it is the
// step itself; from ten on it is (stepCount * step) / 10 in 32-bit arithmetic that wraps
// rather than overflows, and it runs past stepCount - 1 so that the clamps hold the final
// values for the last cycles.
std::int32_t schedulePosition(std::int32_t step, std::int32_t stepCount);

// The threshold at `position` on the line from `initial` to `final` over `stepCount`
// steps, in 64-bit float, unclamped. stepCount must be at least 2.
double scheduledDistance(double initial, double final, std::int32_t position,
                         std::int32_t stepCount);

// Distance limits of one alternating cycle: the upper limit in 64 bits, the lower one
// held in 32 bits, so that an exact comparison with a 64-bit option can fail.
struct PingPongThresholds {
    double maxDist = 0.0;  // greatest accepted pair distance, length units
    float minDist = 0.0F;  // least accepted pair distance, length units
};

// Limits of cycle `cycle` (0 <= cycle < MAXREPEAT). A single cycle runs at the final
// values.
PingPongThresholds pingPongThresholds(const RunOptions& options, std::int32_t cycle);

// Distance limits of one searched iteration, both held in 32 bits.
struct SearchThresholds {
    float maxDist = 0.0F;  // greatest accepted pair distance, length units
    float minDist = 0.0F;  // least accepted pair distance, length units
};

// Limits of iteration `iteration` (0 <= iteration < MAXITER). A single iteration runs at
// the final values.
SearchThresholds partialLeastSquaresThresholds(const RunOptions& options, std::int32_t iteration);

// The candidates of one searched iteration: firstCandidate, then steps of searchStep
// while upperAngle stays above the candidate. All radians.
struct CandidateWalk {
    double upperAngle = 0.0;      // upper end of the range, never tried itself
    double firstCandidate = 0.0;  // lower end of the range, tried first
    double searchStep = 0.0;      // spacing; also the half width of the next iteration
};

// The walk of iteration `iteration` around `bestFirst`, half width `searchRange`. From the
// third iteration on the step is widened so that each walk tries about four candidates.
CandidateWalk candidateWalk(double searchRange, double bestFirst, std::int32_t alphaIncrement,
                            std::int32_t iteration);

// One axis of the trial grid: the values trialStart + trialStep, + 2 * trialStep, ... up
// to and including the first that is not below |trialStart|. trialStart is never tried.
struct TrialGrid {
    double trialStart = 0.0;  // radians, negative end of the grid
    double trialStep = 0.0;   // radians, always a magnitude
};

// The grid that opens repeat cycle `cycle`: half width |alpha|, then |alpha| / (2 cycle).
TrialGrid cycleTrialGrid(double alpha, std::int32_t alphaIncrement, std::int32_t cycle);

// The next iteration's grid: one old cell either side of the best trial, finer by
// alphaIncrement.
TrialGrid refinedTrialGrid(const TrialGrid& previous, std::int32_t alphaIncrement);

// Adds `step` to `value` and returns true, unless the sum would not lie above `value`
// (a step of zero, below zero, not a number, or too small to change `value` in 64-bit
// float); then `value` is left alone and the walk that asked must end, or it would
// never reach its upper end.
bool stepForward(double& value, double step);

}  // namespace sorvek
