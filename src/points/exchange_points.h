#pragma once
// LAS and PLY point files, and the kinds that are refused: opened with every header
// number checked against the file, then read as coordinates in chunks.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "points/point_file_kind.h"
#include "points/point_filter.h"
#include "points/point_records.h"

namespace sorvek {

// An open exchange file. Its points come either as fixed records read in bulk (LAS,
// binary PLY without lists) or, read whole while the file was checked, from heldPoints.
struct ExchangePoints {
    FileHandle file;
    std::int32_t pointCount = 0;           // points the file holds, as its header says
    RecordLayout layout;                   // the fixed records
    bool isHeld = false;                   // the points are in heldPoints
    std::vector<Point3> heldPoints;        // text PLY and PLY with lists
    std::int64_t pointsDelivered = 0;      // points handed out so far
    std::vector<std::uint8_t> chunkBytes;  // records of the chunk in hand
    std::vector<Point3> chunk;             // their coordinates
};

// Opens a LAS or PLY file and checks it whole against its header, or refuses it (and any
// E57 file) with one line on standard output. False when refused or not opened.
bool openExchangePoints(const std::string& path, PointFileKind kind, ExchangePoints& points);

// The next points in file order, at most a few thousand; empty once all are delivered or
// the file ended early. The span lives until the next call.
std::span<const Point3> nextExchangeChunk(ExchangePoints& points);

}  // namespace sorvek
