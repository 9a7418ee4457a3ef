#include "points/work_cloud.h"

#include <algorithm>
#include <atomic>
#include <limits>

#include "points/turn_kernel.h"
#include "run/worker_pool.h"

// Every pass over a cloud is cut into equal shares of points, one part per share, and
// each part writes only its own slots: its keys, its count row, its places. The bounds of
// the parts are joined in part order with the same strict comparisons computeBounds
// makes, so that even the sign of a zero extreme comes out as one thread would find it.
namespace sorvek {
namespace {

// Both tests on every value: for a part that does not start the cloud no first value sets
// both extremes. A value that is not a number passes neither.
inline void widen(double value, double& least, double& greatest) {
    greatest = value > greatest ? value : greatest;
    least = least > value ? value : least;
}

void widenBy(const PartBounds& part, CloudBounds& bounds) {
    widen(part.maxX, bounds.minX, bounds.maxX);
    widen(part.minX, bounds.minX, bounds.maxX);
    widen(part.maxY, bounds.minY, bounds.maxY);
    widen(part.minY, bounds.minY, bounds.maxY);
    widen(part.maxZ, bounds.minZ, bounds.maxZ);
    widen(part.minZ, bounds.minZ, bounds.maxZ);
}

// Bounds exactly as one pass over a turned copy finds them, the earlier of two equal
// extremes kept. Only needed when an extreme is zero: 0.0 and -0.0 are the one pair of
// equal values that differ, and the vector path does not keep track of which came first.
CloudBounds boundsOneByOne(const CloudCoordinates& source, const Turn& turn) {
    CloudBounds bounds;
    bounds.count = static_cast<std::int32_t>(source.x.size());
    bounds.minX = bounds.maxX = turnedX(turn, source.x[0], source.y[0]);
    bounds.minY = bounds.maxY = turnedY(turn, source.x[0], source.y[0]);
    bounds.minZ = bounds.maxZ = source.z[0];
    for (std::size_t i = 1; i < source.x.size(); ++i) {
        const double x = turnedX(turn, source.x[i], source.y[i]);
        const double y = turnedY(turn, source.x[i], source.y[i]);
        const double z = source.z[i];
        if (x > bounds.maxX)
            bounds.maxX = x;
        else if (bounds.minX > x)
            bounds.minX = x;
        if (y > bounds.maxY)
            bounds.maxY = y;
        else if (bounds.minY > y)
            bounds.minY = y;
        if (z > bounds.maxZ)
            bounds.maxZ = z;
        else if (bounds.minZ > z)
            bounds.minZ = z;
    }
    return bounds;
}

bool hasZeroExtreme(const CloudBounds& bounds) {
    return bounds.minX == 0.0 || bounds.maxX == 0.0 || bounds.minY == 0.0 || bounds.maxY == 0.0 ||
           bounds.minZ == 0.0 || bounds.maxZ == 0.0;
}

// A block of turned points on the stack of the thread that works on it; z is the
// source's own.
struct TurnedBlock {
    double x[turnBlockSize];
    double y[turnBlockSize];
};

void turnBlock(const CloudCoordinates& source, std::size_t first, std::size_t length,
               const Turn& turn, TurnedBlock& block) {
    turnCoordinates(source.x.data() + first, source.y.data() + first, length, turn, block.x,
                    block.y);
}

// Calls `use(begin, length)` for each block of at most turnBlockSize points in [begin, end).
template <typename Use>
void forEachBlock(std::size_t begin, std::size_t end, Use use) {
    for (std::size_t first = begin; first < end; first += turnBlockSize) {
        use(first, std::min(turnBlockSize, end - first));
    }
}

std::size_t threadCountOf(const Run& run) {
    return run.state.workers ? run.state.workers->threadCount : 1;
}

bool keysFit(const CubeOrderScratch& scratch, const CloudCoordinates& source, const Turn& turn,
             const CubeGrid& grid) {
    const Turn& kept = scratch.keyTurn;
    return scratch.hasKeys && scratch.keySource == source.x.data() &&
           scratch.keys.size() == source.x.size() && isSameGrid(scratch.keyGrid, grid) &&
           kept.cosAngle == turn.cosAngle && kept.sinAngle == turn.sinAngle &&
           kept.pivotX == turn.pivotX && kept.pivotY == turn.pivotY;
}

void keepKeyOrigin(CubeOrderScratch& scratch, const CloudCoordinates& source, const Turn& turn,
                   const CubeGrid& grid) {
    scratch.hasKeys = true;
    scratch.keySource = source.x.data();
    scratch.keyTurn = turn;
    scratch.keyGrid = grid;
}

void resizeCloud(WorkCloud& cloud, std::size_t count) {
    cloud.x.resize(count);
    cloud.y.resize(count);
    cloud.z.resize(count);
    cloud.cube.resize(count);
}

// Cubes of the turned source on `grid`, which has cubes.
void keysOfTurned(Run& run, const CloudCoordinates& source, const Turn& turn, const CubeGrid& grid,
                  CubeOrderScratch& scratch) {
    const std::size_t count = source.x.size();
    scratch.keys.resize(count);
    scratch.countedParts = 0;
    const std::size_t partCount = threadCountOf(run);
    runParts(run.state.workers.get(), partCount, [&](std::size_t part) {
        TurnedBlock block;
        forEachBlock(partBegin(count, part, partCount), partBegin(count, part + 1, partCount),
                     [&](std::size_t first, std::size_t length) {
                         turnBlock(source, first, length, turn, block);
                         cubesOf(std::span<const double>(block.x, length),
                                 std::span<const double>(block.y, length),
                                 std::span<const double>(source.z).subspan(first, length), grid,
                                 std::span<std::uint32_t>(scratch.keys).subspan(first, length));
                     });
    });
    keepKeyOrigin(scratch, source, turn, grid);
}

}  // namespace

void splitCoordinates(Run& run, std::span<const PointRecord> records,
                      CloudCoordinates& coordinates) {
    const std::size_t count = records.size();
    coordinates.x.resize(count);
    coordinates.y.resize(count);
    coordinates.z.resize(count);
    runShares(run.state.workers.get(), count, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            coordinates.x[i] = records[i].x;
            coordinates.y[i] = records[i].y;
            coordinates.z[i] = records[i].z;
        }
    });
}

void markChanged(WorkCloud& cloud) {
    static std::atomic<std::uint64_t> lastStamp{0};
    cloud.stamp = ++lastStamp;
}

void clearWorkCloud(WorkCloud& cloud) {
    markChanged(cloud);
    resizeCloud(cloud, 0);
    cloud.inGridCount = 0;
}

CloudBounds turnedBounds(Run& run, const CloudCoordinates& source, const Turn& turn,
                         const CubeGrid& guess, CubeOrderScratch& scratch) {
    CloudBounds bounds;
    scratch.hasKeys = false;
    const std::size_t count = source.x.size();
    if (count == 0) return bounds;
    const bool keepsKeys = hasCubes(guess);
    const std::size_t bucketCount = static_cast<std::size_t>(guess.cubeCount) + 1;
    const std::size_t countedParts = keepsKeys ? countingParts(run, count, bucketCount) : 0;
    const std::size_t partCount = countedParts > 0 ? countedParts : threadCountOf(run);
    if (keepsKeys) scratch.keys.resize(count);
    if (countedParts > 0) clearCounts(scratch, countedParts, bucketCount);
    std::vector<PartBounds> parts(partCount);
    runParts(run.state.workers.get(), partCount, [&](std::size_t part) {
        PartBounds extent;
        std::uint32_t* row =
            countedParts > 0 ? scratch.counts.data() + part * bucketCount : nullptr;
        TurnedBlock block;
        forEachBlock(partBegin(count, part, partCount), partBegin(count, part + 1, partCount),
                     [&](std::size_t first, std::size_t length) {
                         turnBlock(source, first, length, turn, block);
                         const std::span<const double> x(block.x, length), y(block.y, length);
                         const std::span<const double> z =
                             std::span<const double>(source.z).subspan(first, length);
                         widenBounds(x, y, z, extent);
                         if (!keepsKeys) return;
                         const std::span<std::uint32_t> keys =
                             std::span<std::uint32_t>(scratch.keys).subspan(first, length);
                         cubesOf(x, y, z, guess, keys);
                         if (row == nullptr) return;
                         for (const std::uint32_t key : keys) ++row[key];
                     });
        parts[part] = extent;
    });
    bounds.count = static_cast<std::int32_t>(count);  // the readers stop below 2^31
    bounds.minX = bounds.maxX = turnedX(turn, source.x[0], source.y[0]);
    bounds.minY = bounds.maxY = turnedY(turn, source.x[0], source.y[0]);
    bounds.minZ = bounds.maxZ = source.z[0];
    for (const PartBounds& part : parts) widenBy(part, bounds);
    if (hasZeroExtreme(bounds)) bounds = boundsOneByOne(source, turn);
    if (keepsKeys) {
        keepKeyOrigin(scratch, source, turn, guess);
        scratch.countedParts = countedParts;
    }
    return bounds;
}

void placeTurned(Run& run, const CloudCoordinates& source, const Turn& turn, const CubeGrid& grid,
                 CubeOrderScratch& scratch, WorkCloud& cloud) {
    const std::size_t count = source.x.size();
    markChanged(cloud);
    resizeCloud(cloud, count);
    const std::size_t partCount = threadCountOf(run);
    if (!hasCubes(grid)) {
        // Every point lies outside: the sort would leave the copy in source order.
        const auto outOfGrid = static_cast<std::uint32_t>(grid.cubeCount);
        runShares(run.state.workers.get(), count, [&](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end; ++i) {
                cloud.x[i] = turnedX(turn, source.x[i], source.y[i]);
                cloud.y[i] = turnedY(turn, source.x[i], source.y[i]);
                cloud.z[i] = source.z[i];
                cloud.cube[i] = outOfGrid;
            }
        });
        cloud.inGridCount = 0;
        return;
    }
    if (!keysFit(scratch, source, turn, grid)) keysOfTurned(run, source, turn, grid, scratch);
    const CubePlaces places =
        preparePlaces(run, scratch, static_cast<std::size_t>(grid.cubeCount) + 1);
    const std::size_t placeParts = places.isRanked ? partCount : places.partCount;
    runParts(run.state.workers.get(), placeParts, [&](std::size_t part) {
        TurnedBlock block;
        double* x = cloud.x.data();
        double* y = cloud.y.data();
        double* z = cloud.z.data();
        std::uint32_t* cube = cloud.cube.data();
        forEachBlock(partBegin(count, part, placeParts), partBegin(count, part + 1, placeParts),
                     [&](std::size_t first, std::size_t length) {
                         turnBlock(source, first, length, turn, block);
                         const double* sourceZ = source.z.data() + first;
                         for (std::size_t j = 0; j < length; ++j) {
                             const std::uint32_t place =
                                 takePlace(scratch, places, part, first + j);
                             x[place] = block.x[j];
                             y[place] = block.y[j];
                             z[place] = sourceZ[j];
                             cube[place] = scratch.keys[first + j];
                         }
                     });
    });
    cloud.inGridCount = places.beforeLastBucket;
}

void reorderOnGrid(Run& run, WorkCloud& cloud, const CubeGrid& grid, CubeOrderScratch& scratch,
                   WorkCloud& spare) {
    const std::size_t count = pointCount(cloud);
    scratch.hasKeys = false;
    markChanged(cloud);
    if (!hasCubes(grid)) {
        // Every point gets the same index, and a stable sort moves nothing.
        std::fill(cloud.cube.begin(), cloud.cube.end(), static_cast<std::uint32_t>(grid.cubeCount));
        cloud.inGridCount = 0;
        return;
    }
    scratch.keys.resize(count);
    scratch.countedParts = 0;
    const std::size_t partCount = threadCountOf(run);
    runParts(run.state.workers.get(), partCount, [&](std::size_t part) {
        const std::size_t first = partBegin(count, part, partCount);
        const std::size_t length = partBegin(count, part + 1, partCount) - first;
        cubesOf(std::span<const double>(cloud.x).subspan(first, length),
                std::span<const double>(cloud.y).subspan(first, length),
                std::span<const double>(cloud.z).subspan(first, length), grid,
                std::span<std::uint32_t>(scratch.keys).subspan(first, length));
    });
    const CubePlaces places =
        preparePlaces(run, scratch, static_cast<std::size_t>(grid.cubeCount) + 1);
    const std::size_t placeParts = places.isRanked ? partCount : places.partCount;
    resizeCloud(spare, count);
    runParts(run.state.workers.get(), placeParts, [&](std::size_t part) {
        const std::size_t end = partBegin(count, part + 1, placeParts);
        for (std::size_t i = partBegin(count, part, placeParts); i < end; ++i) {
            const std::uint32_t place = takePlace(scratch, places, part, i);
            spare.x[place] = cloud.x[i];
            spare.y[place] = cloud.y[i];
            spare.z[place] = cloud.z[i];
            spare.cube[place] = scratch.keys[i];
        }
    });
    std::swap(cloud, spare);
    markChanged(cloud);
    markChanged(spare);
    cloud.inGridCount = places.beforeLastBucket;
}

void turnInPlace(Run& run, WorkCloud& cloud, const Turn& turn) {
    markChanged(cloud);
    const std::size_t count = pointCount(cloud);
    runShares(run.state.workers.get(), count, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            const double x = cloud.x[i];
            const double y = cloud.y[i];
            cloud.x[i] = turnedX(turn, x, y);
            cloud.y[i] = turnedY(turn, x, y);
        }
    });
}

void copySorted(const Run& run, std::span<const PointRecord> sorted, std::int32_t cubeCount,
                WorkCloud& cloud) {
    markChanged(cloud);
    const std::size_t count = sorted.size();
    resizeCloud(cloud, count);
    const std::size_t partCount = threadCountOf(run);
    std::vector<std::size_t> inGrid(partCount, 0);
    runParts(run.state.workers.get(), partCount, [&](std::size_t part) {
        const std::size_t end = partBegin(count, part + 1, partCount);
        std::size_t inside = 0;
        for (std::size_t i = partBegin(count, part, partCount); i < end; ++i) {
            cloud.x[i] = sorted[i].x;
            cloud.y[i] = sorted[i].y;
            cloud.z[i] = sorted[i].z;
            cloud.cube[i] = sorted[i].cube;
            if (std::int64_t{sorted[i].cube} < std::int64_t{cubeCount}) ++inside;
        }
        inGrid[part] = inside;
    });
    cloud.inGridCount = 0;
    for (const std::size_t inside : inGrid) cloud.inGridCount += inside;
}

}  // namespace sorvek
