// The registration result file read back as (scan id, rotation) entries. The mean, count
// and spread of a scan are pinned through the rotation stage's result file.
#include "output/rotation_table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace sorvek {
namespace {

const std::string headLine = "scan1,rotation2,scan2,rotation2,rms,numpts,num_iters \n";

TEST(RotationTable, CountsTwoEntriesPerLineAfterTheHeadLine) {
    const std::string row = "3,0.5,4,-0.25,0.01,1500,0\n";
    struct Case { const char* label; std::string text; std::int32_t entries; };
    for (const Case& c : {Case{"empty file", "", 0}, Case{"head line alone", "scan1,rotation2", 0},
                          Case{"last row without line end", headLine + row + row + "5,1.0,6,2.0,0.1,9,0", 6},
                          Case{"CR LF line ends", "head\r\n1,0,2,0,0,0,0\r\n", 2},
                          Case{"an empty line counts", headLine + "\n" + row, 4},
                          Case{"a long line counts once", headLine + std::string(1000, '7') + "\n", 2}}) {
        SCOPED_TRACE(c.label);
        std::istringstream in(c.text);
        EXPECT_EQ(countRotationLines(in), c.entries);
    }
}

// Entries lie in file order, first scan then second. A field that does not parse (a point
// count beyond 32 bits too) stops its row, and the stream stays failed, so every later row
// reads as zeros. The rest of a row is discarded to its line end however long, so loading
// walks the lines that counting counted. (The RMS and point count that weigh each pair in
// the adjustment are pinned through the weights of the adjusted rotations file.)
TEST(RotationTable, LoadsEntriesInFileOrderUntilAFieldDoesNotParse) {
    struct Case { const char* label; std::string rows; std::vector<RotationEntry> want; };
    for (const Case& c : {Case{"field that does not parse",
                               "1,0.5,2,-0.25,0.1,100,0\n3,bad,4,0.75,0.1,100,0\n5,1.5,6,1.25,0.1,100,0\n",
                               {{1, 0.5}, {2, -0.25}, {3, 0.0}, {0, 0.0}, {0, 0.0}, {0, 0.0}}},
                          Case{"point count beyond 32 bits", "7,0.5,9,-0.25,0.02,4294967296,0\n5,1.5,6,1.25,0.1,100,0\n",
                               {{7, 0.5}, {9, -0.25}, {0, 0.0}, {0, 0.0}}},
                          Case{"long line", "1,0.5,2,-0.25,0.1,100," + std::string(1000, '7') + "\n3,0.75,4,1.5,0.1,100,0\n",
                               {{1, 0.5}, {2, -0.25}, {3, 0.75}, {4, 1.5}}}}) {
        SCOPED_TRACE(c.label);
        std::istringstream in(headLine + c.rows);
        const std::vector<RotationEntry> table =
            rotationEntriesOf(readRegistrationPairs(in, static_cast<std::int32_t>(c.want.size())));
        ASSERT_EQ(table.size(), c.want.size());
        for (std::size_t k = 0; k < table.size(); ++k) {
            SCOPED_TRACE(k);
            EXPECT_EQ(std::tie(table[k].scanId, table[k].rotationDeg), std::tie(c.want[k].scanId, c.want[k].rotationDeg));
        }
    }
}

}  // namespace
}  // namespace sorvek
