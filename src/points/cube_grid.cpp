#include "points/cube_grid.h"

#include <cmath>

#include "run/int32_arithmetic.h"
#include "run/worker_pool.h"

// The grid is a formula: counts from the box, a whole-number origin, and per point three
// truncating divisions. Truncation (not flooring) makes layer 0 of each axis twice as
// deep as the others, since everything less than one cube below the origin lands in it.
namespace sorvek {
namespace {

// The largest cube count whose indices, including the out-of-grid one, fit int32.
constexpr std::int64_t largestCubeCount = 2147483646;

// trunc(extent / edge) + 2, or nullopt when the count cannot be held in 32 bits.
std::optional<std::int32_t> cubesAlong(double extent, double edge) {
    const std::optional<std::int32_t> whole = truncToInt32(extent / edge);
    if (!whole || *whole > INT32_MAX - 2) return std::nullopt;
    return *whole + 2;
}

// Dividing by a power of two and multiplying by its inverse round the same exact value,
// so they give the same bits; for any other edge the division stays.
double exactScale(double edge) {
    int exponent = 0;
    const double mantissa = std::frexp(edge, &exponent);
    const bool isPowerOfTwo = mantissa == 0.5 && exponent > -1020 && exponent < 1020;
    return isPowerOfTwo ? 1.0 / edge : 0.0;
}

std::optional<double> wholeOrigin(double corner) {
    const std::optional<std::int32_t> whole = truncToInt32(corner);
    if (!whole) return std::nullopt;
    return static_cast<double>(*whole);
}

// The 32-bit product wraps instead of overflowing; it only matters when some count is 0
// or below, and then every point takes it as its out-of-grid index whatever its sign.
std::int32_t wrappedProduct(std::int32_t nx, std::int32_t nz, std::int32_t ny) {
    const std::int32_t plane = wrapToInt32(std::int64_t{nx} * std::int64_t{nz});
    return wrapToInt32(std::int64_t{plane} * std::int64_t{ny});
}

}  // namespace

std::optional<std::int32_t> truncToInt32(double value) {
    if (!(value > -2147483649.0 && value < 2147483648.0)) return std::nullopt;
    return static_cast<std::int32_t>(value);  // truncates toward zero
}

CloudBounds computeBounds(std::span<const PointRecord> points) {
    CloudBounds bounds;
    if (points.empty()) return bounds;
    bounds.count = static_cast<std::int32_t>(points.size());  // the readers stop below 2^31
    bounds.minX = bounds.maxX = points[0].x;
    bounds.minY = bounds.maxY = points[0].y;
    bounds.minZ = bounds.maxZ = points[0].z;
    for (const PointRecord& point : points.subspan(1)) {
        if (point.x > bounds.maxX)
            bounds.maxX = point.x;
        else if (bounds.minX > point.x)
            bounds.minX = point.x;
        if (point.y > bounds.maxY)
            bounds.maxY = point.y;
        else if (bounds.minY > point.y)
            bounds.minY = point.y;
        if (point.z > bounds.maxZ)
            bounds.maxZ = point.z;
        else if (bounds.minZ > point.z)
            bounds.minZ = point.z;
    }
    return bounds;
}

CloudBounds overlapOf(const CloudBounds& first, const CloudBounds& second) {
    CloudBounds overlap;
    // The sum is informational; it wraps rather than overflow for two giant clouds.
    overlap.count = wrapToInt32(std::int64_t{first.count} + std::int64_t{second.count});
    overlap.minX = first.minX > second.minX ? first.minX : second.minX;
    overlap.maxX = first.maxX < second.maxX ? first.maxX : second.maxX;
    overlap.minY = first.minY > second.minY ? first.minY : second.minY;
    overlap.maxY = first.maxY < second.maxY ? first.maxY : second.maxY;
    overlap.minZ = first.minZ > second.minZ ? first.minZ : second.minZ;
    overlap.maxZ = first.maxZ < second.maxZ ? first.maxZ : second.maxZ;
    return overlap;
}

CubeGrid layCubeGrid(const RunOptions& options, const CloudBounds& bounds, double zMin) {
    const double zMax = options.ZMAX;
    // The layer count cuts the box at both z limits only when it sticks out of both, while
    // the origin follows the lower limit alone; the two tests differ on purpose.
    const bool isCutInZ = bounds.maxZ > zMax && zMin > bounds.minZ;
    const std::optional<std::int32_t> nx = cubesAlong(bounds.maxX - bounds.minX, options.dCX);
    const std::optional<std::int32_t> ny = cubesAlong(bounds.maxY - bounds.minY, options.dCY);
    const std::optional<std::int32_t> nz = isCutInZ
                                               ? cubesAlong(zMax - zMin, options.dCZ)
                                               : cubesAlong(bounds.maxZ - bounds.minZ, options.dCZ);
    const std::optional<double> originX = wholeOrigin(bounds.minX - options.dCX);
    const std::optional<double> originY = wholeOrigin(bounds.minY - options.dCY);
    const std::optional<double> originZ =
        zMin > bounds.minZ ? wholeOrigin(zMin) : wholeOrigin(bounds.minZ - options.dCZ);

    CubeGrid grid;
    if (!originX || !originY || !originZ) {
        grid.isTooLarge = true;
        grid.isOutOfReach = true;
        return grid;
    }
    if (!nx || !ny || !nz) {
        grid.isTooLarge = true;
        return grid;
    }
    const bool boxesMiss = *nx <= 0 || *ny <= 0 || *nz <= 0;
    // Two steps, each checked, so that even three counts near 2^31 cannot overflow 64 bits.
    const std::int64_t planCount = std::int64_t{*nx} * std::int64_t{*nz};
    if (!boxesMiss &&
        (planCount > largestCubeCount || planCount * std::int64_t{*ny} > largestCubeCount)) {
        grid.isTooLarge = true;
        return grid;
    }
    grid.nx = *nx;
    grid.ny = *ny;
    grid.nz = *nz;
    grid.originX = *originX;
    grid.originY = *originY;
    grid.originZ = *originZ;
    grid.edgeX = options.dCX;
    grid.edgeY = options.dCY;
    grid.edgeZ = options.dCZ;
    grid.scaleX = exactScale(options.dCX);
    grid.scaleY = exactScale(options.dCY);
    grid.scaleZ = exactScale(options.dCZ);
    grid.cubeCount = wrappedProduct(*nx, *nz, *ny);
    return grid;
}

bool hasCubes(const CubeGrid& grid) {
    return !grid.isTooLarge && grid.nx > 0 && grid.ny > 0 && grid.nz > 0;
}

bool isSameGrid(const CubeGrid& first, const CubeGrid& second) {
    return first.nx == second.nx && first.ny == second.ny && first.nz == second.nz &&
           first.originX == second.originX && first.originY == second.originY &&
           first.originZ == second.originZ && first.edgeX == second.edgeX &&
           first.edgeY == second.edgeY && first.edgeZ == second.edgeZ &&
           first.cubeCount == second.cubeCount && first.isTooLarge == second.isTooLarge;
}

void assignCubes(Run& run, std::span<PointRecord> points, const CloudBounds& bounds, double zMin) {
    const CubeGrid grid = layCubeGrid(run.options, bounds, zMin);
    run.state.cubeCount = grid.cubeCount;
    const auto outOfGrid = static_cast<std::uint32_t>(grid.cubeCount);
    if (!hasCubes(grid)) {
        for (PointRecord& point : points) point.cube = outOfGrid;  // 0 for the empty grid
        return;
    }
    runShares(run.state.workers.get(), points.size(), [&](std::size_t begin, std::size_t end) {
        for (PointRecord& point : points.subspan(begin, end - begin)) {
            point.cube = cubeOf(grid, point.x, point.y, point.z);
        }
    });
}

}  // namespace sorvek
