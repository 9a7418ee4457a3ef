// The survey database as a stream of rows: C's conversions read by hand, and row layouts.
#include "survey/database_rows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

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

// What `scan` takes from the start of a stream that holds `bytes`.
template <typename Scan>
auto scanOf(const std::string& bytes, Scan scan) {
    Stream stream(bytes);
    return scan(stream.cursor);
}

// Every row of a stream that has no header, up to its end or its first fault.
std::vector<RowRead> rowsOf(const std::string& bytes) {
    Stream stream(bytes);
    std::vector<RowRead> reads{readDatabaseRow(stream.cursor)};
    while (reads.back().outcome == RowOutcome::row) reads.push_back(readDatabaseRow(stream.cursor));
    return reads;
}

// A run of characters that only begins a number is taken and refused, not read as a number.
TEST(FloatConversion, TakesWhatPercentLfTakesAndStopsWhereTheNumberStops) {
    const double inf = std::numeric_limits<double>::infinity();
    const std::optional<double> refused;
    struct Case { std::string text; std::optional<double> value; int next; };
    for (const Case& c : {Case{"512.12,", 512.12, ','}, Case{"-0.20;", -0.2, ';'}, Case{"  \n\t+7 x", 7.0, ' '},
                          Case{".5,", 0.5, ','}, Case{"5.,", 5.0, ','}, Case{"1.5e+2x", 150.0, 'x'},
                          Case{"2E-1,", 0.2, ','}, Case{"0x1p4,", 16.0, ','}, Case{"0x1A,", 26.0, ','},
                          Case{"inf,", inf, ','}, Case{"-Infinity,", -inf, ','}, Case{"1e999,", inf, ','},
                          Case{"007", 7.0, EOF}, Case{"1e,", refused, ','}, Case{"1e+;", refused, ';'},
                          Case{"-,", refused, ','}, Case{".,", refused, ','}, Case{"0x,", refused, ','},
                          Case{"infin,", refused, ','}, Case{"nan(a", refused, EOF}, Case{"X,Y", refused, 'X'},
                          Case{"", refused, EOF}}) {
        SCOPED_TRACE(c.text);
        Stream stream(c.text);
        EXPECT_EQ(scanFloat(stream.cursor), c.value);
        EXPECT_EQ(std::getc(stream.file.get()), c.next);
    }
    EXPECT_TRUE(std::isnan(scanOf("nan(chars_1),", scanFloat).value_or(0.0)));
}

TEST(IdConversion, ReadsDecimalIdsWithinThirtyTwoBitsOnly) {
    const std::optional<std::int32_t> refused;
    struct Case { std::string text; std::optional<std::int32_t> id; };
    for (const Case& c : {Case{"12,", 12}, Case{"-7,", -7}, Case{"+3,", 3}, Case{"010,", 10},
                          Case{"2147483647,", INT32_MAX}, Case{"-2147483648,", INT32_MIN}, Case{"2147483648,", refused},
                          Case{"-2147483649,", refused}, Case{"99999999999999999999999,", refused},
                          Case{"-,", refused}, Case{"R1,", refused}}) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(scanOf(c.text, scanInt32), c.id);
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
        const std::vector<RowRead> reads = rowsOf(c.text);
        ASSERT_EQ(reads.size(), c.rows.size() + 1);
        EXPECT_EQ(reads.back().outcome, RowOutcome::end);
        for (std::size_t k = 0; k < c.rows.size(); ++k) {
            const DatabaseRow& got = reads[k].row;
            const DatabaseRow& want = c.rows[k];
            EXPECT_EQ(std::tie(got.values, got.scanId, got.subId, got.name),
                      std::tie(want.values, want.scanId, want.subId, want.name));
        }
    }
    EXPECT_EQ(rowsOf("1,2,3,4,5,6,7,8,ABCDEFG\0IJKLMNOP\n"s).back().fault, RowFault::nameTooLong);
}

}  // namespace
}  // namespace sorvek
