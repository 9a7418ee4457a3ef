#include "survey/format_scanner.h"

#include <cstdlib>

// Each conversion follows C's rule for an input item: it takes the longest run of
// characters that is, or could still become, a valid number, and fails when that run is
// not a whole number. One character of look-ahead is all the rule needs, which is the
// one character that ungetc is sure to push back.
namespace sorvek {
namespace {

int peekByte(FormatCursor& cursor) {
    const int byte = std::getc(cursor.file);
    if (byte != EOF) std::ungetc(byte, cursor.file);
    return byte;
}

void takeByte(FormatCursor& cursor) {
    if (std::getc(cursor.file) == '\n') ++cursor.line;
}

bool isDigit(int byte) { return byte >= '0' && byte <= '9'; }

bool isHexDigit(int byte) {
    return isDigit(byte) || (byte >= 'a' && byte <= 'f') || (byte >= 'A' && byte <= 'F');
}

bool isLetterOrDigit(int byte) {
    return isDigit(byte) || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

int lowerCase(int byte) { return (byte >= 'A' && byte <= 'Z') ? byte - 'A' + 'a' : byte; }

// Where a floating-point item stands after the characters taken so far.
enum class FloatPart {
    begin,
    afterSign,
    zero,
    intDigits,
    dotOnly,
    fracDigits,
    expMark,
    expSign,
    expDigits,
    hexMark,
    hexDigits,
    hexDotOnly,
    hexFrac,
    binMark,
    binSign,
    binDigits,
    infWord,
    nanWord,
    nanChars,
    nanClosed
};

struct FloatItem {
    FloatPart part = FloatPart::begin;
    std::size_t lettersMatched = 0;  // letters of "infinity" or "nan" taken so far
};

constexpr const char* infinityWord = "infinity";
constexpr const char* nanWord = "nan";

bool continuesAfterSign(FloatItem& item, int byte) {
    if (byte == '0') {
        item.part = FloatPart::zero;
        return true;
    }
    if (isDigit(byte)) {
        item.part = FloatPart::intDigits;
        return true;
    }
    if (byte == '.') {
        item.part = FloatPart::dotOnly;
        return true;
    }
    if (lowerCase(byte) == 'i') {
        item.part = FloatPart::infWord;
        item.lettersMatched = 1;
        return true;
    }
    if (lowerCase(byte) == 'n') {
        item.part = FloatPart::nanWord;
        item.lettersMatched = 1;
        return true;
    }
    return false;
}

bool continuesExponent(FloatItem& item, int byte, FloatPart signPart, FloatPart digitPart) {
    if (item.part != signPart && (byte == '+' || byte == '-')) {
        item.part = signPart;
        return true;
    }
    if (isDigit(byte)) {
        item.part = digitPart;
        return true;
    }
    return false;
}

bool continuesWord(FloatItem& item, int byte) {
    const char* word = item.part == FloatPart::infWord ? infinityWord : nanWord;
    const std::size_t length = item.part == FloatPart::infWord ? 8 : 3;
    if (item.lettersMatched < length && lowerCase(byte) == word[item.lettersMatched]) {
        ++item.lettersMatched;
        return true;
    }
    if (item.part == FloatPart::nanWord && item.lettersMatched == 3 && byte == '(') {
        item.part = FloatPart::nanChars;
        return true;
    }
    return false;
}

bool continuesDecimal(FloatItem& item, int byte) {
    if (item.part == FloatPart::zero && (byte == 'x' || byte == 'X')) {
        item.part = FloatPart::hexMark;
        return true;
    }
    const bool isFraction = item.part == FloatPart::dotOnly || item.part == FloatPart::fracDigits;
    if (isDigit(byte)) {
        item.part = isFraction ? FloatPart::fracDigits : FloatPart::intDigits;
        return true;
    }
    if (byte == '.' && !isFraction) {
        item.part = FloatPart::fracDigits;
        return true;
    }
    if ((byte == 'e' || byte == 'E') && item.part != FloatPart::dotOnly) {
        item.part = FloatPart::expMark;
        return true;
    }
    return false;
}

bool continuesHex(FloatItem& item, int byte) {
    const bool isFraction = item.part == FloatPart::hexDotOnly || item.part == FloatPart::hexFrac;
    if (isHexDigit(byte)) {
        item.part = isFraction ? FloatPart::hexFrac : FloatPart::hexDigits;
        return true;
    }
    if (byte == '.' && !isFraction) {
        item.part = item.part == FloatPart::hexMark ? FloatPart::hexDotOnly : FloatPart::hexFrac;
        return true;
    }
    const bool hasDigit = item.part == FloatPart::hexDigits || item.part == FloatPart::hexFrac;
    if ((byte == 'p' || byte == 'P') && hasDigit) {
        item.part = FloatPart::binMark;
        return true;
    }
    return false;
}

// Moves `item` on by `byte` when the characters taken so far, followed by `byte`, can
// still begin a number; otherwise leaves it alone and returns false.
bool continuesFloat(FloatItem& item, int byte) {
    switch (item.part) {
    case FloatPart::begin:
        if (byte == '+' || byte == '-') {
            item.part = FloatPart::afterSign;
            return true;
        }
        return continuesAfterSign(item, byte);
    case FloatPart::afterSign: return continuesAfterSign(item, byte);
    case FloatPart::zero:
    case FloatPart::intDigits:
    case FloatPart::dotOnly:
    case FloatPart::fracDigits: return continuesDecimal(item, byte);
    case FloatPart::expMark:
    case FloatPart::expSign:
        return continuesExponent(item, byte, FloatPart::expSign, FloatPart::expDigits);
    case FloatPart::expDigits:
    case FloatPart::binDigits: return isDigit(byte);
    case FloatPart::hexMark:
    case FloatPart::hexDigits:
    case FloatPart::hexDotOnly:
    case FloatPart::hexFrac: return continuesHex(item, byte);
    case FloatPart::binMark:
    case FloatPart::binSign:
        return continuesExponent(item, byte, FloatPart::binSign, FloatPart::binDigits);
    case FloatPart::infWord:
    case FloatPart::nanWord: return continuesWord(item, byte);
    case FloatPart::nanChars:
        if (byte == ')') {
            item.part = FloatPart::nanClosed;
            return true;
        }
        return isLetterOrDigit(byte) || byte == '_';
    case FloatPart::nanClosed: return false;
    }
    return false;
}

bool isWholeFloat(const FloatItem& item) {
    switch (item.part) {
    case FloatPart::zero:
    case FloatPart::intDigits:
    case FloatPart::fracDigits:
    case FloatPart::expDigits:
    case FloatPart::hexDigits:
    case FloatPart::hexFrac:
    case FloatPart::binDigits:
    case FloatPart::nanClosed: return true;
    case FloatPart::infWord: return item.lettersMatched == 3 || item.lettersMatched == 8;
    case FloatPart::nanWord: return item.lettersMatched == 3;
    default: return false;
    }
}

}  // namespace

bool isFormatWhiteSpace(int byte) {
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\v' || byte == '\f' ||
           byte == '\r';
}

bool skipWhiteSpace(FormatCursor& cursor) {
    while (isFormatWhiteSpace(peekByte(cursor))) takeByte(cursor);
    return peekByte(cursor) != EOF;
}

ScannedText readLine(FormatCursor& cursor, std::size_t maxLength) {
    ScannedText line;
    for (int byte = peekByte(cursor); byte != EOF; byte = peekByte(cursor)) {
        if (byte == '\n') {
            takeByte(cursor);
            break;
        }
        if (line.text.size() == maxLength) {
            line.isTooLong = true;
            break;
        }
        line.text.push_back(static_cast<char>(byte));
        takeByte(cursor);
    }
    return line;
}

std::optional<double> scanFloat(FormatCursor& cursor) {
    skipWhiteSpace(cursor);
    FloatItem item;
    std::string text;
    for (int byte = peekByte(cursor); byte != EOF && continuesFloat(item, byte);
         byte = peekByte(cursor)) {
        text.push_back(static_cast<char>(byte));
        takeByte(cursor);
    }
    if (!isWholeFloat(item)) return std::nullopt;
    // strtod reads the same grammar in the "C" locale, which the program never leaves.
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size()) return std::nullopt;
    return value;
}

std::optional<std::int32_t> scanInt32(FormatCursor& cursor) {
    skipWhiteSpace(cursor);
    bool isNegative = false;
    int byte = peekByte(cursor);
    if (byte == '+' || byte == '-') {
        isNegative = byte == '-';
        takeByte(cursor);
        byte = peekByte(cursor);
    }
    // The magnitude stops growing once it is past any 32-bit value, so that a long run of
    // digits is still read to its end without overflow.
    constexpr std::int64_t beyondRange = std::int64_t{1} << 32;
    std::int64_t magnitude = 0;
    bool hasDigit = false;
    for (; isDigit(byte); byte = peekByte(cursor)) {
        hasDigit = true;
        if (magnitude < beyondRange) magnitude = (magnitude * 10) + (byte - '0');
        takeByte(cursor);
    }
    if (!hasDigit) return std::nullopt;
    const std::int64_t value = isNegative ? -magnitude : magnitude;
    if (value < INT32_MIN || value > INT32_MAX) return std::nullopt;
    return static_cast<std::int32_t>(value);
}

std::optional<char> scanSeparator(FormatCursor& cursor) {
    if (!skipWhiteSpace(cursor)) return std::nullopt;
    const int byte = peekByte(cursor);
    takeByte(cursor);
    return static_cast<char>(byte);
}

std::optional<ScannedText> scanWord(FormatCursor& cursor, std::size_t maxLength) {
    if (!skipWhiteSpace(cursor)) return std::nullopt;
    ScannedText word;
    for (int byte = peekByte(cursor); byte != EOF && !isFormatWhiteSpace(byte);
         byte = peekByte(cursor)) {
        if (word.text.size() == maxLength) {
            word.isTooLong = true;
            break;
        }
        word.text.push_back(static_cast<char>(byte));
        takeByte(cursor);
    }
    return word;
}

}  // namespace sorvek
