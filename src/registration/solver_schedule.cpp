#include "registration/solver_schedule.h"

#include <cmath>
#include <limits>

namespace sorvek {
namespace {

// Rounds to the nearest 32-bit float as IEEE arithmetic does. A double beyond float's
// range has no defined conversion in C++, so those values are rounded here by hand: to
// the largest float below the halfway point to 2^128, to infinity from there on.
float toFloat32(double value) {
    constexpr double largestFloat = 0x1.fffffep+127;
    constexpr double halfwayToInfinity = 0x1.ffffffp+127;
    const double magnitude = std::fabs(value);
    if (!(magnitude > largestFloat)) return static_cast<float>(value);  // NaN passes too
    const float rounded = magnitude >= halfwayToInfinity ? std::numeric_limits<float>::infinity()
                                                         : std::numeric_limits<float>::max();
    return value < 0.0 ? -rounded : rounded;
}

// The 32-bit threshold of a searched iteration: rounded, then clamped at the final value.
float clampedFloatDistance(double initial, double final, std::int32_t position,
                           std::int32_t stepCount) {
    const float distance = toFloat32(scheduledDistance(initial, final, position, stepCount));
    if (final > static_cast<double>(distance)) return toFloat32(final);
    return distance;
}

}  // namespace

std::int32_t schedulePosition(std::int32_t step, std::int32_t stepCount) {
    if (stepCount < 10) return step;
    // The product wraps as 32-bit arithmetic does; the quotient of two int32 values fits
    // except INT32_MIN / -1, which cannot arise with a divisor of 10.
    const auto product = static_cast<std::int32_t>(static_cast<std::int64_t>(stepCount) * step);
    return product / 10;
}

double scheduledDistance(double initial, double final, std::int32_t position,
                         std::int32_t stepCount) {
    // stepCount - 1 in 64 bits: the solvers never ask with fewer than two steps, but the
    // subtraction must not overflow for INT32_MIN either.
    const auto divisor = static_cast<double>(static_cast<std::int64_t>(stepCount) - 1);
    return initial - (((initial - final) * static_cast<double>(position)) / divisor);
}

PingPongThresholds pingPongThresholds(const RunOptions& options, std::int32_t cycle) {
    // The line from initial to final needs two cycles; one cycle runs at the final values.
    if (options.MAXREPEAT == 1) return {options.MAXDISTFINAL, toFloat32(options.MINDISTFINAL)};
    const std::int32_t position = schedulePosition(cycle, options.MAXREPEAT);
    PingPongThresholds limits;
    limits.maxDist = scheduledDistance(options.MAXDISTINITIAL, options.MAXDISTFINAL, position,
                                       options.MAXREPEAT);
    if (options.MAXDISTFINAL > limits.maxDist) limits.maxDist = options.MAXDISTFINAL;
    limits.minDist = clampedFloatDistance(options.MINDISTINITIAL, options.MINDISTFINAL, position,
                                          options.MAXREPEAT);
    return limits;
}

SearchThresholds partialLeastSquaresThresholds(const RunOptions& options, std::int32_t iteration) {
    if (options.MAXITER == 1) {
        return {toFloat32(options.MAXDISTFINAL), toFloat32(options.MINDISTFINAL)};
    }
    const std::int32_t position = schedulePosition(iteration, options.MAXITER);
    SearchThresholds limits;
    limits.maxDist = clampedFloatDistance(options.MAXDISTINITIAL, options.MAXDISTFINAL, position,
                                          options.MAXITER);
    limits.minDist = clampedFloatDistance(options.MINDISTINITIAL, options.MINDISTFINAL, position,
                                          options.MAXITER);
    return limits;
}

CandidateWalk candidateWalk(double searchRange, double bestFirst, std::int32_t alphaIncrement,
                            std::int32_t iteration) {
    CandidateWalk walk;
    walk.upperAngle = searchRange + bestFirst;
    walk.firstCandidate = bestFirst - searchRange;
    walk.searchStep = searchRange / static_cast<double>(alphaIncrement);
    if (iteration > 1) {
        walk.searchStep = walk.searchStep * 2.0;
        const double quarterRange = (walk.upperAngle - walk.firstCandidate) * 0.25;
        if (quarterRange > walk.searchStep) walk.searchStep = quarterRange;
    }
    return walk;
}

TrialGrid cycleTrialGrid(double alpha, std::int32_t alphaIncrement, std::int32_t cycle) {
    TrialGrid grid;
    if (cycle == 0) {
        grid.trialStart = -std::fabs(alpha);
    } else {
        grid.trialStart = std::fabs(alpha) / (-2.0 * static_cast<double>(cycle));
    }
    grid.trialStep = std::fabs(grid.trialStart / static_cast<double>(alphaIncrement));
    return grid;
}

TrialGrid refinedTrialGrid(const TrialGrid& previous, std::int32_t alphaIncrement) {
    TrialGrid grid;
    grid.trialStart = -previous.trialStep;
    grid.trialStep = std::fabs(grid.trialStart / static_cast<double>(alphaIncrement));
    return grid;
}

bool stepForward(double& value, double step) {
    const double next = value + step;
    if (!(next > value)) return false;
    value = next;
    return true;
}

}  // namespace sorvek
