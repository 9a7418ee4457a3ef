#pragma once
// Stable linear-time sort of a cloud by cube.

#include <span>

#include "run/records.h"

namespace sorvek {

// Sorts by `cube` ascending; records of one cube keep their order. `scratch` is resized
// to the cloud and keeps its capacity for the next call.
void sortByCube(std::span<PointRecord> points, Cloud& scratch);

}  // namespace sorvek
