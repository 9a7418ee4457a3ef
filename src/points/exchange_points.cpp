#include "points/exchange_points.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "points/byte_source.h"
#include "points/las_header.h"
#include "points/ply_body.h"
#include "points/ply_header.h"

// Nothing is printed and no point is handed out before the whole file has been checked
// against its header, so a refused file costs one line and a file once accepted delivers
// exactly the points its header promised (fewer only if it shrinks while being read).
namespace sorvek {
namespace {

static_assert(sizeof(long) >= 8, "file sizes are taken with a 64-bit seek");

constexpr std::size_t chunkBytesTarget = std::size_t{1} << 18;
constexpr std::size_t mostChunkPoints = 8192;

// The size in bytes, the file left at its start; -1 when the stream cannot seek.
std::int64_t sizeOf(std::FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0) return -1;
    const long size = std::ftell(file);
    std::rewind(file);
    return size;
}

bool startFixedRecords(ExchangePoints& points, const RecordLayout& layout) {
    points.layout = layout;
    points.pointCount = static_cast<std::int32_t>(layout.pointCount);  // checked below 2^31
    return std::fseek(points.file.get(), static_cast<long>(layout.dataOffset), SEEK_SET) == 0;
}

bool openLas(const std::string& path, std::int64_t fileSize, ExchangePoints& points) {
    std::vector<std::uint8_t> head(lasHeaderReadSize);
    head.resize(std::fread(head.data(), 1, head.size(), points.file.get()));
    const LasHeader header = checkLasHeader(head, fileSize);
    if (header.problem != LasProblem::none) {
        printLasRefusal(path, header);
        return false;
    }
    return startFixedRecords(points, header.layout);
}

bool openPly(const std::string& path, std::int64_t fileSize, ExchangePoints& points) {
    ByteSource source = byteSourceOver(points.file.get());
    PlyHeader header = readPlyHeader(source);
    std::optional<RecordLayout> layout;
    if (header.problem == PlyProblem::none) layout = fixedPlyVertices(header, fileSize);
    if (header.problem == PlyProblem::none && !layout) {
        readPlyVertices(source, header, points.heldPoints);
    }
    if (header.problem != PlyProblem::none) {
        printPlyRefusal(path, header);
        points.heldPoints.clear();
        return false;
    }
    if (layout) return startFixedRecords(points, *layout);
    points.isHeld = true;
    points.pointCount = static_cast<std::int32_t>(points.heldPoints.size());  // the header's count
    return true;
}

}  // namespace

bool openExchangePoints(const std::string& path, PointFileKind kind, ExchangePoints& points) {
    points = ExchangePoints{};
    if (kind == PointFileKind::e57) {
        std::printf("%s is an E57 file: export its scans to LAS or PLY first \n", path.c_str());
        return false;
    }
    points.file = openFile(path, "rb");
    const std::int64_t fileSize = points.file ? sizeOf(points.file.get()) : -1;
    if (fileSize < 0) {
        std::printf("Unable to open data file at %s \n", path.c_str());
        return false;
    }
    if (kind == PointFileKind::las) return openLas(path, fileSize, points);
    return openPly(path, fileSize, points);
}

std::span<const Point3> nextExchangeChunk(ExchangePoints& points) {
    const std::int64_t left = points.pointCount - points.pointsDelivered;
    if (left <= 0) return {};
    if (points.isHeld) {
        const auto start = static_cast<std::size_t>(points.pointsDelivered);
        const std::size_t count = std::min(mostChunkPoints, static_cast<std::size_t>(left));
        points.pointsDelivered += static_cast<std::int64_t>(count);
        return std::span<const Point3>(points.heldPoints).subspan(start, count);
    }
    const auto recordLength = static_cast<std::size_t>(points.layout.recordLength);
    const std::size_t fitting =
        std::clamp<std::size_t>(chunkBytesTarget / recordLength, 1, mostChunkPoints);
    const std::size_t wanted = std::min(fitting, static_cast<std::size_t>(left));
    points.chunkBytes.resize(wanted * recordLength);
    const std::size_t got =
        std::fread(points.chunkBytes.data(), recordLength, wanted, points.file.get());
    // A file that shrank under us delivers the records that really came in, then stops.
    points.pointsDelivered =
        got == wanted ? points.pointsDelivered + static_cast<std::int64_t>(got) : points.pointCount;
    points.chunk.resize(got);
    decodeRecords(points.chunkBytes, points.layout, points.chunk);
    return points.chunk;
}

}  // namespace sorvek
