#pragma once
// The per-point arithmetic of the work clouds, a block at a time: turning coordinates,
// their bounds, and their cubes. Wide vector instructions do several points at once with
// only IEEE subtraction, multiplication, division, addition and
// comparison in the order of the scalar formulas (turnedX, turnedY, cubeOf), so that every
// value has the bits one point computed alone would get. A scalar path serves processors
// without them.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "points/cube_grid.h"
#include "points/transforms.h"
#include "run/records.h"

namespace sorvek {

// Points handed to the kernels at a time: a block's coordinates stay in the first-level
// cache between the kernels.
inline constexpr std::size_t turnBlockSize = 256;

// Extremes of some points, starting from nothing.
struct PartBounds {
    double minX = std::numeric_limits<double>::infinity();
    double maxX = -std::numeric_limits<double>::infinity();
    double minY = std::numeric_limits<double>::infinity();
    double maxY = -std::numeric_limits<double>::infinity();
    double minZ = std::numeric_limits<double>::infinity();
    double maxZ = -std::numeric_limits<double>::infinity();
};

// x and y of `count` points turned by `turn`, into `turnedX` and `turnedY`.
void turnCoordinates(const double* x, const double* y, std::size_t count, const Turn& turn,
                     double* turnedX, double* turnedY);

// Widens `bounds` by every point: a value above the greatest or below the least becomes
// it; NaN changes nothing. Of two equal extremes, 0.0 and -0.0, the vector path may keep
// either; callers that must keep the earlier one look again when an extreme is zero.
void widenBounds(std::span<const double> x, std::span<const double> y, std::span<const double> z,
                 PartBounds& bounds);

// The cube of every point on `grid`, which has cubes.
void cubesOf(std::span<const double> x, std::span<const double> y, std::span<const double> z,
             const CubeGrid& grid, std::span<std::uint32_t> keys);

}  // namespace sorvek
