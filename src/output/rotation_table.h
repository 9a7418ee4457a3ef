#pragma once
// The registration result file read back as (scan id, rotation) entries, and the mean,
// count and spread of one scan's rotations.

#include <cstdint>
#include <istream>
#include <span>
#include <vector>

#include "run/records.h"

namespace sorvek {

struct RotationEntry {
    std::int32_t scanId = 0;  // scan id from the row
    double rotation = 0.0;    // degrees, from the same row
};

// Two entries for every line after the head line of regPath; 0 when it cannot be opened.
std::int32_t countRotationRows(const Run& run);

// The table in file order; empty when entryCount is 0 or less.
std::vector<RotationEntry> loadRotationTable(const Run& run, std::int32_t entryCount);

// What the table holds for one scan. With no entry, count is 0 and the rest 0.0.
struct RotationStats {
    std::int32_t count = 0;     // entries of the scan
    double meanDeg = 0.0;       // their mean, the rotation the stage applies
    double spreadDeg = 0.0;     // greatest minus least
    double leastDeg = 0.0;      // the least entry
    double greatestDeg = 0.0;   // the greatest entry
};

// The entries of `scanId`, without a word on the console.
RotationStats rotationStatsOf(std::span<const RotationEntry> table, std::int32_t scanId);

// Mean rotation of `scanId` in degrees, 0.0 when it has none (with a message).
double averageRotation(std::span<const RotationEntry> table, std::int32_t scanId,
                       std::int32_t& rotationCount, double& rotationSpread);

// The counting pass over any stream: two for every physical line after the head line,
// however long it is; an unterminated last line counts too. Saturates at the largest
// even 32-bit count.
std::int32_t countRotationLines(std::istream& in);

// The loading pass over any stream positioned at the head line: a table of `entryCount`
// entries (none when it is 0 or less), filled from entryCount / 2 rows. A field that does
// not parse leaves it and the rest of the table at zero. Safe on arbitrary bytes.
std::vector<RotationEntry> readRotationRows(std::istream& in, std::int32_t entryCount);

}  // namespace sorvek
