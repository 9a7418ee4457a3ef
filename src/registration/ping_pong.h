#pragma once
// Ping Pong solver: alternating closed-form estimates of both scans' rotations.

#include <cstdint>

#include "registration/measure_calls.h"
#include "run/records.h"

namespace sorvek {

// Rotations out in degrees. Returns the final RMS, even when worse than initialRms. A
// pair that is not prepared (a scan index outside the table, an empty cloud) is refused
// without a word, and nothing is stored.
double solvePingPong(Run& run, const MeasureCalls& measures, double& firstRotationDeg,
                     double& secondRotationDeg, std::int32_t& pointCount,
                     std::int32_t& iterationCount);

}  // namespace sorvek
