#pragma once
// Ping Pong solver: alternating closed-form estimates of both scans' rotations.

#include <cstdint>

#include "registration/pair_measures.h"
#include "run/records.h"

namespace sorvek {

// Rotations out in degrees. Returns the final RMS, even when worse than initialRms.
double solvePingPong(Run& run, double& firstRotation, double& secondRotation,
                     std::int32_t& pointCount, std::int32_t& iterationCount);

// The same with the measuring passes given. A pair that is not prepared (a scan index
// outside the table, an empty cloud) is refused without a word: rotations 0.0, result
// 999.0, nothing stored.
double solvePingPongWith(Run& run, const PairMeasures& measures, double& firstRotation,
                         double& secondRotation, std::int32_t& pointCount,
                         std::int32_t& iterationCount);

}  // namespace sorvek
