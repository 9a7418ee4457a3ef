#include "points/text_reader.h"

#include <cstdint>
#include <cstdio>
#include <optional>

#include "points/point_filter.h"

// Two passes over a delimited text file: the first counts the lines that may be points so
// that the array is allocated once, the second scans, translates, filters and stores.
// Lines are read in pieces of at most 255 characters; each piece counts as a line.
namespace sorvek {
namespace {

constexpr int lineBufferSize = 256;

// Lines that may hold a point, or nullopt when the file does not open. A count beyond
// what 32 bits hold is refused like a file that does not open.
std::optional<std::int32_t> countPointLines(const std::string& path) {
    FileHandle file = openFile(path, "r");
    if (!file) return std::nullopt;
    char line[lineBufferSize];
    std::int64_t lineCount = 0;
    while (std::fgets(line, lineBufferSize, file.get()) != nullptr) {
        if (!isCommentStart(line[0])) ++lineCount;
    }
    if (lineCount > INT32_MAX) return std::nullopt;
    return static_cast<std::int32_t>(lineCount);
}

// A line is a point if and only if one scan of "%lf%c%lf%c%lf" converts all five items.
void takeLine(const PointFilter& filter, const char* line, FilteredLoad& load, Cloud& cloud) {
    Point3 point;
    char separator1 = 0;
    char separator2 = 0;
    if (std::sscanf(line, "%lf%c%lf%c%lf", &point.x, &separator1, &point.y, &separator2,
                    &point.z) != 5) {
        return;
    }
    takePoint(filter, point, load, cloud);
}

// The array never grows past the first pass's count, even if the file grew meanwhile.
void loadPointLines(const PointFilter& filter, std::FILE* file, std::int32_t lineCount,
                    FilteredLoad& load, Cloud& cloud) {
    char line[lineBufferSize];
    while (load.storedCount < lineCount && std::fgets(line, lineBufferSize, file) != nullptr) {
        if (!isCommentStart(line[0])) takeLine(filter, line, load, cloud);
    }
}

}  // namespace

bool isCommentStart(char first) { return first == '#' || first == 'x' || first == 'X'; }

bool isCommentLine(std::string_view line) { return !line.empty() && isCommentStart(line[0]); }

bool readTextPoints(const Run& run, const std::string& path, Cloud& cloud, CloudBounds& bounds,
                    double& cliffDistance, double zMin, const Point3& scanner) {
    cloud.clear();
    const PointFilter filter = pointFilterFor(run, zMin, scanner);
    FilteredLoad load;
    const std::optional<std::int32_t> lineCount = countPointLines(path);
    if (!lineCount) {
        std::printf("UNABLE TO OPEN FILE %s \n", path.c_str());
        std::printf("NO POINTS in file!!!!!  \n");
        finishFilteredLoad(filter, load, bounds, cliffDistance);
        return false;
    }
    if (*lineCount == 0) {
        std::printf("NO POINTS in file!!!!!  \n");
        finishFilteredLoad(filter, load, bounds, cliffDistance);
        return false;
    }
    FileHandle file = openFile(path, "r");
    if (!file) {
        std::printf("Unable to open data file at %s \n", path.c_str());
        finishFilteredLoad(filter, load, bounds, cliffDistance);
        return false;
    }
    std::printf("Loading %i points from file %s \n", *lineCount, path.c_str());
    cloud.reserve(static_cast<std::size_t>(*lineCount));
    loadPointLines(filter, file.get(), *lineCount, load, cloud);
    file.reset();
    finishFilteredLoad(filter, load, bounds, cliffDistance);
    return true;
}

}  // namespace sorvek
