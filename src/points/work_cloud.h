#pragma once
// The making of work clouds (WorkCloud, in the shared records): straight from the loaded
// clouds, turned on the way, with only cube numbers and places sorted, 4 bytes a point
// instead of whole records.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "points/cube_grid.h"
#include "points/cube_order.h"
#include "points/transforms.h"
#include "run/records.h"

namespace sorvek {

// A loaded cloud's coordinates apart, in its order, made once per solver run: a turn then
// reads 16 bytes a point and leaves z as it is.
struct CloudCoordinates {
    UnfilledArray<double> x;
    UnfilledArray<double> y;
    UnfilledArray<double> z;
};

// `records`' coordinates into `coordinates`, which keeps its capacity.
void splitCoordinates(Run& run, std::span<const PointRecord> records,
                      CloudCoordinates& coordinates);

inline std::size_t pointCount(const WorkCloud& cloud) { return cloud.x.size(); }

// Gives `cloud` a stamp no cloud has had: whatever was kept of its points is stale.
void markChanged(WorkCloud& cloud);

// Empty, keeping the capacity for the next pair.
void clearWorkCloud(WorkCloud& cloud);

// Bounds of `source` turned by `turn`, exactly as computeBounds of a turned copy gives
// them. On the way the turned points' cubes on `guess` are kept in `scratch`, and counted,
// so that a following placeTurned on the same grid needs no second look at the points.
CloudBounds turnedBounds(Run& run, const CloudCoordinates& source, const Turn& turn,
                         const CubeGrid& guess, CubeOrderScratch& scratch);

// `source` turned by `turn`, in cube order on `grid`: what a turned copy, assigned and
// stably sorted by cube, would hold.
void placeTurned(Run& run, const CloudCoordinates& source, const Turn& turn, const CubeGrid& grid,
                 CubeOrderScratch& scratch, WorkCloud& cloud);

// Puts `cloud` in cube order on `grid`, stably from the order it has. `spare` serves as
// the second array.
void reorderOnGrid(Run& run, WorkCloud& cloud, const CubeGrid& grid, CubeOrderScratch& scratch,
                   WorkCloud& spare);

// Turns every point in place, as rotateCloud does; cubes and order stay as they were.
void turnInPlace(Run& run, WorkCloud& cloud, const Turn& turn);

// A cloud already assigned and sorted, copied as it stands: its in-grid points are those
// whose cube lies below `cubeCount`.
void copySorted(const Run& run, std::span<const PointRecord> sorted, std::int32_t cubeCount,
                WorkCloud& cloud);

}  // namespace sorvek
