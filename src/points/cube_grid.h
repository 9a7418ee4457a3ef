#pragma once
// The cube grid: bounds of a cloud, the common box of two, and the cube of each point.

#include <cstdint>
#include <optional>
#include <span>

#include "run/records.h"

namespace sorvek {

// The grid laid on one box. It exists only as these numbers; no memory per cube.
struct CubeGrid {
    std::int32_t nx = 0;   // cubes along x; 0 or below when the boxes miss each other
    std::int32_t ny = 0;   // cubes along y
    std::int32_t nz = 0;   // cubes along z
    double originX = 0.0;  // whole-number corner from which cube coordinates count
    double originY = 0.0;
    double originZ = 0.0;
    double edgeX = 1.0;  // dCX, dCY, dCZ as the grid was laid
    double edgeY = 1.0;
    double edgeZ = 1.0;
    double scaleX = 0.0;         // 1 / edge when the edge is a power of two, else 0: the
    double scaleY = 0.0;         // product then has the bits of the quotient, and costs
    double scaleZ = 0.0;         // far less than a division
    std::int32_t cubeCount = 0;  // nx * nz * ny in 32-bit arithmetic; the out-of-grid index
    bool isTooLarge = false;     // not indexable in 32 bits: cubeCount 0, every cube 0
    bool isOutOfReach = false;   // too large because the box is not a number or an origin
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

// True when the grid has cubes: not too large and at least one cube along every axis.
// Every point of a grid without cubes lies outside it.
bool hasCubes(const CubeGrid& grid);

// Two grids that give every point the same cube.
bool isSameGrid(const CubeGrid& first, const CubeGrid& second);

// The cube of (x, y, z), or the out-of-grid index: cubeCount as an unsigned number.
inline std::uint32_t cubeOf(const CubeGrid& grid, double x, double y, double z);

// Overwrites every point's `cube` for the grid laid on `bounds`, and sets
// run.state.cubeCount. Reads dCX, dCY, dCZ and ZMAX. A grid too large to index leaves
// every cube 0 and cubeCount 0; layCubeGrid tells the caller when that happens.
void assignCubes(Run& run, std::span<PointRecord> points, const CloudBounds& bounds, double zMin);

// The cube coordinate of `offset` along an axis of `cubes` cubes, or -1 when outside.
// q > -1 is trunc(q) >= 0, and q < cubes is trunc(q) < cubes, so the conversion only ever
// sees values that int32 holds. NaN fails both tests.
inline std::int32_t cubeCoordinate(double offset, double edge, double scale, std::int32_t cubes) {
    const double q = scale != 0.0 ? offset * scale : offset / edge;
    if (!(q > -1.0 && q < static_cast<double>(cubes))) return -1;
    return static_cast<std::int32_t>(q);
}

// Below 2^31 cubes in all, so every valid index fits the 32-bit products.
inline std::uint32_t cubeOf(const CubeGrid& grid, double x, double y, double z) {
    const std::int32_t ix = cubeCoordinate(x - grid.originX, grid.edgeX, grid.scaleX, grid.nx);
    const std::int32_t iy = cubeCoordinate(y - grid.originY, grid.edgeY, grid.scaleY, grid.ny);
    const std::int32_t iz = cubeCoordinate(z - grid.originZ, grid.edgeZ, grid.scaleZ, grid.nz);
    if (ix < 0 || iy < 0 || iz < 0) return static_cast<std::uint32_t>(grid.cubeCount);
    const auto layerSize = static_cast<std::uint32_t>(grid.nx);
    const auto sliceSize = layerSize * static_cast<std::uint32_t>(grid.nz);
    return static_cast<std::uint32_t>(ix) + static_cast<std::uint32_t>(iz) * layerSize +
           static_cast<std::uint32_t>(iy) * sliceSize;
}

}  // namespace sorvek
