#pragma once
// The RMS distance of one sorted cloud from the surface of another.

#include <cstdint>

#include "points/work_cloud.h"
#include "run/records.h"

namespace sorvek {

// Both clouds in cube order on one grid. Returns the RMS, or 999.0 when fewer than
// MINNUMPTS samples were accepted; `acceptedCount` is valid either way. In run mode 5
// writes the diagnostic files of the current directory.
double measurePairRms(Run& run, const WorkCloud& subject, const WorkCloud& reference,
                      double maxDistance, std::int32_t& acceptedCount, double zMin);

}  // namespace sorvek
