#pragma once
// Iterative Search solver: a shrinking grid of trial rotations of both scans.

#include <cstdint>

#include "registration/measure_calls.h"
#include "run/records.h"

namespace sorvek {

// Rotations out in degrees. Returns the RMS of the last end-of-cycle measure. A pair
// that is not prepared (a scan index outside the table, an empty cloud) is refused
// without a word.
double solveIterativeSearch(Run& run, const MeasureCalls& measures, double& firstRotationDeg,
                            double& secondRotationDeg, std::int32_t& pointCount);

}  // namespace sorvek
