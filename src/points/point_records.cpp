#include "points/point_records.h"

#include <bit>
#include <cstring>

// Files are read in their own byte order, whatever the machine's, so that a file reads the
// same everywhere.
namespace sorvek {
namespace {

std::uint32_t swapBytes(std::uint32_t value) { return __builtin_bswap32(value); }
std::uint64_t swapBytes(std::uint64_t value) { return __builtin_bswap64(value); }

// An unsigned number stored in `order`, the file's byte order.
template <typename Unsigned, std::endian order>
Unsigned storedAt(const std::uint8_t* bytes) {
    Unsigned value = 0;
    std::memcpy(&value, bytes, sizeof value);
    if constexpr (std::endian::native != order) value = swapBytes(value);
    return value;
}

template <typename Unsigned>
Unsigned littleEndianAt(const std::uint8_t* bytes) {
    return storedAt<Unsigned, std::endian::little>(bytes);
}

template <typename Unsigned>
Unsigned bigEndianAt(const std::uint8_t* bytes) {
    return storedAt<Unsigned, std::endian::big>(bytes);
}

// One coordinate of every record, column by column: the encoding is chosen once per column,
// not once per point.
template <typename Decode>
void decodeColumn(std::span<const std::uint8_t> records, std::size_t recordLength,
                  std::size_t offset, std::span<Point3> out, double Point3::*coordinate,
                  Decode decode) {
    const std::uint8_t* record = records.data() + offset;
    for (Point3& point : out) {
        point.*coordinate = decode(record);
        record += recordLength;
    }
}

void decodeField(std::span<const std::uint8_t> records, std::size_t recordLength,
                 const CoordinateField& field, std::span<Point3> out, double Point3::*coordinate) {
    const std::size_t at = field.offset;
    switch (field.encoding) {
    case FieldEncoding::scaledInt32Little: {
        const double scale = field.scale;
        const double shift = field.shift;
        decodeColumn(records, recordLength, at, out, coordinate, [=](const std::uint8_t* p) {
            const auto integer = std::bit_cast<std::int32_t>(littleEndianAt<std::uint32_t>(p));
            return (static_cast<double>(integer) * scale) + shift;
        });
        break;
    }
    case FieldEncoding::float32Little:
        decodeColumn(records, recordLength, at, out, coordinate, [](const std::uint8_t* p) {
            return static_cast<double>(std::bit_cast<float>(littleEndianAt<std::uint32_t>(p)));
        });
        break;
    case FieldEncoding::float32Big:
        decodeColumn(records, recordLength, at, out, coordinate, [](const std::uint8_t* p) {
            return static_cast<double>(std::bit_cast<float>(bigEndianAt<std::uint32_t>(p)));
        });
        break;
    case FieldEncoding::float64Little:
        decodeColumn(records, recordLength, at, out, coordinate,
                     [](const std::uint8_t* p) { return loadLittleDouble(p); });
        break;
    case FieldEncoding::float64Big:
        decodeColumn(records, recordLength, at, out, coordinate, [](const std::uint8_t* p) {
            return std::bit_cast<double>(bigEndianAt<std::uint64_t>(p));
        });
        break;
    }
}

}  // namespace

std::uint16_t loadLittle16(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
}

std::uint32_t loadLittle32(const std::uint8_t* bytes) {
    return littleEndianAt<std::uint32_t>(bytes);
}

std::uint64_t loadLittle64(const std::uint8_t* bytes) {
    return littleEndianAt<std::uint64_t>(bytes);
}

double loadLittleDouble(const std::uint8_t* bytes) {
    return std::bit_cast<double>(littleEndianAt<std::uint64_t>(bytes));
}

void decodeRecords(std::span<const std::uint8_t> records, const RecordLayout& layout,
                   std::span<Point3> out) {
    const auto recordLength = static_cast<std::size_t>(layout.recordLength);
    decodeField(records, recordLength, layout.fields[0], out, &Point3::x);
    decodeField(records, recordLength, layout.fields[1], out, &Point3::y);
    decodeField(records, recordLength, layout.fields[2], out, &Point3::z);
}

}  // namespace sorvek
