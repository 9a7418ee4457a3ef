#pragma once
// Partial Least Squares solver: searched first rotation, closed-form second rotation.

#include <cstdint>

#include "run/records.h"

namespace sorvek {

// Rotations out in degrees. Returns the best RMS, never above initialRms.
double solvePartialLeastSquares(Run& run, double& firstRotation, double& secondRotation,
                                std::int32_t& pointCount);

}  // namespace sorvek
