#pragma once
// Iterative Search solver: a shrinking grid of trial rotations of both scans.

#include <cstdint>

#include "run/records.h"

namespace sorvek {

// Rotations out in degrees. Returns the RMS of the last end-of-cycle measure.
double solveIterativeSearch(Run& run, double& firstRotation, double& secondRotation,
                            std::int32_t& pointCount);

}  // namespace sorvek
