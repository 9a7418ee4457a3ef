#pragma once
// The cube grid: bounds of a cloud, the common box of two, and the cube of each point.

#include <span>

#include "run/records.h"

namespace sorvek {

// Bounds of a cloud of at least one point, with `count` set to its size.
CloudBounds computeBounds(std::span<const PointRecord> points);

// The box two clouds have in common: greater minima, lesser maxima, summed counts.
CloudBounds overlapOf(const CloudBounds& first, const CloudBounds& second);

// Overwrites every point's `cube` for the grid laid on `bounds`, and sets
// run.state.cubeCount. Reads dCX, dCY, dCZ and ZMAX.
void assignCubes(Run& run, std::span<PointRecord> points, const CloudBounds& bounds, double zMin);

// -1, 0 or +1 by the unsigned `cube` fields alone.
int compareCube(const PointRecord& first, const PointRecord& second);

}  // namespace sorvek
