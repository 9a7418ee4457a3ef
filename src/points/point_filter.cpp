#include "points/point_filter.h"

#include <cmath>
#include <cstdio>

// Every reader that hands over coordinates goes through these few lines, so that the same
// coordinates give the same cloud, bounds, Cliff Distance and messages bit for bit, whether
// they came as decimal text or as LAS or PLY numbers.
namespace sorvek {
namespace {

bool passesBox(const PointFilter& filter, double x, double y, double z) {
    return filter.xMin <= x && x <= filter.xMax && filter.yMin <= y && y <= filter.yMax &&
           filter.zMin <= z && z <= filter.zMax;
}

// In run mode 5 there is no scanner, and the range is the middle of the allowed band.
// The offsets may be taken either way round and the squares summed in X, Y or Y, X order:
// a - b is exactly -(b - a) and a sum of two doubles does not depend on their order, so
// every form gives the same range to the last bit.
bool passesRange(const PointFilter& filter, double x, double y, double z) {
    double range = (filter.minRange + filter.maxRange) * 0.5;
    if (filter.hasScanner) {
        const double dx = x - filter.scanner.x;
        const double dy = y - filter.scanner.y;
        const double dz = z - filter.scanner.z;
        range = std::sqrt(((dx * dx) + (dy * dy)) + (dz * dz));
    }
    return filter.minRange <= range && range <= filter.maxRange;
}

void widenBounds(double value, double& least, double& greatest) {
    if (value > greatest)
        greatest = value;
    else if (least > value)
        least = value;
}

void filterPoint(const PointFilter& filter, double x, double y, double z, FilteredLoad& load,
                 Cloud& cloud) {
    if (filter.isTranslated) {
        x = x - filter.transX;
        y = y - filter.transY;
    }
    if (!load.hasFirstPoint) {
        load.hasFirstPoint = true;
        load.bounds.minX = load.bounds.maxX = x;
        load.bounds.minY = load.bounds.maxY = y;
        load.bounds.minZ = load.bounds.maxZ = z;
    }
    if (!passesBoxAndRange(filter, x, y, z)) return;
    PointRecord& point = cloud.emplace_back();
    point.x = x;
    point.y = y;
    point.z = z;
    ++load.storedCount;
    load.sumX += x;
    load.sumY += y;
    load.sumZ += z;
    widenBounds(x, load.bounds.minX, load.bounds.maxX);
    widenBounds(y, load.bounds.minY, load.bounds.maxY);
    widenBounds(z, load.bounds.minZ, load.bounds.maxZ);
}

}  // namespace

bool passesBoxAndRange(const PointFilter& filter, double x, double y, double z) {
    return passesBox(filter, x, y, z) && passesRange(filter, x, y, z);
}

PointFilter pointFilterFor(const Run& run, double zMin, const Point3& scanner) {
    const RunOptions& options = run.options;
    PointFilter filter;
    filter.isTranslated = !run.state.rmsPhase && options.FILEEXT == 0;
    filter.transX = options.TRANSX;
    filter.transY = options.TRANSY;
    filter.xMin = options.XMIN;
    filter.xMax = options.XMAX;
    filter.yMin = options.YMIN;
    filter.yMax = options.YMAX;
    filter.zMin = zMin;
    filter.zMax = options.ZMAX;
    filter.hasScanner = run.state.runMode != 5;
    filter.minRange = options.MINRANGE;
    filter.maxRange = options.MAXRANGE;
    filter.scanner = scanner;
    return filter;
}

void takePoints(const PointFilter& filter, std::span<const Point3> points, FilteredLoad& load,
                Cloud& cloud) {
    // Local copies keep the limits, sums and bounds in registers: the stores into the cloud
    // could otherwise alias them.
    const PointFilter limits = filter;
    FilteredLoad local = load;
    for (const Point3& point : points) {
        filterPoint(limits, point.x, point.y, point.z, local, cloud);
    }
    load = local;
}

void takePoint(const PointFilter& filter, const Point3& point, FilteredLoad& load, Cloud& cloud) {
    filterPoint(filter, point.x, point.y, point.z, load, cloud);
}

// The Cliff Distance is the distance from the scanner to the mean of the kept points: how
// far off, taken together, the surfaces the scan saw stand. A pair's RMS row reports the
// mean of its two scans' as the pair's range.
void finishFilteredLoad(const PointFilter& filter, const FilteredLoad& load, CloudBounds& bounds,
                        double& cliffDistance) {
    if (filter.hasScanner) {
        const double n = static_cast<double>(load.storedCount);
        const double dx = load.sumX / n - filter.scanner.x;
        const double dy = load.sumY / n - filter.scanner.y;
        const double dz = load.sumZ / n - filter.scanner.z;
        cliffDistance = std::sqrt(((dx * dx) + (dy * dy)) + (dz * dz));
        std::printf("Cliff Distance %lf \n", cliffDistance);
    }
    bounds = load.bounds;
    bounds.count = load.storedCount;
    std::printf("Finished loading %i points\n", load.storedCount);
}

}  // namespace sorvek
