#include "registration/rotation_estimator.h"

// Placeholder until the real implementation lands.
namespace sorvek {

double estimateRotation(Run&, std::span<const PointRecord>, std::span<const PointRecord>, double, double,
                        std::int32_t& acceptedCount, double&, double, double, double) {
    acceptedCount = 0;
    return 999.0;
}

}  // namespace sorvek
