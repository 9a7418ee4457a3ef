#pragma once
// The header of a PLY file: its encoding, its elements with their properties, and where
// the vertex element's x, y and z lie.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "points/byte_source.h"

namespace sorvek {

enum class PlyEncoding { ascii, binaryLittleEndian, binaryBigEndian };

enum class PlyType { int8, uint8, int16, uint16, int32, uint32, float32, float64 };

struct PlyProperty {
    std::string name;
    bool isList = false;
    PlyType type = PlyType::float32;     // of the value, or of each item of a list
    PlyType countType = PlyType::uint8;  // of a list's length
};

struct PlyElement {
    std::string name;
    std::int64_t count = 0;  // items
    std::vector<PlyProperty> properties;
};

enum class PlyProblem {
    none,
    noEndHeader,     // no end_header line within the size a header may have
    badHeaderLine,   // a line that is no PLY header line, or out of place
    badFormat,       // no format line, or not ascii / binary_little_endian / binary_big_endian 1.0
    noVertex,        // no element named vertex
    noCoordinates,   // the vertex element lacks x, y or z
    coordinateType,  // x, y or z is a list or not float or double
    tooManyPoints,   // more vertices than a cloud's 32-bit count holds
    pastEnd,         // binary vertices run past the end of the file
    endsEarly,       // the data ends before the last vertex
    badNumber,       // text where a number or a list length belongs
};

// The header, and what the checks of the header and of the data found.
struct PlyHeader {
    PlyProblem problem = PlyProblem::none;
    std::int64_t badLine = 0;       // badHeaderLine: its line number, from 1
    std::int64_t verticesRead = 0;  // endsEarly: whole vertices before the end
    std::string faultElement;       // badNumber: the element, and its item from 1
    std::int64_t faultItem = 0;
    PlyEncoding encoding = PlyEncoding::ascii;
    std::int64_t headerLength = 0;     // bytes up to and including the end_header line
    std::vector<PlyElement> elements;  // in file order
    std::size_t vertexElement = 0;     // index into elements
    std::array<std::size_t, 3> coordinateProperties{};  // x, y, z: indices into its properties
};

// Bytes of one value of `type`.
std::size_t plySizeOf(PlyType type);

// Reads the header from the start of `source` (which must begin with a "ply" line) and
// checks that it names a usable vertex element.
PlyHeader readPlyHeader(ByteSource& source);

// One line on standard output that names the file and says what is wrong.
void printPlyRefusal(const std::string& path, const PlyHeader& header);

}  // namespace sorvek
