#include "output/rotation_table.h"

// Placeholder until the real implementation lands.
namespace sorvek {

std::int32_t countRotationRows(const Run&) { return 0; }
std::vector<RotationEntry> loadRotationTable(const Run&, std::int32_t) { return {}; }
double averageRotation(std::span<const RotationEntry>, std::int32_t, std::int32_t& rotationCount,
                       double& rotationSpread) {
    rotationCount = 0;
    rotationSpread = 0.0;
    return 0.0;
}

}  // namespace sorvek
