// Which pairs the report lists for a line and for a site, and which row of a result file
// belongs to which pair.

#include "output/report_pairs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <utility>

namespace sorvek {
namespace {

ScanRecord scanAt(double x, double y, std::int32_t id, std::int32_t south, std::int32_t north) {
    ScanRecord scan;
    scan.gpsX = x;
    scan.gpsY = y;
    scan.scanId = id;
    scan.southScan = south;
    scan.northScan = north;
    return scan;
}

std::vector<std::pair<std::int32_t, std::int32_t>> indicesOf(const std::vector<ReportPair>& pairs) {
    std::vector<std::pair<std::int32_t, std::int32_t>> indices;
    for (const ReportPair& pair : pairs) indices.emplace_back(pair.firstIndex, pair.secondIndex);
    return indices;
}

TEST(ReportPairs, ALineListsEachNeighbourPairOnceInTheOrderOfTheRmsPass) {
    // Table order going north: the RMS pass takes each scan with its south neighbour.
    const std::vector<ScanRecord> north{scanAt(0, 0, 7, -1, 1), scanAt(0, 15, 8, 0, 2), scanAt(3, 30, 9, 1, -1)};
    const std::vector<ReportPair> pairs = linePairs(north);
    EXPECT_EQ(indicesOf(pairs), (std::vector<std::pair<std::int32_t, std::int32_t>>{{1, 0}, {2, 1}}));
    EXPECT_DOUBLE_EQ(pairs[1].spacing, std::sqrt(234.0));
    EXPECT_TRUE(pairs[0].isEvaluatedPair);
    // With GPSMINDIST 6 scan 0 skips scan 2, five units away, for scan 1: a north
    // relation that is not mutual, which the registration solves and the RMS pass skips.
    const std::vector<ScanRecord> oneSided{scanAt(0, 0, 1, -1, 1), scanAt(0, 40, 2, 2, -1), scanAt(0, 5, 3, -1, 1)};
    const std::vector<ReportPair> sided = linePairs(oneSided);
    EXPECT_EQ(indicesOf(sided), (std::vector<std::pair<std::int32_t, std::int32_t>>{{1, 2}, {0, 1}}));
    EXPECT_TRUE(sided[0].isEvaluatedPair);
    EXPECT_FALSE(sided[1].isEvaluatedPair);
    EXPECT_TRUE(linePairs({}).empty());
}

TEST(ReportPairs, ASiteTakesEveryPairWithinTheSpanBothEndsIncluded) {
    RunOptions options;
    options.GPSMINDIST = 5.0;
    options.GPSMAXDIST = 20.0;
    const std::vector<ScanRecord> scans{scanAt(0, 0, 1, 0, 0), scanAt(5, 0, 2, 0, 0), scanAt(20, 0, 3, 0, 0),
                                        scanAt(0, 20.5, 4, 0, 0)};
    EXPECT_EQ(indicesOf(sitePairs(scans, options)),
              (std::vector<std::pair<std::int32_t, std::int32_t>>{{0, 1}, {0, 2}, {1, 2}}));
}

TEST(ReportPairs, RowsGoToThePairOfTheirIdsInEitherOrder) {
    const std::vector<ScanRecord> scans{scanAt(0, 0, 4, -1, 1), scanAt(0, 15, 5, 0, 2), scanAt(0, 30, 5, 1, -1)};
    std::vector<ReportPair> pairs = linePairs(scans);  // (1,0) ids 5-4, (2,1) ids 5-5
    std::istringstream file("scan1,rotation2,scan2,rotation2,rms,numpts,num_iters \r\n"
                            "4,0.1,5,-0.1,0.02,3000,0\r\n"
                            "5,0.2,5,0.3,0.03,2000,0\n"
                            "5,0.4,4,0.5,0.04,1000,0\n"
                            "x,1,y,2\n");
    const std::vector<ResultFields> rows = readResultRows(file);
    ASSERT_EQ(rows.size(), 4U);
    EXPECT_EQ(rows[0], (ResultFields{"4", "0.1", "5", "-0.1", "0.02", "3000", "0"}));
    // The third row names the first pair again, which already has its row; the last names
    // no scans at all.
    EXPECT_EQ(attachRows(pairs, scans, rows, 2, &ReportPair::registrationRow), 2);
    EXPECT_EQ(pairs[0].registrationRow, rows[0]);
    EXPECT_EQ(pairs[1].registrationRow, rows[1]);
    EXPECT_TRUE(pairs[0].rmsRow.empty());
    std::istringstream empty("");
    EXPECT_TRUE(readResultRows(empty).empty());
}

}  // namespace
}  // namespace sorvek
