#pragma once
// One measuring pass that also fits the rotation about a vertical axis through a pivot.

#include <cstdint>
#include <span>

#include "run/records.h"

namespace sorvek {

// Returns the RMS, or 999.0 when fewer than MINNUMPTS samples were accepted. Writes
// `rotationOut` (radians, to be applied to `reference` about the pivot) only when a
// result is computed.
double estimateRotation(Run& run, std::span<const PointRecord> subject,
                        std::span<const PointRecord> reference, double maxDistance,
                        double minDistance, std::int32_t& acceptedCount, double& rotationOut,
                        double pivotX, double pivotY, double zMin);

}  // namespace sorvek
