#include "output/rotation_table.h"

// The rotation stage never sees the solvers' results in memory: it reads them back from
// the registration result file, which in a rotation-only run comes from an earlier run.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <limits>

namespace sorvek {
namespace {

constexpr std::int64_t largestEntryCount = std::numeric_limits<std::int32_t>::max() - 1;

// The head line and the rest of a row are discarded up to their line end whatever their
// length, so that loading walks the same physical lines that counting counted.
void skipLine(std::istream& in) { in.ignore(std::numeric_limits<std::streamsize>::max(), '\n'); }

// A field is committed only when it converts: a failed field keeps its zero, and the
// stream, once failed, stays failed for every later field and row.
template <typename Number>
void readField(std::istream& in, Number& field) {
    Number value{};
    if (in >> value) field = value;
}

// One separator: the next character after any white space, whatever it is.
void readSeparator(std::istream& in) {
    char separator = 0;
    in >> separator;
}

// The RMS and point count are kept for the adjustment; the iteration column is never
// parsed.
RegistrationPair readRow(std::istream& in) {
    RegistrationPair row;
    readField(in, row.firstId);
    readSeparator(in);
    readField(in, row.firstRotationDeg);
    readSeparator(in);
    readField(in, row.secondId);
    readSeparator(in);
    readField(in, row.secondRotationDeg);
    readSeparator(in);
    readField(in, row.rms);
    readSeparator(in);
    readField(in, row.pointCount);
    skipLine(in);
    return row;
}

}  // namespace

std::int32_t countRotationLines(std::istream& in) {
    std::istreambuf_iterator<char> next(in);
    const std::istreambuf_iterator<char> end;
    while (next != end && *next != '\n') ++next;  // the head line is not counted
    if (next == end) return 0;
    ++next;
    std::int64_t lineCount = 0;
    bool lineIsOpen = false;
    for (; next != end; ++next) {
        if (*next == '\n') {
            ++lineCount;
            lineIsOpen = false;
        } else {
            lineIsOpen = true;
        }
    }
    if (lineIsOpen) ++lineCount;
    const std::int64_t entryCount = lineCount * 2;
    return static_cast<std::int32_t>(entryCount > largestEntryCount ? largestEntryCount
                                                                    : entryCount);
}

std::vector<RegistrationPair> readRegistrationPairs(std::istream& in, std::int32_t entryCount) {
    if (entryCount <= 0) return {};
    std::vector<RegistrationPair> pairs(static_cast<std::size_t>(entryCount / 2));
    skipLine(in);
    for (RegistrationPair& pair : pairs) pair = readRow(in);
    return pairs;
}

std::vector<RotationEntry> rotationEntriesOf(std::span<const RegistrationPair> pairs) {
    std::vector<RotationEntry> table;
    table.reserve(pairs.size() * 2);
    for (const RegistrationPair& pair : pairs) {
        table.push_back({pair.firstId, pair.firstRotationDeg});
        table.push_back({pair.secondId, pair.secondRotationDeg});
    }
    return table;
}

std::int32_t countRotationRows(const std::string& regPath) {
    std::ifstream in(regPath);
    if (!in) {
        std::printf("Unable to open data file at %s \n", regPath.c_str());
        return 0;
    }
    return countRotationLines(in);
}

std::vector<RegistrationPair> loadRegistrationPairs(const std::string& regPath,
                                                    std::int32_t entryCount) {
    std::ifstream in(regPath);
    if (entryCount <= 0) {
        std::printf("NO POINTS in file!!!!!  \n");
        return {};
    }
    if (!in) {
        std::printf("Unable to open data file at %s \n", regPath.c_str());
        return {};
    }
    std::printf("Loading data from file %s \n", regPath.c_str());
    return readRegistrationPairs(in, entryCount);
}

RotationStats rotationStatsOf(std::span<const RotationEntry> table, std::int32_t scanId) {
    double greatest = -999.0;
    double least = 999.0;
    double sum = 0.0;
    std::int32_t found = 0;
    for (const RotationEntry& entry : table) {
        if (entry.scanId != scanId) continue;
        const double rotationDeg = entry.rotationDeg;
        if (rotationDeg > greatest) greatest = rotationDeg;
        if (least > rotationDeg) least = rotationDeg;
        sum += rotationDeg;
        ++found;
    }
    RotationStats stats;
    if (found == 0) return stats;
    stats.count = found;
    stats.meanDeg = sum / static_cast<double>(found);
    stats.spreadDeg = greatest - least;
    stats.leastDeg = least;
    stats.greatestDeg = greatest;
    return stats;
}

double averageRotation(std::span<const RotationEntry> table, std::int32_t scanId,
                       std::int32_t& rotationCount, double& rotationSpreadDeg) {
    const RotationStats stats = rotationStatsOf(table, scanId);
    rotationCount = stats.count;
    rotationSpreadDeg = stats.spreadDeg;
    if (stats.count == 0) {
        std::printf("%i has no rotations, so the rotation will not be performed \n", scanId);
    }
    return stats.meanDeg;
}

}  // namespace sorvek
