// The survey database as a stream of rows: C's conversions read by hand, the layouts a
// surveyor's file may take, and every way a file is refused, with the line it names.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "run/records.h"
#include "survey/database_rows.h"
#include "survey/format_scanner.h"

namespace sorvek {
namespace {

using namespace std::string_literals;

// A stream holding exactly `bytes`, zero bytes included.
FileHandle streamOf(const std::string& bytes) {
    FileHandle file(std::tmpfile());
    std::fwrite(bytes.data(), 1, bytes.size(), file.get());
    std::rewind(file.get());
    return file;
}

// Every row of a stream that has no header, up to its end or its first fault.
std::vector<RowRead> rowsOf(const std::string& bytes) {
    const FileHandle file = streamOf(bytes);
    FormatCursor cursor{file.get()};
    std::vector<RowRead> reads;
    do {
        reads.push_back(readDatabaseRow(cursor));
    } while (reads.back().outcome == RowOutcome::row);
    return reads;
}

TEST(FloatConversion, TakesWhatPercentLfTakesAndStopsWhereTheNumberStops) {
    const double inf = std::numeric_limits<double>::infinity();
    struct Case { std::string text; double value; int next; };
    for (const Case& c : {Case{"512.12,", 512.12, ','}, Case{"-0.20;", -0.2, ';'},
                          Case{"  \n\t+7 x", 7.0, ' '}, Case{".5,", 0.5, ','}, Case{"5.,", 5.0, ','},
                          Case{"1.5e+2x", 150.0, 'x'}, Case{"2E-1,", 0.2, ','},
                          Case{"0x1p4,", 16.0, ','}, Case{"0x1A,", 26.0, ','},
                          Case{"inf,", inf, ','}, Case{"-Infinity,", -inf, ','},
                          Case{"1e999,", inf, ','}, Case{"007", 7.0, EOF}}) {
        SCOPED_TRACE(c.text);
        const FileHandle file = streamOf(c.text);
        FormatCursor cursor{file.get()};
        EXPECT_EQ(scanFloat(cursor), c.value);
        EXPECT_EQ(std::getc(file.get()), c.next);
    }
}

TEST(FloatConversion, RefusesARunThatOnlyBeginsANumber) {
    for (const std::string text : {"1e,", "1e+;", "-,", ".,", "0x,", "infin,", "nan(a", "X,Y", ""}) {
        SCOPED_TRACE(text);
        const FileHandle file = streamOf(text);
        FormatCursor cursor{file.get()};
        EXPECT_FALSE(scanFloat(cursor));
    }
    const FileHandle file = streamOf("nan(chars_1),");
    FormatCursor cursor{file.get()};
    EXPECT_TRUE(std::isnan(scanFloat(cursor).value_or(0.0)));
}

TEST(IdConversion, ReadsDecimalIdsWithinThirtyTwoBitsOnly) {
    struct Case { std::string text; std::optional<std::int32_t> id; };
    for (const Case& c : {Case{"12,", 12}, Case{"-7,", -7}, Case{"+3,", 3}, Case{"010,", 10},
                          Case{"2147483647,", INT32_MAX}, Case{"-2147483648,", INT32_MIN},
                          Case{"2147483648,", std::nullopt}, Case{"-2147483649,", std::nullopt},
                          Case{"99999999999999999999999,", std::nullopt}, Case{"-,", std::nullopt},
                          Case{"R1,", std::nullopt}}) {
        SCOPED_TRACE(c.text);
        const FileHandle file = streamOf(c.text);
        FormatCursor cursor{file.get()};
        EXPECT_EQ(scanInt32(cursor), c.id);
    }
}

TEST(DatabaseRows, ReadsEveryLayoutOfTheSameRowsAlike) {
    const std::string rowA = "512.12,421.50,101.25,0.10,-0.20,87.50,12,3,R0042";
    const std::string rowB = "-1.5;2;3;4;5;6;-7;8;A,B";
    for (const std::string& text :
         {rowA + "\n" + rowB + "\n", rowA + "\n" + rowB, rowA + "\n\n\n" + rowB + "\n\n \n",
          rowA + " " + rowB, rowA + "\r\n" + rowB + "\r\n",
          "512.12 ,421.50,\n101.25, 0.10,-0.20 ,\t87.50,\n\n12,3,\nR0042\n-1.5;2;3;4;5;6;-7;8;A,B"s}) {
        SCOPED_TRACE(text);
        const std::vector<RowRead> reads = rowsOf(text);
        ASSERT_EQ(reads.size(), 3U);
        EXPECT_EQ(reads[2].outcome, RowOutcome::end);
        const DatabaseRow& a = reads[0].row;
        EXPECT_EQ(a.values, (std::array<double, 6>{512.12, 421.50, 101.25, 0.10, -0.20, 87.50}));
        EXPECT_EQ(a.scanId, 12);
        EXPECT_EQ(a.subId, 3);
        EXPECT_EQ(a.name, "R0042");
        const DatabaseRow& b = reads[1].row;
        EXPECT_EQ(b.values, (std::array<double, 6>{-1.5, 2, 3, 4, 5, 6}));
        EXPECT_EQ(b.scanId, -7);
        EXPECT_EQ(b.subId, 8);
        EXPECT_EQ(b.name, "A,B");
    }
}

TEST(DatabaseRows, RowsSeparatedOnlyByBlanksAreMisreadWithoutAFault) {
    // Each separator read takes the first character of the next value.
    const std::vector<RowRead> reads = rowsOf("1 2 3 4 5 6 7 8 9 10 11 12 13\n");
    ASSERT_EQ(reads.size(), 2U);
    const DatabaseRow& row = reads[0].row;
    EXPECT_EQ(row.values, (std::array<double, 6>{1, 3, 5, 7, 9, 0}));
    EXPECT_EQ(row.scanId, 1);
    EXPECT_EQ(row.subId, 2);
    EXPECT_EQ(row.name, "3");
    EXPECT_EQ(reads[1].outcome, RowOutcome::end);

    // A decimal id stops at its point, which then serves as the separator.
    const DatabaseRow decimalId = rowsOf("1,2,3,4,5,6,7.5,8,N").front().row;
    EXPECT_EQ(decimalId.scanId, 7);
    EXPECT_EQ(decimalId.subId, 5);
    EXPECT_EQ(decimalId.name, "8,N");
}

TEST(DatabaseRows, ANameEndsAtAZeroByteAndIsCountedToTheNextBlank) {
    const std::vector<RowRead> cut = rowsOf("1,2,3,4,5,6,7,8,AB\0CD 1,2,3,4,5,6,7,8,C"s);
    ASSERT_EQ(cut.size(), 3U);
    EXPECT_EQ(cut[0].row.name, "AB");
    EXPECT_EQ(cut[1].row.name, "C");
    const std::vector<RowRead> long16 = rowsOf("1,2,3,4,5,6,7,8,ABCDEFG\0IJKLMNOP\n"s);
    EXPECT_EQ(long16.back().fault, RowFault::nameTooLong);
}

TEST(DatabaseRows, RefusesWhatCannotBeReadAsRowsAndNamesTheLineWhereTheRowStarts) {
    const std::string good = "1,2,3,4,5,6,7,8,N\n";
    struct Case { std::string label; std::string text; RowFault fault; int value; std::int64_t line; };
    for (const Case& c : {
             Case{"second header line", "X,Y,Z,RX,RY,RZ,ID,SUB,NAME\n", RowFault::notANumber, 1, 1},
             Case{"word for a rotation", good + "1,2,3,4,five,6,7,8,N\n", RowFault::notANumber, 5, 2},
             Case{"fault on a later line of a broken row", good + "\n1,2,\n3,x\n", RowFault::notANumber, 4, 3},
             Case{"letter before an id", good + "1,2,3,4,5,6,R7,8,N\n", RowFault::notAnId, 7, 2},
             Case{"id beyond 32 bits", good + "1,2,3,4,5,6,7,4294967296,N\n", RowFault::notAnId, 8, 2},
             Case{"ends before the name", good + "1,2,3,4,5,6,7,8,\n\n", RowFault::cutOff, 9, 2},
             Case{"ends after a value", good + "1,2,3", RowFault::cutOff, 3, 2},
             Case{"name of 16", good + "1,2,3,4,5,6,7,8,ABCDEFGHIJKLMNOP\n", RowFault::nameTooLong, 9, 2},
             Case{"name from a zero byte", good + "1,2,3,4,5,6,7,8,\0AB\n"s, RowFault::nameEmpty, 9, 2},
         }) {
        SCOPED_TRACE(c.label);
        const RowRead last = rowsOf(c.text).back();
        EXPECT_EQ(last.outcome, RowOutcome::fault);
        EXPECT_EQ(last.fault, c.fault);
        EXPECT_EQ(last.faultValue, c.value);
        EXPECT_EQ(last.startLine, c.line);
    }
}

TEST(DatabaseRows, TakesANameOfFifteenCharacters) {
    const std::vector<RowRead> reads = rowsOf("1,2,3,4,5,6,7,8,ABCDEFGHIJKLMNO");
    ASSERT_EQ(reads.size(), 2U);
    EXPECT_EQ(reads[0].row.name, "ABCDEFGHIJKLMNO");
}

TEST(DatabaseHeader, HoldsUpTo255CharactersWhateverTheyAre) {
    struct Case { std::string text; std::string header; bool isTooLong; };
    const std::string full(255, 'h');
    for (const Case& c : {Case{"", "", false}, Case{"\n1", "", false},
                          Case{"X,Y,Z\n1", "X,Y,Z", false}, Case{"X,Y\r\n1", "X,Y\r", false},
                          Case{full + "\n1", full, false}, Case{full, full, false},
                          Case{full + "h\n1", full, true}}) {
        SCOPED_TRACE(c.text.size());
        const FileHandle file = streamOf(c.text);
        FormatCursor cursor{file.get()};
        const ScannedText header = readDatabaseHeader(cursor);
        EXPECT_EQ(header.text, c.header);
        EXPECT_EQ(header.isTooLong, c.isTooLong);
        if (!c.isTooLong) {
            EXPECT_EQ(cursor.line, c.text.find('\n') == std::string::npos ? 1 : 2);
        }
    }
}

}  // namespace
}  // namespace sorvek
