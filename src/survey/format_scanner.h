#pragma once
// Formatted input read by hand from a C stream: the white space, "%lf", "%d", " %c" and
// "%s" conversions, with the line of every character known, so that a reader built on
// them can say where its input went wrong.

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

namespace sorvek {

struct FormatCursor {
    std::FILE* file = nullptr;  // borrowed; whoever opened it closes it
    std::int64_t line = 1;      // 1-based line of the next character to be read
};

// The six characters that C's formatted input skips as white space, whatever the locale.
bool isFormatWhiteSpace(int byte);

// Skips white space. Returns false when the stream ends before any other character.
bool skipWhiteSpace(FormatCursor& cursor);

// " %lf": skips white space, then takes the longest run of characters that could still
// begin a floating-point number (decimal, hexadecimal, inf, infinity, nan, nan(...)).
// nullopt when that run is not a whole number, also when it is empty.
std::optional<double> scanFloat(FormatCursor& cursor);

// " %d" for a 32-bit integer: an optional sign and decimal digits. nullopt when there is
// no digit or the value lies outside the 32-bit range.
std::optional<std::int32_t> scanInt32(FormatCursor& cursor);

// " %c": skips white space and takes the next character, whatever it is. nullopt at the
// end of the stream.
std::optional<char> scanSeparator(FormatCursor& cursor);

// Text read into a bounded buffer: what fitted, and whether there was more.
struct ScannedText {
    std::string text;        // at most the caller's maxLength characters, zero bytes included
    bool isTooLong = false;  // the text went on beyond maxLength; the cursor stands inside it
};

// One line, up to and without its line feed, or up to the end of the stream.
ScannedText readLine(FormatCursor& cursor, std::size_t maxLength);

// " %s": skips white space and takes everything up to the next white space or the end of
// the stream. nullopt when the stream ends before the word begins.
std::optional<ScannedText> scanWord(FormatCursor& cursor, std::size_t maxLength);

}  // namespace sorvek
