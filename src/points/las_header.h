#pragma once
// The public header block of a LAS file: checked against itself and against the size of
// the file, and turned into the layout of the point records.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "points/point_records.h"

namespace sorvek {

enum class LasProblem {
    none,
    compressed,        // the point format byte carries a compression bit: LAZ
    cutShort,          // the file ends inside the header
    version,           // not LAS 1.0 to 1.4
    headerTooSmall,    // the header size is below what the version needs
    pointFormat,       // not point data format 0 to 10
    recordTooShort,    // records shorter than the point data format needs
    dataInsideHeader,  // the offset to the point data lies inside the header
    countsDiffer,      // LAS 1.4: the legacy count and the 64-bit count disagree
    tooManyPoints,     // more points than a cloud's 32-bit count holds
    pastEnd,           // the promised records run past the end of the file
    badScale,          // a scale that is zero or not finite, or an offset not finite
};

// What the header says, as far as the checks got.
struct LasHeader {
    LasProblem problem = LasProblem::none;
    std::uint32_t versionMajor = 0;
    std::uint32_t versionMinor = 0;
    std::uint32_t headerSize = 0;    // bytes
    std::uint32_t pointFormat = 0;   // without the compression bits
    std::uint32_t recordLength = 0;  // bytes per point record
    std::uint64_t pointCount = 0;    // the 64-bit count of LAS 1.4 if set, else the legacy one
    std::int64_t pointRoom = 0;      // whole records between the point data and the file's end
    RecordLayout layout;             // valid when problem is none
};

// The largest header of any version; a caller hands over the first min(this, size) bytes.
inline constexpr std::size_t lasHeaderReadSize = 375;

LasHeader checkLasHeader(std::span<const std::uint8_t> head, std::int64_t fileSize);

// One line on standard output that names the file and says what it is.
void printLasRefusal(const std::string& path, const LasHeader& header);

}  // namespace sorvek
