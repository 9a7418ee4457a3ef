#pragma once
// Ping Pong solver: alternating closed-form estimates of both scans' rotations.

#include <cstdint>

#include "run/records.h"

namespace sorvek {

// Rotations out in degrees. Returns the final RMS, even when worse than initialRms.
double solvePingPong(Run& run, double& firstRotation, double& secondRotation,
                     std::int32_t& pointCount, std::int32_t& iterationCount);

}  // namespace sorvek
