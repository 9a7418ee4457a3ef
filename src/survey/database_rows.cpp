#include "survey/database_rows.h"

#include <cstring>

namespace sorvek {
namespace {

// Values are counted from 1 in row order, as a surveyor counts the columns.
constexpr int scanIdValue = 7;
constexpr int subIdValue = 8;
constexpr int nameValue = 9;

RowRead faultAt(RowRead read, RowFault fault, int value) {
    read.outcome = RowOutcome::fault;
    read.fault = fault;
    read.faultValue = value;
    return read;
}

// The value itself, then the one separator that every value but the name carries.
RowFault readSeparator(FormatCursor& cursor) {
    return scanSeparator(cursor) ? RowFault::none : RowFault::cutOff;
}

RowFault readFloatValue(FormatCursor& cursor, double& target) {
    if (!skipWhiteSpace(cursor)) return RowFault::cutOff;
    const std::optional<double> value = scanFloat(cursor);
    if (!value) return RowFault::notANumber;
    target = *value;
    return readSeparator(cursor);
}

RowFault readIdValue(FormatCursor& cursor, std::int32_t& target) {
    if (!skipWhiteSpace(cursor)) return RowFault::cutOff;
    const std::optional<std::int32_t> value = scanInt32(cursor);
    if (!value) return RowFault::notAnId;
    target = *value;
    return readSeparator(cursor);
}

// A zero byte ends the name as the name is used, while the rest of the word up to white
// space still belongs to the row and counts against the length limit.
RowFault readNameValue(FormatCursor& cursor, std::string& target) {
    const std::optional<ScannedText> word = scanWord(cursor, maxScanNameLength);
    if (!word) return RowFault::cutOff;
    if (word->isTooLong) return RowFault::nameTooLong;
    const std::size_t length = std::strlen(word->text.c_str());
    if (length == 0) return RowFault::nameEmpty;
    target = word->text.substr(0, length);
    return RowFault::none;
}

}  // namespace

ScannedText readDatabaseHeader(FormatCursor& cursor) { return readLine(cursor, maxHeaderLength); }

RowRead readDatabaseRow(FormatCursor& cursor) {
    RowRead read;
    const bool hasMore = skipWhiteSpace(cursor);
    read.startLine = cursor.line;
    if (!hasMore) return read;

    DatabaseRow row;
    for (std::size_t index = 0; index < row.values.size(); ++index) {
        const RowFault fault = readFloatValue(cursor, row.values[index]);
        if (fault != RowFault::none) return faultAt(read, fault, static_cast<int>(index) + 1);
    }
    if (const RowFault fault = readIdValue(cursor, row.scanId); fault != RowFault::none) {
        return faultAt(read, fault, scanIdValue);
    }
    if (const RowFault fault = readIdValue(cursor, row.subId); fault != RowFault::none) {
        return faultAt(read, fault, subIdValue);
    }
    if (const RowFault fault = readNameValue(cursor, row.name); fault != RowFault::none) {
        return faultAt(read, fault, nameValue);
    }
    read.outcome = RowOutcome::row;
    read.row = row;
    return read;
}

}  // namespace sorvek
