#pragma once
// Partial Least Squares solver: searched first rotation, closed-form second rotation.

#include <cstdint>

#include "registration/pair_measures.h"
#include "run/records.h"

namespace sorvek {

// Rotations out in degrees. Returns the best RMS, never above initialRms.
double solvePartialLeastSquares(Run& run, double& firstRotation, double& secondRotation,
                                std::int32_t& pointCount);

// The same with the measuring passes given. A pair that is not prepared (a scan index
// outside the table, an empty cloud) is refused without a word: rotations 0.0, result
// 999.0.
double solvePartialLeastSquaresWith(Run& run, const PairMeasures& measures,
                                    double& firstRotation, double& secondRotation,
                                    std::int32_t& pointCount);

}  // namespace sorvek
