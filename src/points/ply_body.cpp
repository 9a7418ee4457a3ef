#include "points/ply_body.h"

#include <bit>
#include <cstdlib>
#include <string>

// The data of a PLY file is its elements one after the other, each item holding its
// properties in header order; a list is its length followed by that many values. Every
// read is checked against the end of the file, and a walk never takes more steps than the
// file has bytes (or, in text, words), whatever counts the header claims.
namespace sorvek {
namespace {

constexpr std::size_t longestWord = 255;  // as a line piece of the text reader

bool isBigEndian(const PlyHeader& header) {
    return header.encoding == PlyEncoding::binaryBigEndian;
}

FieldEncoding encodingOf(PlyType type, bool isBig) {
    if (type == PlyType::float64) {
        return isBig ? FieldEncoding::float64Big : FieldEncoding::float64Little;
    }
    return isBig ? FieldEncoding::float32Big : FieldEncoding::float32Little;
}

// The value of `size` bytes in the file's byte order, as an unsigned number.
std::uint64_t unsignedAt(std::span<const std::uint8_t> bytes, bool isBig) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::size_t at = isBig ? i : bytes.size() - 1 - i;
        value = (value << 8) | bytes[at];
    }
    return value;
}

// A list length; nullopt when it is negative.
std::optional<std::uint64_t> listLengthAt(std::span<const std::uint8_t> bytes, PlyType type,
                                          bool isBig) {
    const std::uint64_t value = unsignedAt(bytes, isBig);
    const std::uint64_t signBit = std::uint64_t{1} << ((8 * bytes.size()) - 1);
    const bool isSigned = type == PlyType::int8 || type == PlyType::int16 || type == PlyType::int32;
    if (isSigned && (value & signBit) != 0) return std::nullopt;
    return value;
}

double coordinateAt(std::span<const std::uint8_t> bytes, PlyType type, bool isBig) {
    const std::uint64_t value = unsignedAt(bytes, isBig);
    if (type == PlyType::float64) return std::bit_cast<double>(value);
    return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(value)));
}

// Bytes of one item of an element without lists.
std::int64_t itemSizeOf(const PlyElement& element) {
    std::int64_t size = 0;
    for (const PlyProperty& property : element.properties) {
        size += static_cast<std::int64_t>(plySizeOf(property.type));
    }
    return size;
}

bool hasLists(const PlyElement& element) {
    for (const PlyProperty& property : element.properties) {
        if (property.isList) return true;
    }
    return false;
}

// Where each coordinate lies in the vertex element's record.
RecordLayout vertexRecords(const PlyHeader& header, std::int64_t dataOffset) {
    const PlyElement& vertex = header.elements[header.vertexElement];
    RecordLayout layout;
    layout.dataOffset = dataOffset;
    layout.recordLength = itemSizeOf(vertex);
    layout.pointCount = vertex.count;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t property = header.coordinateProperties[axis];
        std::size_t offset = 0;
        for (std::size_t before = 0; before < property; ++before) {
            offset += plySizeOf(vertex.properties[before].type);
        }
        layout.fields[axis].offset = offset;
        layout.fields[axis].encoding =
            encodingOf(vertex.properties[property].type, isBigEndian(header));
    }
    return layout;
}

// What one item-by-item read needs besides the source.
struct ItemWalk {
    ByteSource* source = nullptr;
    PlyHeader* header = nullptr;
    std::string word;            // text: the word in hand
    std::int64_t itemIndex = 0;  // item of the element in hand, from 0
};

// The next word of a text body: false at the end of the file. A word longer than any
// number is kept cut short, so that it does not parse.
bool readWord(ItemWalk& walk) {
    walk.word.clear();
    int c = nextByte(*walk.source);
    while (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f') {
        c = nextByte(*walk.source);
    }
    if (c == -1) return false;
    while (c != -1 && c != ' ' && c != '\t' && c != '\r' && c != '\n' && c != '\v' && c != '\f') {
        if (walk.word.size() <= longestWord) walk.word.push_back(static_cast<char>(c));
        c = nextByte(*walk.source);
    }
    return true;
}

// Parses the whole word as the text reader's %lf would; false when it is not a number.
bool wordAsNumber(const std::string& word, double& value) {
    if (word.empty() || word.size() > longestWord) return false;
    char* end = nullptr;
    value = std::strtod(word.c_str(), &end);
    return end == word.c_str() + word.size();
}

bool wordAsLength(const std::string& word, std::uint64_t& length) {
    const bool isDigits = word.find_first_not_of("0123456789") == std::string::npos;
    if (word.empty() || word.size() > 18 || !isDigits) return false;
    length = std::strtoull(word.c_str(), nullptr, 10);
    return true;
}

enum class Step { done, endOfFile, notNumber };

// One property of one item in a text body; `coordinate` receives it when not null.
Step readTextProperty(ItemWalk& walk, const PlyProperty& property, double* coordinate) {
    if (!readWord(walk)) return Step::endOfFile;
    if (coordinate != nullptr) {
        return wordAsNumber(walk.word, *coordinate) ? Step::done : Step::notNumber;
    }
    if (!property.isList) return Step::done;
    std::uint64_t length = 0;
    if (!wordAsLength(walk.word, length)) return Step::notNumber;
    for (std::uint64_t item = 0; item < length; ++item) {
        if (!readWord(walk)) return Step::endOfFile;
    }
    return Step::done;
}

// One property of one item in a binary body.
Step readBinaryProperty(ItemWalk& walk, const PlyProperty& property, double* coordinate) {
    const bool isBig = isBigEndian(*walk.header);
    if (!property.isList) {
        const auto bytes = takeBytes(*walk.source, plySizeOf(property.type));
        if (bytes.empty()) return Step::endOfFile;
        if (coordinate != nullptr) *coordinate = coordinateAt(bytes, property.type, isBig);
        return Step::done;
    }
    const auto bytes = takeBytes(*walk.source, plySizeOf(property.countType));
    if (bytes.empty()) return Step::endOfFile;
    const std::optional<std::uint64_t> length = listLengthAt(bytes, property.countType, isBig);
    if (!length) return Step::notNumber;
    const bool isSkipped = skipBytes(*walk.source, *length * plySizeOf(property.type));
    return isSkipped ? Step::done : Step::endOfFile;
}

// One item of an element; for the vertex element `point` receives x, y and z.
Step readItem(ItemWalk& walk, const PlyElement& element, Point3* point) {
    const PlyHeader& header = *walk.header;
    for (std::size_t index = 0; index < element.properties.size(); ++index) {
        double* coordinate = nullptr;
        if (point != nullptr) {
            if (index == header.coordinateProperties[0]) coordinate = &point->x;
            if (index == header.coordinateProperties[1]) coordinate = &point->y;
            if (index == header.coordinateProperties[2]) coordinate = &point->z;
        }
        const PlyProperty& property = element.properties[index];
        const Step step = header.encoding == PlyEncoding::ascii
                              ? readTextProperty(walk, property, coordinate)
                              : readBinaryProperty(walk, property, coordinate);
        if (step != Step::done) return step;
    }
    return Step::done;
}

// Every item of one element; false with the problem set when one cannot be read. An
// element without properties takes no bytes, however many items it claims.
bool readElement(ItemWalk& walk, const PlyElement& element, std::vector<Point3>* points) {
    if (element.properties.empty()) return true;
    for (walk.itemIndex = 0; walk.itemIndex < element.count; ++walk.itemIndex) {
        Point3 point;
        const Step step = readItem(walk, element, points != nullptr ? &point : nullptr);
        if (step == Step::endOfFile) {
            walk.header->problem = PlyProblem::endsEarly;
            walk.header->verticesRead = points != nullptr ? walk.itemIndex : 0;
            return false;
        }
        if (step == Step::notNumber) {
            walk.header->problem = PlyProblem::badNumber;
            walk.header->faultElement = element.name;
            walk.header->faultItem = walk.itemIndex + 1;
            return false;
        }
        if (points != nullptr) points->push_back(point);
    }
    return true;
}

}  // namespace

std::optional<RecordLayout> fixedPlyVertices(PlyHeader& header, std::int64_t fileSize) {
    if (header.encoding == PlyEncoding::ascii) return std::nullopt;
    std::int64_t offset = header.headerLength;
    for (std::size_t index = 0; index <= header.vertexElement; ++index) {
        if (hasLists(header.elements[index])) return std::nullopt;
    }
    for (std::size_t index = 0; index <= header.vertexElement; ++index) {
        const PlyElement& element = header.elements[index];
        const std::int64_t itemSize = itemSizeOf(element);
        const std::int64_t room = fileSize - offset;
        if (itemSize > 0 && element.count > room / itemSize) {
            header.problem = PlyProblem::pastEnd;
            return std::nullopt;
        }
        if (index == header.vertexElement) return vertexRecords(header, offset);
        offset += element.count * itemSize;
    }
    return std::nullopt;
}

void readPlyVertices(ByteSource& source, PlyHeader& header, std::vector<Point3>& points) {
    ItemWalk walk;
    walk.source = &source;
    walk.header = &header;
    for (std::size_t index = 0; index < header.vertexElement; ++index) {
        if (!readElement(walk, header.elements[index], nullptr)) return;
    }
    readElement(walk, header.elements[header.vertexElement], &points);
}

}  // namespace sorvek
