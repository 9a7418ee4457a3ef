#pragma once
// Partial Least Squares solver: searched first rotation, closed-form second rotation.

#include <cstdint>

#include "registration/measure_calls.h"
#include "run/records.h"

namespace sorvek {

// Rotations out in degrees. Returns the best RMS, never above initialRms. A pair that is
// not prepared (a scan index outside the table, an empty cloud) is refused without a word.
double solvePartialLeastSquares(Run& run, const MeasureCalls& measures, double& firstRotationDeg,
                                double& secondRotationDeg, std::int32_t& pointCount);

}  // namespace sorvek
