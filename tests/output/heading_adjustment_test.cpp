// The adjustment over all pairs on hand-made pair tables whose answers are known exactly:
// a loop, a chain, groups that no pair links, rows that carry nothing. A failed pair set
// aside is pinned with the files the rotation stage writes.
#include "output/heading_adjustment.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "output/normal_equations.h"

namespace sorvek {
namespace {

// A pair row as the solvers write it; every row of one table gets the same RMS and count
// unless a case says otherwise, so that all relative headings weigh alike.
RegistrationPair row(std::int32_t firstId, double firstDeg, std::int32_t secondId, double secondDeg,
                     double rms = 0.012, std::uint32_t pointCount = 4000) {
    return {firstId, firstDeg, secondId, secondDeg, rms, pointCount};
}

std::vector<double> rotationsOf(const HeadingAdjustment& adjustment) {
    std::vector<double> rotations;
    for (const AdjustedScan& scan : adjustment.scans) rotations.push_back(scan.rotationDeg);
    return rotations;
}

void expectRotations(const HeadingAdjustment& adjustment, const std::vector<double>& wantDeg) {
    ASSERT_EQ(adjustment.scans.size(), wantDeg.size());
    for (std::size_t k = 0; k < wantDeg.size(); ++k) {
        SCOPED_TRACE(adjustment.scans[k].scanId);
        EXPECT_NEAR(adjustment.scans[k].rotationDeg, wantDeg[k], 1e-12);
    }
}

// In a loop of three with weights p = 1 on the differences and 1/4 on each own rotation,
// the normal matrix is 3.5 I - J: it takes the mean part of the rotations to 0.5 times
// itself and the rest to 3.5 times itself. With headings that close (0.3 + 0.3 = 0.6) and
// rotations that disagree, the right-hand side (the scan's signed differences plus a
// quarter of its own rotations) is (1.05, 0.025, -1.025), so x = (23, 2.5, -18.5) / 70.
// Named the other way round, a pair gives the same bits.
TEST(HeadingAdjustment, LoopOfThreeSolvesItsNormalEquationsWhicheverWayAPairIsNamed) {
    const std::int32_t ids[] = {1, 2, 3};
    const RegistrationPair named[] = {row(1, 0.3, 2, 0.0), row(2, 0.1, 3, -0.2), row(1, 0.3, 3, -0.3)};
    const RegistrationPair turned[] = {row(2, 0.0, 1, 0.3), row(2, 0.1, 3, -0.2), row(3, -0.3, 1, 0.3)};
    expectRotations(adjustHeadings(ids, named), {23.0 / 70.0, 2.5 / 70.0, -18.5 / 70.0});
    const std::vector<double> once = rotationsOf(adjustHeadings(ids, named));
    const std::vector<double> again = rotationsOf(adjustHeadings(ids, turned));
    EXPECT_EQ(std::memcmp(once.data(), again.data(), once.size() * sizeof(double)), 0);
}

// A line has no loop. Where each scan's pairs agree on it, the adjustment is the plain mean
// whatever the weights. Where they do not, the normal equations by hand, p = 1 and q = 1/4:
// [1.25 -1 0; -1 2.5 -1; 0 -1 1.25] x = (0.25, -0.575, 0.525), so x = (0.24, 0.05, 0.46):
// the observed differences 0.2 and -0.4 move by a hundredth each, while the plain means
// (0.2, 0.05, 0.5) move by four hundredths at both ends.
TEST(HeadingAdjustment, ChainGivesThePlainMeanWhereEachScansPairsAgree) {
    const std::int32_t ids[] = {1, 2, 3, 4};
    const RegistrationPair agreeing[] = {row(1, 0.2, 2, -0.1, 0.010, 9000), row(2, -0.1, 3, 0.4, 0.030, 800),
                                         row(3, 0.4, 4, 0.0, 0.015, 4000)};
    const HeadingAdjustment adjustment = adjustHeadings(ids, agreeing);
    expectRotations(adjustment, {0.2, -0.1, 0.4, 0.0});
    for (const AdjustedScan& scan : adjustment.scans) EXPECT_NEAR(scan.sigmaDeg, 0.0, 1e-12);

    const std::int32_t three[] = {1, 2, 3};
    const RegistrationPair disagreeing[] = {row(1, 0.2, 2, 0.0), row(2, 0.1, 3, 0.5)};
    const HeadingAdjustment kept = adjustHeadings(three, disagreeing);
    expectRotations(kept, {0.24, 0.05, 0.46});
    EXPECT_NEAR(kept.scans[2].meanDeg, 0.5, 1e-15);
}

// Scans 1 to 3 form a loop and 4 and 5 a pair of their own, each group with its own datum.
// Scan 6 has only a row of the zero form; 7 has no row at all. A row with a scan the table
// does not hold, or with one scan twice, carries nothing either.
TEST(HeadingAdjustment, ScansNoAcceptedPairReachesKeepThePlainMean) {
    const std::int32_t ids[] = {1, 2, 3, 4, 5, 6, 7};
    const RegistrationPair rows[] = {row(1, 0.3, 2, 0.0),  row(4, -0.5, 5, 0.25), row(1, 0.0, 6, 0.0),
                                     row(2, 0.0, 3, -0.3), row(9, 0.7, 5, 0.1),   row(2, 0.2, 2, 0.4),
                                     row(1, 0.3, 3, -0.3)};
    const HeadingAdjustment adjustment = adjustHeadings(ids, rows);
    expectRotations(adjustment, {0.3, 0.0, -0.3, -0.5, 0.25, 0.0, 0.0});
    const std::int32_t wantPairs[] = {2, 2, 2, 1, 1, 0, 0};
    const bool wantReached[] = {true, true, true, true, true, false, false};
    for (std::size_t k = 0; k < 7; ++k) {
        SCOPED_TRACE(ids[k]);
        EXPECT_EQ(adjustment.scans[k].pairsUsed, wantPairs[k]);
        EXPECT_EQ(adjustment.scans[k].isReached, wantReached[k]);
    }
    EXPECT_NEAR(adjustment.scans[0].meanDeg, 0.2, 1e-15);  // the zero form pulls the mean
    EXPECT_NEAR(adjustment.scans[4].meanDeg, 0.175, 1e-15);  // so does the unknown scan's row
    ASSERT_EQ(adjustment.pairs.size(), 4U);
    EXPECT_EQ(adjustment.pairs[1].firstId, 4);
    EXPECT_EQ(adjustment.pairs[2].secondId, 3);
}

// A rotation beyond a half turn or an RMS below zero or beyond 1000 is refused; an RMS of
// 0 is a perfect fit, which weighs as much as an RMS of 0.0001 and no more.
TEST(HeadingAdjustment, RowsWithNumbersNoPairCanHaveAreRefused) {
    const std::int32_t ids[] = {1, 2, 3};
    const RegistrationPair rows[] = {row(1, 0.3, 2, 0.0),  row(2, 0.0, 3, -0.3), row(1, 0.3, 3, -0.3),
                                     row(1, 200.0, 2, 0.0), row(2, 0.0, 3, -181.0), row(1, 9.0, 3, 0.0, -0.01),
                                     row(1, 9.0, 3, 0.0, 1000.5), row(2, 0.0, 3, -0.3, 0.0)};
    const HeadingAdjustment adjustment = adjustHeadings(ids, rows);
    expectRotations(adjustment, {0.3, 0.0, -0.3});
    const PairStatus want[] = {PairStatus::accepted, PairStatus::accepted, PairStatus::accepted,
                               PairStatus::refused,  PairStatus::refused,  PairStatus::refused,
                               PairStatus::refused,  PairStatus::accepted};
    for (std::size_t k = 0; k < 8; ++k) {
        SCOPED_TRACE(k);
        EXPECT_EQ(adjustment.pairs[k].status, want[k]);
        EXPECT_EQ(adjustment.pairs[k].weight == 0.0, want[k] == PairStatus::refused);
    }
}

// A factor that multiplies back exactly, and refusals of what no Cholesky factor exists for.
TEST(NormalEquations, FactorsSolvesAndInvertsASmallSystemExactly) {
    SquareMatrix matrix{3, {4, 2, 0, 2, 5, 2, 0, 2, 2}};  // L = [2 0 0; 1 2 0; 0 1 1]
    const SquareMatrix original = matrix;
    ASSERT_TRUE(factorCholesky(matrix));
    const double rhs[] = {2.0, 1.0, 2.0};
    EXPECT_EQ(solveCholesky(matrix, rhs), (std::vector<double>{1.0, -1.0, 2.0}));
    const SquareMatrix inverse = invertCholesky(matrix);
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            double product = 0.0;
            for (std::size_t k = 0; k < 3; ++k) product += entry(original, i, k) * entry(inverse, k, j);
            EXPECT_NEAR(product, i == j ? 1.0 : 0.0, 1e-15);
            EXPECT_EQ(entry(inverse, i, j), entry(inverse, j, i));
        }
    }
    for (SquareMatrix refused : {SquareMatrix{2, {1, 2, 2, 1}}, SquareMatrix{1, {std::nan("")}}}) {
        EXPECT_FALSE(factorCholesky(refused));
    }
    SquareMatrix empty = zeroMatrix(0);
    EXPECT_TRUE(factorCholesky(empty));
}

}  // namespace
}  // namespace sorvek
