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
    std::int32_t scanId = 0;   // scan id from the row
    double rotationDeg = 0.0;  // from the same row
};

// One row of the registration result file, as far as the rotation stage reads it.
struct RegistrationPair {
    std::int32_t firstId = 0;  // scan id of the row's first scan
    double firstRotationDeg = 0.0;
    std::int32_t secondId = 0;  // scan id of the row's second scan
    double secondRotationDeg = 0.0;
    double rms = 0.0;              // the solver's RMS, or the initial RMS in the zero form
    std::uint32_t pointCount = 0;  // the row's point count
};

// Two entries for every line after the head line of regPath; 0 when it cannot be opened.
std::int32_t countRotationRows(const std::string& regPath);

// The rows of regPath in file order, entryCount / 2 of them; none when entryCount is 0
// or less.
std::vector<RegistrationPair> loadRegistrationPairs(const std::string& regPath,
                                                    std::int32_t entryCount);

// Two entries for every row, its first scan's then its second scan's, in file order.
std::vector<RotationEntry> rotationEntriesOf(std::span<const RegistrationPair> pairs);

// What the table holds for one scan. With no entry, count is 0 and the rest 0.0.
struct RotationStats {
    std::int32_t count = 0;    // entries of the scan
    double meanDeg = 0.0;      // their mean, the rotation the stage applies
    double spreadDeg = 0.0;    // greatest minus least
    double leastDeg = 0.0;     // the least entry
    double greatestDeg = 0.0;  // the greatest entry
};

// The entries of `scanId`, without a word on the console.
RotationStats rotationStatsOf(std::span<const RotationEntry> table, std::int32_t scanId);

// Mean rotation of `scanId` in degrees, 0.0 when it has none (with a message).
double averageRotation(std::span<const RotationEntry> table, std::int32_t scanId,
                       std::int32_t& rotationCount, double& rotationSpreadDeg);

// The counting pass over any stream: two for every physical line after the head line,
// however long it is; an unterminated last line counts too. Saturates at the largest
// even 32-bit count.
std::int32_t countRotationLines(std::istream& in);

// The loading pass over any stream positioned at the head line: entryCount / 2 rows (none
// when entryCount is 0 or less). A field that does not parse leaves it and every later
// field at zero. Safe on arbitrary bytes.
std::vector<RegistrationPair> readRegistrationPairs(std::istream& in, std::int32_t entryCount);

}  // namespace sorvek
