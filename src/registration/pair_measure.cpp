#include "registration/pair_measure.h"

// Placeholder until the real implementation lands.
namespace sorvek {

double measurePairRms(Run&, std::span<const PointRecord>, std::span<const PointRecord>, double,
                      std::int32_t& acceptedCount, double) {
    acceptedCount = 0;
    return 999.0;
}

}  // namespace sorvek
