#pragma once
// Where the vertices of a PLY file lie once its header is read: as fixed records that can
// be read in bulk, or else read item by item (text, or binary with lists).

#include <optional>
#include <vector>

#include "points/byte_source.h"
#include "points/ply_header.h"
#include "points/point_records.h"

namespace sorvek {

// For a binary file whose elements up to the vertex element hold no lists: the vertices as
// fixed records, or nullopt with header.problem set to pastEnd when they do not fit in the
// file. nullopt with no problem for any other file.
std::optional<RecordLayout> fixedPlyVertices(PlyHeader& header, std::int64_t fileSize);

// Reads every vertex's x, y and z item by item from `source`, which stands right behind
// the header. On failure header.problem says why and `points` holds what was read.
void readPlyVertices(ByteSource& source, PlyHeader& header, std::vector<Point3>& points);

}  // namespace sorvek
