#pragma once
// The cube grid: bounds of a cloud, the common box of two, and the cube of each point.

#include <cstdint>
#include <optional>
#include <span>

#include "run/records.h"

namespace sorvek {

// The grid laid on one box. It exists only as these numbers; no memory per cube.
struct CubeGrid {
    std::int32_t nx = 0;          // cubes along x; 0 or below when the boxes miss each other
    std::int32_t ny = 0;          // cubes along y
    std::int32_t nz = 0;          // cubes along z
    double originX = 0.0;         // whole-number corner from which cube coordinates count
    double originY = 0.0;
    double originZ = 0.0;
    std::int32_t cubeCount = 0;   // nx * nz * ny in 32-bit arithmetic; the out-of-grid index
    bool isTooLarge = false;      // not indexable in 32 bits: cubeCount 0, every cube 0
    bool isOutOfReach = false;    // too large because the box is not a number or an origin
                                  // lies beyond int32, not because the cubes are too small
};

// Converting a double that int32 cannot hold is undefined behaviour; NaN and values
// outside the range give nullopt. Truncates toward zero.
std::optional<std::int32_t> truncToInt32(double value);

// Bounds of a cloud, with `count` set to its size; all zero for an empty cloud.
CloudBounds computeBounds(std::span<const PointRecord> points);

// The box two clouds have in common: greater minima, lesser maxima, summed counts.
CloudBounds overlapOf(const CloudBounds& first, const CloudBounds& second);

// The grid that assignCubes lays on `bounds`. Reads dCX, dCY, dCZ and ZMAX.
CubeGrid layCubeGrid(const RunOptions& options, const CloudBounds& bounds, double zMin);

// Overwrites every point's `cube` for the grid laid on `bounds`, and sets
// run.state.cubeCount. Reads dCX, dCY, dCZ and ZMAX. A grid too large to index leaves
// every cube 0 and cubeCount 0; layCubeGrid tells the caller when that happens.
void assignCubes(Run& run, std::span<PointRecord> points, const CloudBounds& bounds, double zMin);

// -1, 0 or +1 by the unsigned `cube` fields alone.
int compareCube(const PointRecord& first, const PointRecord& second);

}  // namespace sorvek
