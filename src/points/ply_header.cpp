#include "points/ply_header.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <optional>
#include <string_view>

// A PLY header is lines of words up to "end_header". Only what locating x, y and z needs
// is kept; comments and obj_info lines are passed over, and any other line is refused
// rather than guessed at, since a misread header would turn the data into garbage.
namespace sorvek {
namespace {

constexpr std::int64_t mostHeaderBytes = std::int64_t{1} << 20;
constexpr std::int64_t mostPoints = INT32_MAX;

struct TypeName {
    std::string_view name;
    PlyType type;
};

constexpr TypeName typeNames[] = {
    {"char", PlyType::int8},       {"int8", PlyType::int8},       {"uchar", PlyType::uint8},
    {"uint8", PlyType::uint8},     {"short", PlyType::int16},     {"int16", PlyType::int16},
    {"ushort", PlyType::uint16},   {"uint16", PlyType::uint16},   {"int", PlyType::int32},
    {"int32", PlyType::int32},     {"uint", PlyType::uint32},     {"uint32", PlyType::uint32},
    {"float", PlyType::float32},   {"float32", PlyType::float32}, {"double", PlyType::float64},
    {"float64", PlyType::float64},
};

std::optional<PlyType> typeNamed(std::string_view name) {
    for (const TypeName& entry : typeNames) {
        if (entry.name == name) return entry.type;
    }
    return std::nullopt;
}

bool isFloatType(PlyType type) { return type == PlyType::float32 || type == PlyType::float64; }

// One line without its line end (LF or CR LF); false at the end of the file or past the
// size a header may have.
bool readHeaderLine(ByteSource& source, std::string& line) {
    line.clear();
    for (int c = nextByte(source); c != '\n'; c = nextByte(source)) {
        if (c == -1) return false;
        if (source.position > mostHeaderBytes) return false;
        line.push_back(static_cast<char>(c));
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return true;
}

std::vector<std::string_view> wordsOf(std::string_view line) {
    std::vector<std::string_view> words;
    std::size_t at = 0;
    while (at < line.size()) {
        const std::size_t start = line.find_first_not_of(" \t", at);
        if (start == std::string_view::npos) break;
        const std::size_t stop = std::min(line.find_first_of(" \t", start), line.size());
        words.push_back(line.substr(start, stop - start));
        at = stop;
    }
    return words;
}

// A count of items: decimal digits only, and within 63 bits.
std::optional<std::int64_t> countOf(std::string_view word) {
    if (word.empty() || word.size() > 18) return std::nullopt;
    std::int64_t count = 0;
    for (const char c : word) {
        if (c < '0' || c > '9') return std::nullopt;
        count = (count * 10) + (c - '0');
    }
    return count;
}

bool takeFormat(const std::vector<std::string_view>& words, PlyHeader& header) {
    if (words.size() != 3 || words[2] != "1.0") return false;
    if (words[1] == "ascii")
        header.encoding = PlyEncoding::ascii;
    else if (words[1] == "binary_little_endian")
        header.encoding = PlyEncoding::binaryLittleEndian;
    else if (words[1] == "binary_big_endian")
        header.encoding = PlyEncoding::binaryBigEndian;
    else
        return false;
    return true;
}

bool takeElement(const std::vector<std::string_view>& words, PlyHeader& header) {
    const std::optional<std::int64_t> count = words.size() == 3 ? countOf(words[2]) : std::nullopt;
    if (!count) return false;
    PlyElement& element = header.elements.emplace_back();
    element.name = words[1];
    element.count = *count;
    return true;
}

// "property TYPE NAME" or "property list COUNTTYPE ITEMTYPE NAME", inside an element.
bool takeProperty(const std::vector<std::string_view>& words, PlyHeader& header) {
    if (header.elements.empty()) return false;
    PlyProperty property;
    property.isList = words.size() == 5 && words[1] == "list";
    const std::size_t wordCount = property.isList ? 5 : 3;
    if (words.size() != wordCount) return false;
    const std::optional<PlyType> type = typeNamed(words[wordCount - 2]);
    if (!type) return false;
    property.type = *type;
    if (property.isList) {
        const std::optional<PlyType> countType = typeNamed(words[2]);
        if (!countType || isFloatType(*countType)) return false;
        property.countType = *countType;
    }
    property.name = words[wordCount - 1];
    header.elements.back().properties.push_back(property);
    return true;
}

std::optional<std::size_t> propertyNamed(const PlyElement& element, std::string_view name) {
    for (std::size_t index = 0; index < element.properties.size(); ++index) {
        if (element.properties[index].name == name) return index;
    }
    return std::nullopt;
}

// The first element called vertex, and the first of its properties called x, y and z.
PlyProblem findCoordinates(PlyHeader& header) {
    std::size_t index = 0;
    while (index < header.elements.size() && header.elements[index].name != "vertex") ++index;
    if (index == header.elements.size()) return PlyProblem::noVertex;
    header.vertexElement = index;
    const PlyElement& vertex = header.elements[index];
    const char* const names[] = {"x", "y", "z"};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::optional<std::size_t> property = propertyNamed(vertex, names[axis]);
        if (!property) return PlyProblem::noCoordinates;
        header.coordinateProperties[axis] = *property;
    }
    for (const std::size_t property : header.coordinateProperties) {
        const PlyProperty& coordinate = vertex.properties[property];
        if (coordinate.isList || !isFloatType(coordinate.type)) return PlyProblem::coordinateType;
    }
    if (vertex.count > mostPoints) return PlyProblem::tooManyPoints;
    return PlyProblem::none;
}

// One line after the first: false when it is no header line or stands out of place.
bool takeHeaderLine(const std::vector<std::string_view>& words, PlyHeader& header, bool& hasFormat,
                    bool& isFormatGood) {
    const std::string_view keyword = words[0];
    if (keyword == "comment" || keyword == "obj_info") return true;
    if (keyword == "element") return takeElement(words, header);
    if (keyword == "property") return takeProperty(words, header);
    if (keyword != "format" || hasFormat) return false;
    hasFormat = true;
    isFormatGood = takeFormat(words, header);
    return true;
}

}  // namespace

std::size_t plySizeOf(PlyType type) {
    switch (type) {
    case PlyType::int8:
    case PlyType::uint8: return 1;
    case PlyType::int16:
    case PlyType::uint16: return 2;
    case PlyType::int32:
    case PlyType::uint32:
    case PlyType::float32: return 4;
    case PlyType::float64: return 8;
    }
    return 8;
}

PlyHeader readPlyHeader(ByteSource& source) {
    PlyHeader header;
    bool hasFormat = false;
    bool isFormatGood = false;
    std::string line;
    for (std::int64_t lineNumber = 1;; ++lineNumber) {
        if (!readHeaderLine(source, line)) {
            header.problem = PlyProblem::noEndHeader;
            return header;
        }
        const std::vector<std::string_view> words = wordsOf(line);
        if (words.empty() && lineNumber > 1) continue;
        if (words.size() == 1 && words[0] == "end_header" && lineNumber > 1) break;
        const bool isGood = lineNumber == 1
                                ? (words.size() == 1 && words[0] == "ply")
                                : takeHeaderLine(words, header, hasFormat, isFormatGood);
        if (!isGood) {
            header.problem = PlyProblem::badHeaderLine;
            header.badLine = lineNumber;
            return header;
        }
    }
    header.headerLength = source.position;
    header.problem = isFormatGood ? findCoordinates(header) : PlyProblem::badFormat;
    return header;
}

void printPlyRefusal(const std::string& path, const PlyHeader& header) {
    const char* name = path.c_str();
    const std::int64_t vertexCount =
        header.elements.empty() ? 0 : header.elements[header.vertexElement].count;
    if (header.problem == PlyProblem::none) return;
    std::printf("%s is a PLY file that cannot be read: ", name);
    switch (header.problem) {
    case PlyProblem::none: break;
    case PlyProblem::noEndHeader: std::printf("its header has no end_header line \n"); break;
    case PlyProblem::badHeaderLine:
        std::printf("header line %" PRId64 " is not a PLY header line \n", header.badLine);
        break;
    case PlyProblem::badFormat:
        std::printf("its format is not ascii, binary_little_endian or binary_big_endian 1.0 \n");
        break;
    case PlyProblem::noVertex: std::printf("it has no vertex element \n"); break;
    case PlyProblem::noCoordinates: std::printf("its vertices have no x, y or z \n"); break;
    case PlyProblem::coordinateType:
        std::printf("its x, y and z are not all float or double \n");
        break;
    case PlyProblem::tooManyPoints:
        std::printf("%" PRId64 " vertices are more than one scan may hold \n", vertexCount);
        break;
    case PlyProblem::pastEnd:
        std::printf("its %" PRId64 " vertices run past the end of the file \n", vertexCount);
        break;
    case PlyProblem::endsEarly:
        std::printf("the file ends after %" PRId64 " of its %" PRId64 " vertices \n",
                    header.verticesRead, vertexCount);
        break;
    case PlyProblem::badNumber:
        std::printf("item %" PRId64 " of element %s holds something that is not a number \n",
                    header.faultItem, header.faultElement.c_str());
        break;
    }
}

}  // namespace sorvek
