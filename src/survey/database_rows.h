#pragma once
// The rows of a survey database as a stream of values: the header line, then rows of six
// floats, two ids and a name, each value followed by one separator of any kind. Line ends
// count as white space, so that a row may be broken over lines or share one.

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>

#include "survey/format_scanner.h"

namespace sorvek {

inline constexpr std::size_t maxHeaderLength = 255;   // characters of the header line
inline constexpr std::size_t maxScanNameLength = 15;  // characters of a row's name

// One row as it stands in the file, before any conversion.
struct DatabaseRow {
    std::array<double, 6> values{};  // X, Y, Z, then the rotations about X, Y, Z in degrees
    std::int32_t scanId = 0;         // first id
    std::int32_t subId = 0;          // second id
    std::string name;                // up to its first zero byte; never empty in a read row
};

enum class RowOutcome {
    row,    // a whole row was read
    end,    // only white space was left before the end of the stream
    fault,  // the stream cannot be read as rows from here on
};

enum class RowFault {
    none,
    notANumber,   // value 1 to 6 does not convert as a float
    notAnId,      // value 7 or 8 is no decimal whole number within 32 bits
    cutOff,       // the stream ends before value `faultValue` or its separator
    nameTooLong,  // the name has more than maxScanNameLength characters
    nameEmpty,    // the name begins with a zero byte
};

struct RowRead {
    RowOutcome outcome = RowOutcome::end;
    RowFault fault = RowFault::none;  // why, when the outcome is a fault
    int faultValue = 0;               // 1 to 9: the value at fault, counted in row order
    std::int64_t startLine = 0;  // line of the row's first character, or where the stream ended
    DatabaseRow row;             // meaningful only when the outcome is a row
};

// The header line, cut at maxHeaderLength characters; isTooLong when it went on.
ScannedText readDatabaseHeader(FormatCursor& cursor);

// Reads the next row. After a fault the cursor stands somewhere inside the row, and the
// stream must not be read as rows again.
RowRead readDatabaseRow(FormatCursor& cursor);

}  // namespace sorvek
