#include "points/text_reader.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <optional>

// Two passes over a delimited text file: the first counts the lines that may be points so
// that the array is allocated once, the second scans, translates, filters and stores.
// Lines are read in pieces of at most 255 characters; each piece counts as a line.
namespace sorvek {
namespace {

constexpr int lineBufferSize = 256;

// Comment and header lines are known by their first byte alone.
bool mayHoldPoint(const char* line) {
    return line[0] != '#' && line[0] != 'x' && line[0] != 'X';
}

// Lines that may hold a point, or nullopt when the file does not open. A count beyond
// what 32 bits hold is refused like a file that does not open.
std::optional<std::int32_t> countPointLines(const std::string& path) {
    FileHandle file = openFile(path, "r");
    if (!file) return std::nullopt;
    char line[lineBufferSize];
    std::int64_t lineCount = 0;
    while (std::fgets(line, lineBufferSize, file.get()) != nullptr) {
        if (mayHoldPoint(line)) ++lineCount;
    }
    if (lineCount > INT32_MAX) return std::nullopt;
    return static_cast<std::int32_t>(lineCount);
}

struct ScanPosition {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

// What the second pass gathers besides the points themselves.
struct TextLoad {
    std::int32_t storedCount = 0;  // points kept
    double sumX = 0.0;             // sums of the kept coordinates, for the Cliff Distance
    double sumY = 0.0;
    double sumZ = 0.0;
    CloudBounds bounds;            // running bounds; set by the first line that scans
    bool hasFirstPoint = false;
};

bool passesBoxFilter(const RunOptions& options, double x, double y, double z, double zMin) {
    return options.XMIN <= x && x <= options.XMAX && options.YMIN <= y && y <= options.YMAX &&
           zMin <= z && z <= options.ZMAX;
}

// In run mode 5 there is no scanner, and the range is the middle of the allowed band.
bool passesRangeFilter(const Run& run, double x, double y, double z, const ScanPosition& scan) {
    const RunOptions& options = run.options;
    double range = (options.MINRANGE + options.MAXRANGE) * 0.5;
    if (run.state.runMode != 5) {
        const double dx = x - scan.x;
        const double dy = y - scan.y;
        const double dz = z - scan.z;
        range = std::sqrt(dx * dx + dy * dy + dz * dz);
    }
    return options.MINRANGE <= range && range <= options.MAXRANGE;
}

void widenBounds(double value, double& least, double& greatest) {
    if (value > greatest) greatest = value;
    else if (least > value) least = value;
}

void storePoint(TextLoad& load, Cloud& cloud, double x, double y, double z) {
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

// The first point seeds the bounds before any filter sees it, so a rejected first point
// still widens them.
void takeLine(const Run& run, const char* line, TextLoad& load, Cloud& cloud, double zMin,
              const ScanPosition& scan) {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    char separator1 = 0;
    char separator2 = 0;
    if (std::sscanf(line, "%lf%c%lf%c%lf", &x, &separator1, &y, &separator2, &z) != 5) return;
    if (!run.state.rmsPhase && run.options.FILEEXT == 0) {
        x = x - run.options.TRANSX;
        y = y - run.options.TRANSY;
    }
    if (!load.hasFirstPoint) {
        load.hasFirstPoint = true;
        load.bounds.minX = load.bounds.maxX = x;
        load.bounds.minY = load.bounds.maxY = y;
        load.bounds.minZ = load.bounds.maxZ = z;
    }
    if (!passesBoxFilter(run.options, x, y, z, zMin)) return;
    if (!passesRangeFilter(run, x, y, z, scan)) return;
    storePoint(load, cloud, x, y, z);
}

// The array never grows past the first pass's count, even if the file grew meanwhile.
void loadPointLines(const Run& run, std::FILE* file, std::int32_t lineCount, TextLoad& load,
                    Cloud& cloud, double zMin, const ScanPosition& scan) {
    char line[lineBufferSize];
    while (load.storedCount < lineCount && std::fgets(line, lineBufferSize, file) != nullptr) {
        if (mayHoldPoint(line)) takeLine(run, line, load, cloud, zMin, scan);
    }
}

// Taken on every path. With no point stored the mean is 0 / 0 and the Cliff Distance is
// not a number; the platform prints it as it will.
void finishTextLoad(const Run& run, const TextLoad& load, CloudBounds& bounds,
                    double& cliffDistance, const ScanPosition& scan) {
    if (run.state.runMode != 5) {
        const double n = static_cast<double>(load.storedCount);
        const double dx = load.sumX / n - scan.x;
        const double dy = load.sumY / n - scan.y;
        const double dz = load.sumZ / n - scan.z;
        cliffDistance = std::sqrt(dx * dx + dy * dy + dz * dz);
        std::printf("Cliff Distance %lf \n", cliffDistance);
    }
    bounds = load.bounds;
    bounds.count = load.storedCount;
    std::printf("Finished loading %i points\n", load.storedCount);
}

}  // namespace

bool readTextPoints(const Run& run, const std::string& path, Cloud& cloud, CloudBounds& bounds,
                    double& cliffDistance, double zMin, double scanX, double scanY, double scanZ) {
    cloud.clear();
    const ScanPosition scan{scanX, scanY, scanZ};
    TextLoad load;
    const std::optional<std::int32_t> lineCount = countPointLines(path);
    if (!lineCount) {
        std::printf("UNABLE TO OPEN FILE %s \n", path.c_str());
        std::printf("NO POINTS in file!!!!!  \n");
        finishTextLoad(run, load, bounds, cliffDistance, scan);
        return false;
    }
    if (*lineCount == 0) {
        std::printf("NO POINTS in file!!!!!  \n");
        finishTextLoad(run, load, bounds, cliffDistance, scan);
        return false;
    }
    FileHandle file = openFile(path, "r");
    if (!file) {
        std::printf("Unable to open data file at %s \n", path.c_str());
        finishTextLoad(run, load, bounds, cliffDistance, scan);
        return false;
    }
    std::printf("Loading %i points from file %s \n", *lineCount, path.c_str());
    cloud.reserve(static_cast<std::size_t>(*lineCount));
    loadPointLines(run, file.get(), *lineCount, load, cloud, zMin, scan);
    file.reset();
    finishTextLoad(run, load, bounds, cliffDistance, scan);
    return true;
}

}  // namespace sorvek
