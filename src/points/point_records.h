#pragma once
// Fixed-size point records of LAS and binary PLY files: where x, y and z lie in a record,
// how they are encoded, and their decoding into coordinates.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "points/point_filter.h"

namespace sorvek {

enum class FieldEncoding {
    scaledInt32Little,  // LAS: (integer * scale) + shift
    float32Little,
    float32Big,
    float64Little,
    float64Big,
};

// One coordinate within a record.
struct CoordinateField {
    std::size_t offset = 0;  // bytes from the start of the record
    FieldEncoding encoding = FieldEncoding::float64Little;
    double scale = 1.0;  // scaledInt32Little only
    double shift = 0.0;  // scaledInt32Little only
};

// Points stored as `pointCount` records of `recordLength` bytes from `dataOffset` on.
struct RecordLayout {
    std::int64_t dataOffset = 0;    // bytes from the start of the file
    std::int64_t recordLength = 0;  // bytes per record; each field lies wholly inside it
    std::int64_t pointCount = 0;
    std::array<CoordinateField, 3> fields;  // x, y, z
};

// Unsigned integers and doubles stored least significant byte first.
std::uint16_t loadLittle16(const std::uint8_t* bytes);
std::uint32_t loadLittle32(const std::uint8_t* bytes);
std::uint64_t loadLittle64(const std::uint8_t* bytes);
double loadLittleDouble(const std::uint8_t* bytes);

// Decodes out.size() whole records from `records` (which holds at least that many).
void decodeRecords(std::span<const std::uint8_t> records, const RecordLayout& layout,
                   std::span<Point3> out);

}  // namespace sorvek
