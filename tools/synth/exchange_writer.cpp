#include "synth/exchange_writer.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

// Both formats are written field by field in the files' own byte order, independently of
// the program's readers, so that the readers' tests do not test a reader against itself.
// Fields the readers pass over carry varying values, so that a reader that took the wrong
// bytes for a coordinate would show it.
namespace sorvek::synth {
namespace {

constexpr std::uint32_t lasHeaderSizeOf[] = {227, 227, 227, 235, 375};  // by minor version
constexpr std::uint32_t lasRecordLengthOf[] = {20, 28, 26, 34, 57, 63, 30, 36, 38, 59, 67};
constexpr std::size_t waveformBytes = 29;
constexpr std::size_t recordsPerWrite = 65536;

// Bytes in the order a file wants them.
struct FileBytes {
    std::string data;
    bool isBigEndian = false;
    bool isText = false;  // PLY ascii: values as words, items as lines
};

void putBits(FileBytes& out, std::uint64_t bits, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        const std::size_t shift = 8 * (out.isBigEndian ? size - 1 - i : i);
        out.data.push_back(static_cast<char>((bits >> shift) & 0xFF));
    }
}

void putZeros(FileBytes& out, std::size_t count) { out.data.append(count, '\0'); }

void putWord(FileBytes& out, const char* format, auto value) {
    char word[40];
    std::snprintf(word, sizeof word, format, value);
    out.data += word;
    out.data += ' ';
}

void putInteger(FileBytes& out, std::int64_t value, std::size_t size) {
    if (out.isText) return putWord(out, "%lld", static_cast<long long>(value));
    putBits(out, static_cast<std::uint64_t>(value), size);
}

void putFloat(FileBytes& out, float value) {
    if (out.isText) return putWord(out, "%.9g", static_cast<double>(value));
    putBits(out, std::bit_cast<std::uint32_t>(value), 4);
}

void putDouble(FileBytes& out, double value) {
    if (out.isText) return putWord(out, "%.17g", value);
    putBits(out, std::bit_cast<std::uint64_t>(value), 8);
}

void endItem(FileBytes& out) {
    if (out.isText && !out.data.empty() && out.data.back() == ' ') out.data.back() = '\n';
}

void putName(FileBytes& out, const char* name, std::size_t width) {
    const std::size_t length = std::min(std::strlen(name), width);
    out.data.append(name, length);
    out.data.append(width - length, '\0');
}

bool writeAll(std::FILE* file, const std::string& bytes) {
    return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

bool closeChecked(FileHandle& file, bool isWritten) {
    const bool hadNoError = std::ferror(file.get()) == 0;
    return (std::fclose(file.release()) == 0) && isWritten && hadNoError;
}

std::optional<std::int32_t> lasInteger(double value, double scale, double offset) {
    const double steps = std::round((value - offset) / scale);
    if (!(steps >= -2147483648.0 && steps <= 2147483647.0)) return std::nullopt;
    return static_cast<std::int32_t>(steps);
}

// The stored integers of every point, x, y, z in turn.
std::optional<std::vector<std::int32_t>> lasIntegers(const Cloud& cloud, const LasLayout& layout) {
    std::vector<std::int32_t> integers;
    integers.reserve(cloud.size() * 3);
    for (const PointRecord& point : cloud) {
        const std::optional<std::int32_t> x = lasInteger(point.x, layout.scale, layout.offsetX);
        const std::optional<std::int32_t> y = lasInteger(point.y, layout.scale, layout.offsetY);
        const std::optional<std::int32_t> z = lasInteger(point.z, layout.scale, layout.offsetZ);
        if (!x || !y || !z) return std::nullopt;
        integers.insert(integers.end(), {*x, *y, *z});
    }
    return integers;
}

std::size_t vlrPayloadSize(std::int32_t index) {
    return 16 + (5 * static_cast<std::size_t>(index));
}

std::size_t vlrBytes(const LasLayout& layout) {
    std::size_t bytes = 0;
    for (std::int32_t index = 0; index < layout.vlrCount; ++index)
        bytes += 54 + vlrPayloadSize(index);
    return bytes;
}

// A variable-length record (54-byte header) or, for LAS 1.4's tail, an extended one (60).
void putVariableRecord(FileBytes& out, std::int32_t index, bool isExtended) {
    putBits(out, 0, 2);
    putName(out, "sorvek-synth", 16);
    putBits(out, 1000 + static_cast<std::uint64_t>(index), 2);
    putBits(out, vlrPayloadSize(index), isExtended ? 8 : 2);
    putName(out, "synthetic survey record", 32);
    for (std::size_t i = 0; i < vlrPayloadSize(index); ++i)
        out.data.push_back(static_cast<char>('a' + (i % 26)));
}

// Coordinate limits of the points as stored: greatest then least, per axis.
void putLasBounds(FileBytes& out, const std::vector<std::int32_t>& integers,
                  const LasLayout& layout) {
    const double scale = layout.scale;
    const double offsets[] = {layout.offsetX, layout.offsetY, layout.offsetZ};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        std::int32_t least = 0;
        std::int32_t greatest = 0;
        for (std::size_t at = axis; at < integers.size(); at += 3) {
            least = at == axis ? integers[at] : std::min(least, integers[at]);
            greatest = at == axis ? integers[at] : std::max(greatest, integers[at]);
        }
        putDouble(out, (static_cast<double>(greatest) * scale) + offsets[axis]);
        putDouble(out, (static_cast<double>(least) * scale) + offsets[axis]);
    }
}

void putLasHeader(FileBytes& out, const std::vector<std::int32_t>& integers,
                  const LasLayout& layout) {
    const std::uint64_t count = integers.size() / 3;
    const bool isWide = layout.versionMinor >= 4;
    const std::uint64_t legacyCount = isWide && layout.pointFormat >= 6 ? 0 : count;
    const std::uint32_t headerSize = lasHeaderSizeOf[layout.versionMinor];
    const std::size_t recordLength = lasRecordLengthOf[layout.pointFormat] + layout.extraBytes;
    out.data += "LASF";
    putBits(out, 0, 2);                                             // file source id
    putBits(out, isWide && layout.pointFormat >= 6 ? 0x10 : 0, 2);  // global encoding: WKT
    putZeros(out, 16);                                              // project id
    putBits(out, 1, 1);
    putBits(out, layout.versionMinor, 1);
    putName(out, "sorvek-synth", 32);
    putName(out, "sorvek-synth", 32);
    putBits(out, 1, 2);     // day of year
    putBits(out, 2024, 2);  // year
    putBits(out, headerSize, 2);
    putBits(out, headerSize + vlrBytes(layout), 4);
    putBits(out, static_cast<std::uint64_t>(layout.vlrCount), 4);
    putBits(out, layout.pointFormat | layout.formatFlags, 1);
    putBits(out, recordLength, 2);
    putBits(out, legacyCount, 4);
    putBits(out, legacyCount, 4);  // first returns
    putZeros(out, 16);
    for (int axis = 0; axis < 3; ++axis) putDouble(out, layout.scale);
    for (const double offset : {layout.offsetX, layout.offsetY, layout.offsetZ})
        putDouble(out, offset);
    putLasBounds(out, integers, layout);
    if (layout.versionMinor >= 3) putBits(out, 0, 8);  // no waveform data
    if (!isWide) return;
    const std::uint64_t tail = headerSize + vlrBytes(layout) + (count * recordLength);
    putBits(out, layout.vlrCount > 0 ? tail : 0, 8);
    putBits(out, static_cast<std::uint64_t>(layout.vlrCount), 4);
    putBits(out, count, 8);
    putBits(out, count, 8);  // first returns
    putZeros(out, 8 * 14);
}

void putLasRecord(FileBytes& out, const std::int32_t* xyz, std::size_t index,
                  const LasLayout& layout) {
    const std::uint32_t format = layout.pointFormat;
    const bool hasTime = format == 1 || format >= 3;
    const bool hasColour =
        format == 2 || format == 3 || format == 5 || format == 7 || format == 8 || format == 10;
    for (int axis = 0; axis < 3; ++axis) putBits(out, static_cast<std::uint32_t>(xyz[axis]), 4);
    putBits(out, (index * 37) & 0xFFFF, 2);  // intensity
    if (format <= 5) {
        putBits(out, 0x09, 1);  // return 1 of 1
        putBits(out, 1, 1);     // unclassified
        putBits(out, 0, 1);     // scan angle rank
        putBits(out, index & 0xFF, 1);
        putBits(out, 1, 2);  // point source
    } else {
        putBits(out, 0x11, 1);  // return 1 of 1
        putBits(out, 0, 1);     // flags and channel
        putBits(out, 1, 1);     // unclassified
        putBits(out, index & 0xFF, 1);
        putBits(out, 0, 2);  // scan angle
        putBits(out, 1, 2);  // point source
    }
    if (hasTime) putDouble(out, 1000.0 + (static_cast<double>(index) * 1.0e-5));
    if (hasColour) {
        for (std::size_t channel = 0; channel < 3; ++channel)
            putBits(out, (index * 13 + channel * 4099) & 0xFFFF, 2);
    }
    if (format == 8 || format == 10) putBits(out, (index * 7) & 0xFFFF, 2);  // near infrared
    if (format == 4 || format == 5 || format == 9 || format == 10) putZeros(out, waveformBytes);
    for (std::uint32_t extra = 0; extra < layout.extraBytes; ++extra)
        putBits(out, (0xA5 ^ index ^ extra) & 0xFF, 1);
}

bool isLasLayoutGood(const LasLayout& layout) {
    return layout.versionMinor <= 4 && layout.pointFormat <= 10 && layout.extraBytes <= 1000 &&
           layout.vlrCount >= 0 && layout.vlrCount <= 100;
}

void putPlyHeader(FileBytes& out, std::size_t count, const PlyLayout& layout) {
    const bool hasExtras = layout.extras != PlyExtras::none;
    const bool hasLists = layout.extras == PlyExtras::lists;
    const char* type = layout.isDouble ? "double" : "float";
    out.data += "ply\nformat " + layout.format + " 1.0\ncomment written by sorvek-synth\n";
    if (hasExtras) out.data += "element scanner 1\nproperty float range\nproperty uchar channel\n";
    if (hasLists) out.data += "property list ushort uchar label\n";
    out.data += "element vertex " + std::to_string(count) + "\n";
    if (hasExtras) out.data += "property uchar flags\n";
    out.data += std::string("property ") + type + " x\n";
    if (hasExtras) out.data += "property short tag\n";
    out.data += std::string("property ") + type + " y\nproperty " + type + " z\n";
    if (hasExtras) out.data += "property float intensity\n";
    if (hasLists) out.data += "property list uchar int neighbours\n";
    if (hasExtras)
        out.data += "property uchar red\nelement face 1\nproperty list uchar int vertex_indices\n";
    out.data += "end_header\n";
}

void putPlyCoordinate(FileBytes& out, double value, bool isDouble) {
    if (isDouble)
        putDouble(out, value);
    else
        putFloat(out, static_cast<float>(value));
}

void putPlyVertex(FileBytes& out, const PointRecord& point, std::size_t index,
                  const PlyLayout& layout) {
    const bool hasExtras = layout.extras != PlyExtras::none;
    if (hasExtras) putInteger(out, static_cast<std::int64_t>(index & 0xFF), 1);
    putPlyCoordinate(out, point.x, layout.isDouble);
    if (hasExtras) putInteger(out, static_cast<std::int64_t>(index % 2000) - 1000, 2);
    putPlyCoordinate(out, point.y, layout.isDouble);
    putPlyCoordinate(out, point.z, layout.isDouble);
    if (hasExtras) putFloat(out, static_cast<float>(index) * 0.5F);
    if (layout.extras == PlyExtras::lists) {
        putInteger(out, static_cast<std::int64_t>(index % 3), 1);
        for (std::size_t k = 0; k < index % 3; ++k)
            putInteger(out, static_cast<std::int64_t>(index + k + 1), 4);
    }
    if (hasExtras) putInteger(out, static_cast<std::int64_t>((index * 7) & 0xFF), 1);
    endItem(out);
}

}  // namespace

double lasQuantised(double value, double scale, double offset) {
    const std::optional<std::int32_t> integer = lasInteger(value, scale, offset);
    return integer ? (static_cast<double>(*integer) * scale) + offset
                   : std::numeric_limits<double>::quiet_NaN();
}

bool writeLasPoints(const std::filesystem::path& path, const Cloud& cloud,
                    const LasLayout& layout) {
    if (!isLasLayoutGood(layout)) return false;
    const std::optional<std::vector<std::int32_t>> integers = lasIntegers(cloud, layout);
    if (!integers) return false;
    FileHandle file = openFile(path.string(), "wb");
    if (!file) return false;
    FileBytes out;
    putLasHeader(out, *integers, layout);
    for (std::int32_t index = 0; index < layout.vlrCount; ++index)
        putVariableRecord(out, index, false);
    bool isWritten = writeAll(file.get(), out.data);
    for (std::size_t first = 0; first < cloud.size() && isWritten; first += recordsPerWrite) {
        out.data.clear();
        for (std::size_t index = first; index < std::min(cloud.size(), first + recordsPerWrite);
             ++index) {
            putLasRecord(out, integers->data() + (3 * index), index, layout);
        }
        isWritten = writeAll(file.get(), out.data);
    }
    out.data.clear();
    if (layout.versionMinor >= 4) {
        for (std::int32_t index = 0; index < layout.vlrCount; ++index)
            putVariableRecord(out, index, true);
    }
    isWritten = isWritten && writeAll(file.get(), out.data);
    return closeChecked(file, isWritten);
}

bool writePlyPoints(const std::filesystem::path& path, const Cloud& cloud,
                    const PlyLayout& layout) {
    if (layout.format != "ascii" && layout.format != "binary_little_endian" &&
        layout.format != "binary_big_endian") {
        return false;
    }
    FileHandle file = openFile(path.string(), "wb");
    if (!file) return false;
    FileBytes out;
    putPlyHeader(out, cloud.size(), layout);
    out.isText = layout.format == "ascii";
    out.isBigEndian = layout.format == "binary_big_endian";
    if (layout.extras != PlyExtras::none) {
        putFloat(out, 60.0F);
        putInteger(out, 1, 1);
        if (layout.extras == PlyExtras::lists) {
            putInteger(out, 2, 2);
            putInteger(out, 'A', 1);
            putInteger(out, 'B', 1);
        }
        endItem(out);
    }
    bool isWritten = true;
    for (std::size_t first = 0; first < cloud.size() && isWritten; first += recordsPerWrite) {
        for (std::size_t index = first; index < std::min(cloud.size(), first + recordsPerWrite);
             ++index) {
            putPlyVertex(out, cloud[index], index, layout);
        }
        isWritten = writeAll(file.get(), out.data);
        out.data.clear();
    }
    if (layout.extras != PlyExtras::none) {
        putInteger(out, 3, 1);
        for (int corner = 0; corner < 3; ++corner) putInteger(out, corner, 4);
        endItem(out);
    }
    isWritten = isWritten && writeAll(file.get(), out.data);
    return closeChecked(file, isWritten);
}

}  // namespace sorvek::synth
