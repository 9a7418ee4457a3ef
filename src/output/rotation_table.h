#pragma once
// The registration result file read back as (scan id, rotation) entries.

#include <cstdint>
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

// Mean rotation of `scanId` in degrees, 0.0 when it has none (with a message).
double averageRotation(std::span<const RotationEntry> table, std::int32_t scanId,
                       std::int32_t& rotationCount, double& rotationSpread);

}  // namespace sorvek
