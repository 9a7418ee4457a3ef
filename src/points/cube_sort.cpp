#include "points/cube_sort.h"

// Placeholder until the real implementation lands.
namespace sorvek {

void sortByCube(std::span<PointRecord>, Cloud&) {}

}  // namespace sorvek
