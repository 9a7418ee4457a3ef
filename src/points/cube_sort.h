#pragma once
// Stable linear-time sort of a cloud by cube.

#include <span>

#include "run/records.h"

namespace sorvek {

// Sorts by `cube` ascending; records of one cube keep their order. `scratch` is resized
// to the cloud and keeps its capacity for the next call.
void sortByCube(std::span<PointRecord> points, Cloud& scratch);

// Lays the grid of the pair's overlap box on `cloud` and sorts it by cube, with the
// pair's scratch: the state every measure and estimate expects a cloud in.
void gridOnOverlap(Run& run, Cloud& cloud);

}  // namespace sorvek
