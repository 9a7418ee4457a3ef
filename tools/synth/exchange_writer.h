#pragma once
// Scans written as LAS and PLY files, the forms other survey software exchanges: for jobs
// in those forms and for the tests and benchmarks of their readers.

#include <cstdint>
#include <filesystem>
#include <string>

#include "run/records.h"

namespace sorvek::synth {

struct LasLayout {
    std::uint32_t versionMinor = 2;  // LAS 1.minor, 0 to 4
    std::uint32_t pointFormat = 0;   // point data format 0 to 10
    std::uint32_t extraBytes = 0;    // bytes behind each record's own fields
    std::int32_t vlrCount = 0;       // variable-length records before the points; LAS 1.4
                                     // also gets as many extended ones behind them
    double scale = 0.0001;           // of all three axes
    double offsetX = 0.0;            // stored X = (X - offsetX) / scale, rounded
    double offsetY = 0.0;
    double offsetZ = 0.0;
    std::uint8_t formatFlags = 0;  // ORed into the point format byte: 0x80 marks LAZ
};

// What LAS quantisation makes of a coordinate: the integer the file stores, then that
// integer read back (integer * scale + offset).
double lasQuantised(double value, double scale, double offset);

// Writes `cloud`'s coordinates as LAS. LAS 1.4 point formats 6 to 10 carry only the 64-bit
// count (the legacy count 0). False when a coordinate does not fit the 32-bit integers at
// the layout's scale, or the file cannot be written whole.
bool writeLasPoints(const std::filesystem::path& path, const Cloud& cloud, const LasLayout& layout);

enum class PlyExtras {
    none,        // the vertex element holds x, y, z alone
    properties,  // scalar properties before, between and after x, y, z, an element before
                 // the vertices and one after them
    lists,       // as properties, with a list property in the vertex element and in the one
                 // before it
};

struct PlyLayout {
    std::string format = "binary_little_endian";  // or binary_big_endian, ascii
    bool isDouble = true;                         // x, y, z as double, else as float
    PlyExtras extras = PlyExtras::none;
};

// Writes `cloud`'s coordinates as PLY; text writes doubles with 17 significant digits and
// floats with 9, so that either reads back as the number written. False when the file
// cannot be written whole.
bool writePlyPoints(const std::filesystem::path& path, const Cloud& cloud, const PlyLayout& layout);

}  // namespace sorvek::synth
