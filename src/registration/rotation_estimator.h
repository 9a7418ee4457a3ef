#pragma once
// One measuring pass that also fits the rotation about a vertical axis through a pivot.

#include <cstdint>

#include "points/work_cloud.h"
#include "run/records.h"

namespace sorvek {

// Returns the RMS, or 999.0 when fewer than MINNUMPTS samples were accepted. Writes
// `rotationOut` (radians, to be applied to `reference` about the pivot) only when a
// result is computed.
double estimateRotation(Run& run, const WorkCloud& subject, const WorkCloud& reference,
                        double maxDistance, double minDistance, std::int32_t& acceptedCount,
                        double& rotationOut, double pivotX, double pivotY, double zMin);

}  // namespace sorvek
