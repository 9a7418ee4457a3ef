#pragma once
// The single gate through which a pair of scans reaches the registration engine.

#include <cstdint>

#include "run/records.h"

namespace sorvek {

// Loads firstPath and secondPath, moves, grids and sorts both clouds and, in run modes
// 1, 5 and 6, measures the initial RMS. Returns 1 when both clouds hold points, else 0.
std::int32_t prepareScanPair(Run& run);

// The pair's bounds, their overlap, the cube grid on it, and both clouds sorted by cube,
// from the clouds as they now lie: the last steps of preparation, for clouds moved since.
void gridPairOnOverlap(Run& run);

}  // namespace sorvek
