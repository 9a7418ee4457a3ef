#include "points/point_loading.h"

#include <cstdio>

#include "points/binary_reader.h"
#include "points/exchange_points.h"
#include "points/point_file_kind.h"
#include "points/text_reader.h"

// Pair preparation, the rotation stage's binary path and the export all meet point files
// here, so that a file's kind is judged one way everywhere.
namespace sorvek {
namespace {

// The text reader's course for coordinates that come as numbers: the header's count
// stands where the text reader announces its counted lines.
double loadExchangeFile(const Run& run, const std::string& path, PointFileKind kind,
                        const Point3& scanner, Cloud& cloud, CloudBounds& bounds) {
    cloud.clear();
    ExchangePoints points;
    if (!openExchangePoints(path, kind, points)) {
        bounds = CloudBounds{};
        return 0.0;
    }
    const PointFilter filter = pointFilterFor(run, run.options.ZMIN, scanner);
    FilteredLoad load;
    double cliffDistance = 0.0;
    if (points.pointCount == 0) {
        std::printf("NO POINTS in file!!!!!  \n");
    } else {
        std::printf("Loading %i points from file %s \n", points.pointCount, path.c_str());
        cloud.reserve(static_cast<std::size_t>(points.pointCount));
        for (auto chunk = nextExchangeChunk(points); !chunk.empty();
             chunk = nextExchangeChunk(points)) {
            takePoints(filter, chunk, load, cloud);
        }
    }
    finishFilteredLoad(filter, load, bounds, cliffDistance);
    return cliffDistance;
}

}  // namespace

double loadPointFile(const Run& run, const std::string& path, const Point3& scanner, Cloud& cloud,
                     CloudBounds& bounds, bool textAfterEmptyBinary) {
    const PointFileKind kind = pointFileKindOf(path);
    if (isExchangeKind(kind)) return loadExchangeFile(run, path, kind, scanner, cloud, bounds);
    if (kind == PointFileKind::binary) {
        readBinaryPoints(path, cloud);
        if (!cloud.empty() || !textAfterEmptyBinary) {
            bounds.count = static_cast<std::int32_t>(cloud.size());  // the reader stops below 2^31
            return 0.0;
        }
    }
    double cliffDistance = 0.0;
    readTextPoints(run, path, cloud, bounds, cliffDistance, run.options.ZMIN, scanner);
    return cliffDistance;
}

}  // namespace sorvek
