#pragma once
// The RMS distance of one sorted cloud from the surface of another.

#include <cstdint>
#include <span>

#include "run/records.h"

namespace sorvek {

// Both clouds sorted by cube on the grid that run.state.cubeCount describes. Returns the
// RMS, or 999.0 when fewer than MINNUMPTS samples were accepted; `acceptedCount` is valid
// either way. In run mode 5 writes the diagnostic files of the current directory.
double measurePairRms(Run& run, std::span<const PointRecord> subject,
                      std::span<const PointRecord> reference, double maxDistance,
                      std::int32_t& acceptedCount, double zMin);

}  // namespace sorvek
