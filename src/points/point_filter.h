#pragma once
// The loading filter of every reader that takes coordinates one by one (text, LAS, PLY):
// translation, the box and range limits, the running bounds, the Cliff Distance.

#include <cstdint>
#include <span>

#include "points/point3.h"
#include "run/records.h"

namespace sorvek {

// The scanner of a scan: its GPS position, which the range and the Cliff Distance are
// measured from.
inline Point3 scannerOf(const ScanRecord& scan) { return {scan.gpsX, scan.gpsY, scan.gpsZ}; }

// The options and run state the filter reads, fixed once per file.
struct PointFilter {
    bool isTranslated = false;  // TRANSX and TRANSY come off: registration phase, FILEEXT 0
    double transX = 0.0;        // TRANSX
    double transY = 0.0;        // TRANSY
    double xMin = 0.0;          // box limits, all inclusive; zMin is the caller's
    double xMax = 0.0;
    double yMin = 0.0;
    double yMax = 0.0;
    double zMin = 0.0;
    double zMax = 0.0;
    bool hasScanner = false;  // false in run mode 5: no range from a scanner, no Cliff Distance
    double minRange = 0.0;    // MINRANGE, inclusive
    double maxRange = 0.0;    // MAXRANGE, inclusive
    Point3 scanner;           // gpsX, gpsY, gpsZ, for the range and the Cliff Distance
};

// What a load gathers besides the points themselves.
struct FilteredLoad {
    std::int32_t storedCount = 0;  // points kept
    double sumX = 0.0;             // sums of the kept coordinates, for the Cliff Distance
    double sumY = 0.0;
    double sumZ = 0.0;
    CloudBounds bounds;  // running bounds; seeded by the first point read
    bool hasFirstPoint = false;
};

PointFilter pointFilterFor(const Run& run, double zMin, const Point3& scanner);

// True when the point lies in the box and then within the range band, every limit
// inclusive. The loading asks it of each translated point, and the rotation stage of
// each point it is about to write.
bool passesBoxAndRange(const PointFilter& filter, double x, double y, double z);

// Each point in file order: translated, made the seed of the bounds if it is the first,
// then kept (appended to `cloud`) only if it passes the box and the range. A rejected
// first point therefore still widens the bounds.
void takePoints(const PointFilter& filter, std::span<const Point3> points, FilteredLoad& load,
                Cloud& cloud);

// takePoints for one point, without the set-up that pays off over many.
void takePoint(const PointFilter& filter, const Point3& point, FilteredLoad& load, Cloud& cloud);

// The closing steps of every load, whatever happened before: the Cliff Distance (not in
// run mode 5; 0 / 0 gives not a number when nothing was kept), `bounds`, and
// "Finished loading %i points\n".
void finishFilteredLoad(const PointFilter& filter, const FilteredLoad& load, CloudBounds& bounds,
                        double& cliffDistance);

}  // namespace sorvek
