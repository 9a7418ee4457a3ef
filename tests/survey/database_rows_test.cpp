// The survey database as a stream of rows: C's conversions read by hand, and row layouts.
#include "survey/database_rows.h"

#include <gtest/gtest.h>

#include <cmath>

#include "run/records.h"

namespace sorvek {
namespace {

using namespace std::string_literals;

// A cursor on a stream that holds exactly `bytes`, zero bytes included.
struct Stream {
    FileHandle file{std::tmpfile()};
    FormatCursor cursor{file.get()};
    explicit Stream(const std::string& bytes) {
        std::fwrite(bytes.data(), 1, bytes.size(), file.get());
        std::rewind(file.get());
    }
};

// A run of characters that only begins a number is taken and refused, not read as a number.
TEST(FloatConversion, TakesWhatPercentLfTakesAndStopsWhereTheNumberStops) {
    const std::optional<double> refused;
    struct Case { std::string text; std::optional<double> value; int next; };
    for (const Case& c : {Case{"512.12,", 512.12, ','}, Case{"-0.20;", -0.2, ';'}, Case{"  \n\t+7 x", 7.0, ' '},
                          Case{".5,", 0.5, ','}, Case{"5.,", 5.0, ','}, Case{"1.5e+2x", 150.0, 'x'},
                          Case{"2E-1,", 0.2, ','}, Case{"0x1p4,", 16.0, ','}, Case{"0x1A,", 26.0, ','},
                          Case{"inf,", INFINITY, ','}, Case{"-Infinity,", -INFINITY, ','}, Case{"1e999,", INFINITY, ','},
                          Case{"007", 7.0, EOF}, Case{"1e,", refused, ','}, Case{"1e+;", refused, ';'},
                          Case{"-,", refused, ','}, Case{".,", refused, ','}, Case{"0x,", refused, ','},
                          Case{"infin,", refused, ','}, Case{"nan(a", refused, EOF}, Case{"X,Y", refused, 'X'},
                          Case{"", refused, EOF}}) {
        SCOPED_TRACE(c.text);
        Stream stream(c.text);
        EXPECT_EQ(scanFloat(stream.cursor), c.value);
        EXPECT_EQ(std::getc(stream.file.get()), c.next);
    }
    Stream nan("nan(chars_1),");
    EXPECT_TRUE(std::isnan(scanFloat(nan.cursor).value_or(0.0)));
}

TEST(IdConversion, ReadsDecimalIdsWithinThirtyTwoBitsOnly) {
    const std::optional<std::int32_t> refused;
    struct Case { std::string text; std::optional<std::int32_t> id; };
    for (const Case& c : {Case{"12,", 12}, Case{"-7,", -7}, Case{"+3,", 3}, Case{"010,", 10},
                          Case{"2147483647,", INT32_MAX}, Case{"-2147483648,", INT32_MIN}, Case{"2147483648,", refused},
                          Case{"-2147483649,", refused}, Case{"99999999999999999999999,", refused},
                          Case{"-,", refused}, Case{"R1,", refused}}) {
        SCOPED_TRACE(c.text);
        Stream stream(c.text);
        EXPECT_EQ(scanInt32(stream.cursor), c.id);
    }
}

// Line ends are white space and any character separates. What only looks like rows is misread.
TEST(DatabaseRows, ReadsEveryLayoutAlikeAndMisreadsWhatOnlyLooksLikeRows) {
    const std::string rowA = "512.12,421.50,101.25,0.10,-0.20,87.50,12,3,R0042";
    const std::string rowB = "-1.5;2;3;4;5;6;-7;8;A,BCDEFGHIJKLMN";
    const DatabaseRow a{{512.12, 421.50, 101.25, 0.10, -0.20, 87.50}, 12, 3, "R0042"};
    const DatabaseRow b{{-1.5, 2, 3, 4, 5, 6}, -7, 8, "A,BCDEFGHIJKLMN"};  // 15 characters at most
    struct Case { std::string text; std::vector<DatabaseRow> rows; };
    for (const Case& c : {Case{rowA + "\n" + rowB + "\n", {a, b}}, Case{rowA + "\n" + rowB, {a, b}},
                          Case{rowA + "\n\n\n" + rowB + "\n\n \n", {a, b}}, Case{rowA + " " + rowB, {a, b}},
                          Case{rowA + "\r\n" + rowB + "\r\n", {a, b}},
                          Case{"512.12 ,421.50,\n101.25, 0.10,-0.20 ,\t87.50,\n\n12,3,\nR0042\n" + rowB, {a, b}},
                          // Each separator read takes the first character of the next value.
                          Case{"1 2 3 4 5 6 7 8 9 10 11 12 13\n", {{{1, 3, 5, 7, 9, 0}, 1, 2, "3"}}},
                          // A decimal id stops at its point, which then serves as the separator.
                          Case{"1,2,3,4,5,6,7.5,8,N", {{{1, 2, 3, 4, 5, 6}, 7, 5, "8,N"}}},
                          // A name ends at a zero byte; the rest of its word is passed over.
                          Case{"1,2,3,4,5,6,7,8,AB\0CD "s + rowB, {{{1, 2, 3, 4, 5, 6}, 7, 8, "AB"}, b}}}) {
        SCOPED_TRACE(c.text);
        Stream stream(c.text);
        for (const DatabaseRow& want : c.rows) {
            const RowRead read = readDatabaseRow(stream.cursor);
            ASSERT_EQ(read.outcome, RowOutcome::row);
            EXPECT_EQ(std::tie(read.row.values, read.row.scanId, read.row.subId, read.row.name),
                      std::tie(want.values, want.scanId, want.subId, want.name));
        }
        EXPECT_EQ(readDatabaseRow(stream.cursor).outcome, RowOutcome::end);
    }
    Stream tooLong("1,2,3,4,5,6,7,8,ABCDEFG\0IJKLMNOP\n"s);  // the passed-over rest counts toward the length
    EXPECT_EQ(readDatabaseRow(tooLong.cursor).fault, RowFault::nameTooLong);
}

}  // namespace
}  // namespace sorvek
