#include "points/las_header.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>

// Every number of the header that decides where a point lies is checked before a single
// point is read, so that a damaged or foreign file is refused with one plain line instead
// of being read as garbage. Variable-length records, before or after the points, are
// skipped unread: the offset to the point data says where the points begin.
namespace sorvek {
namespace {

constexpr std::int64_t smallestHeader = 227;                         // LAS 1.0 to 1.2
constexpr std::uint32_t headerSizeOf[] = {227, 227, 227, 235, 375};  // by minor version
// The least record length of each point data format: X, Y, Z as 32-bit integers first,
// then the format's own fields.
constexpr std::uint32_t leastRecordLength[] = {20, 28, 26, 34, 57, 63, 30, 36, 38, 59, 67};
constexpr std::uint32_t compressionBits = 0xC0;  // either marks a LAZ file
constexpr std::uint64_t mostPoints = INT32_MAX;

bool isUsableScale(double scale) { return std::isfinite(scale) && scale != 0.0; }

CoordinateField scaledField(std::size_t offset, double scale, double shift) {
    CoordinateField field;
    field.offset = offset;
    field.encoding = FieldEncoding::scaledInt32Little;
    field.scale = scale;
    field.shift = shift;
    return field;
}

// The checks that need no more than the header's own fields, in the order a reader meets
// the fields. The caller has made sure that `head` holds the smallest header.
LasProblem checkLayoutFields(std::span<const std::uint8_t> head, std::int64_t fileSize,
                             LasHeader& header) {
    const std::uint8_t* bytes = head.data();
    header.versionMajor = bytes[24];
    header.versionMinor = bytes[25];
    header.headerSize = loadLittle16(bytes + 94);
    const std::uint32_t formatByte = bytes[104];
    header.pointFormat = formatByte & ~compressionBits;
    header.recordLength = loadLittle16(bytes + 105);
    if ((formatByte & compressionBits) != 0) return LasProblem::compressed;
    if (header.versionMajor != 1 || header.versionMinor > 4) return LasProblem::version;
    if (header.headerSize < headerSizeOf[header.versionMinor]) return LasProblem::headerTooSmall;
    if (header.headerSize > fileSize) return LasProblem::cutShort;
    if (header.pointFormat > 10) return LasProblem::pointFormat;
    if (header.recordLength < leastRecordLength[header.pointFormat]) {
        return LasProblem::recordTooShort;
    }
    if (loadLittle32(bytes + 96) < header.headerSize) return LasProblem::dataInsideHeader;
    return LasProblem::none;
}

// The point count, and whether the file has room for that many records.
LasProblem checkPointCount(std::span<const std::uint8_t> head, std::int64_t fileSize,
                           LasHeader& header) {
    const std::uint8_t* bytes = head.data();
    const std::uint64_t legacyCount = loadLittle32(bytes + 107);
    const std::uint64_t wideCount = header.versionMinor >= 4 ? loadLittle64(bytes + 247) : 0;
    if (legacyCount != 0 && wideCount != 0 && legacyCount != wideCount) {
        header.pointCount = wideCount;
        return LasProblem::countsDiffer;
    }
    header.pointCount = wideCount != 0 ? wideCount : legacyCount;
    const std::int64_t dataOffset = loadLittle32(bytes + 96);
    header.pointRoom = dataOffset > fileSize ? 0 : (fileSize - dataOffset) / header.recordLength;
    if (header.pointCount > mostPoints) return LasProblem::tooManyPoints;
    if (header.pointCount > static_cast<std::uint64_t>(header.pointRoom)) {
        return LasProblem::pastEnd;
    }
    return LasProblem::none;
}

LasProblem checkScales(std::span<const std::uint8_t> head, LasHeader& header) {
    const std::uint8_t* bytes = head.data();
    RecordLayout& layout = header.layout;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double scale = loadLittleDouble(bytes + 131 + (8 * axis));
        const double shift = loadLittleDouble(bytes + 155 + (8 * axis));
        if (!isUsableScale(scale) || !std::isfinite(shift)) return LasProblem::badScale;
        layout.fields[axis] = scaledField(4 * axis, scale, shift);
    }
    layout.dataOffset = loadLittle32(bytes + 96);
    layout.recordLength = header.recordLength;
    layout.pointCount = static_cast<std::int64_t>(header.pointCount);
    return LasProblem::none;
}

}  // namespace

LasHeader checkLasHeader(std::span<const std::uint8_t> head, std::int64_t fileSize) {
    LasHeader header;
    if (fileSize < smallestHeader || head.size() < static_cast<std::size_t>(smallestHeader)) {
        header.problem = LasProblem::cutShort;
        return header;
    }
    header.problem = checkLayoutFields(head, fileSize, header);
    if (header.problem == LasProblem::none) {
        header.problem = checkPointCount(head, fileSize, header);
    }
    if (header.problem == LasProblem::none) header.problem = checkScales(head, header);
    return header;
}

void printLasRefusal(const std::string& path, const LasHeader& header) {
    const char* name = path.c_str();
    if (header.problem == LasProblem::none) return;
    if (header.problem == LasProblem::compressed) {
        std::printf("%s is a compressed LAZ file: decompress it to LAS first \n", name);
        return;
    }
    std::printf("%s is a LAS file that cannot be read: ", name);
    switch (header.problem) {
    case LasProblem::none:
    case LasProblem::compressed: break;
    case LasProblem::cutShort: std::printf("the file ends inside its header \n"); break;
    case LasProblem::version:
        std::printf("version %" PRIu32 ".%" PRIu32 " is not one of 1.0 to 1.4 \n",
                    header.versionMajor, header.versionMinor);
        break;
    case LasProblem::headerTooSmall:
        std::printf("a header of %" PRIu32 " bytes is too small for LAS %" PRIu32 ".%" PRIu32 " \n",
                    header.headerSize, header.versionMajor, header.versionMinor);
        break;
    case LasProblem::pointFormat:
        std::printf("point data format %" PRIu32 " is not one of 0 to 10 \n", header.pointFormat);
        break;
    case LasProblem::recordTooShort:
        std::printf("point records of %" PRIu32 " bytes are too short for format %" PRIu32 " \n",
                    header.recordLength, header.pointFormat);
        break;
    case LasProblem::dataInsideHeader:
        std::printf("the point data starts inside the header \n");
        break;
    case LasProblem::countsDiffer: std::printf("its two point counts differ \n"); break;
    case LasProblem::tooManyPoints:
        std::printf("%" PRIu64 " points are more than one scan may hold \n", header.pointCount);
        break;
    case LasProblem::pastEnd:
        std::printf("the header promises %" PRIu64 " points, the file holds %" PRId64 " \n",
                    header.pointCount, header.pointRoom);
        break;
    case LasProblem::badScale: std::printf("a scale or offset is not a usable number \n"); break;
    }
}

}  // namespace sorvek
