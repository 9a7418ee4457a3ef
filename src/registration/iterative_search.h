#pragma once
// Iterative Search solver: a shrinking grid of trial rotations of both scans.

#include <cstdint>

#include "registration/pair_measures.h"
#include "run/records.h"

namespace sorvek {

// Rotations out in degrees. Returns the RMS of the last end-of-cycle measure.
double solveIterativeSearch(Run& run, double& firstRotation, double& secondRotation,
                            std::int32_t& pointCount);

// The same with the measuring pass given. A pair that is not prepared (a scan index
// outside the table, an empty cloud) is refused without a word: rotations 0.0, result
// 999.0.
double solveIterativeSearchWith(Run& run, const PairMeasures& measures, double& firstRotation,
                                double& secondRotation, std::int32_t& pointCount);

}  // namespace sorvek
