#include "points/transforms.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace sorvek {
namespace {

constexpr double halfPi = 1.5707963267948966;

PointRecord at(double x, double y, double z) {
    PointRecord point;
    point.x = x;
    point.y = y;
    point.z = z;
    return point;
}

PointRecord moved(const ScanMatrix& matrix, PointRecord point) {
    std::vector<PointRecord> cloud{point};
    applyMatrix(cloud, matrix);
    return cloud[0];
}

std::string printedRows(const ScanMatrix& matrix) {
    std::string text(1024, '\0');
    std::FILE* file = std::tmpfile();
    writeMatrixRows(file, matrix);
    std::rewind(file);
    text.resize(std::fread(text.data(), 1, text.size(), file));
    std::fclose(file);
    return text;
}

TEST(ScanMatrix, PrintsTheRowsOfAKnownTurnWithTenDecimals) {
    const ScanMatrix matrix = composeScanMatrix(0.1, 0.2, 0.3, 1.0, 10.0, 20.0, 30.0);
    EXPECT_EQ(printedRows(matrix),
              "0.9362933636 -0.2750958473 0.2183506631 10.0000000000 \n"
              "0.2896294776 0.9564250858 -0.0369570135 20.0000000000 \n"
              "-0.1986693308 0.0978433950 0.9751703272 30.0000000000 \n"
              "0.0000000000 0.0000000000 0.0000000000 1.0000000000 \n");
}

TEST(ScanMatrix, KeepsTheNegativeZeroOfAZeroTiltAboutY) {
    const ScanMatrix matrix = composeScanMatrix(0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0);
    EXPECT_TRUE(std::signbit(matrix.m[2][0]));
    EXPECT_NE(printedRows(matrix).find("\n-0.0000000000 0.0000000000 1.0000000000 0.0000000000 \n"),
              std::string::npos);
}

TEST(ScanMatrix, ScaleReachesTheRotationBlockOnly) {
    const ScanMatrix plain = composeScanMatrix(0.1, 0.2, 0.3, 1.0, 10.0, 20.0, 30.0);
    const ScanMatrix doubled = composeScanMatrix(0.1, 0.2, 0.3, 2.0, 10.0, 20.0, 30.0);
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            SCOPED_TRACE(row * 4 + column);
            const bool isBlock = row < 3 && column < 3;
            EXPECT_EQ(doubled.m[row][column], isBlock ? 2.0 * plain.m[row][column] : plain.m[row][column]);
        }
    }
}

TEST(ScanMatrix, TurnsAboutXThenYThenZAndTranslatesLast) {
    struct Case { const char* name; double rotX, rotY, rotZ, gpsX, gpsY, gpsZ; PointRecord in, out; };
    const Case cases[] = {
        {"z quarter turn, then translation", 0, 0, halfPi, 10, 20, 30, at(1, 0, 0), at(10, 21, 30)},
        {"x quarter turn", halfPi, 0, 0, 0, 0, 0, at(0, 1, 0), at(0, 0, 1)},
        {"y quarter turn", 0, halfPi, 0, 0, 0, 0, at(0, 0, 1), at(1, 0, 0)},
        {"x then z, x axis", halfPi, 0, halfPi, 0, 0, 0, at(1, 0, 0), at(0, 1, 0)},
        {"x then z, y axis", halfPi, 0, halfPi, 0, 0, 0, at(0, 1, 0), at(0, 0, 1)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const PointRecord out =
            moved(composeScanMatrix(c.rotX, c.rotY, c.rotZ, 1.0, c.gpsX, c.gpsY, c.gpsZ), c.in);
        EXPECT_NEAR(out.x, c.out.x, 1e-15);
        EXPECT_NEAR(out.y, c.out.y, 1e-15);
        EXPECT_NEAR(out.z, c.out.z, 1e-15);
    }
}

TEST(ApplyMatrix, LeavesTheCubeAndTheSpareBytesAlone) {
    PointRecord point = at(1, 2, 3);
    point.cube = 77;
    point.spare = 0xABCDEF01;
    const PointRecord out = moved(composeScanMatrix(0.3, 0.2, 0.1, 1.0, 5, 6, 7), point);
    EXPECT_EQ(out.cube, 77U);
    EXPECT_EQ(out.spare, 0xABCDEF01U);
}

TEST(RotateCloud, TurnsCounterClockwiseAboutThePivot) {
    std::vector<PointRecord> cloud{at(101, 200, 5), at(100, 200, -3)};
    cloud[0].cube = 9;
    rotateCloud(cloud, halfPi, 100.0, 200.0);
    EXPECT_NEAR(cloud[0].x, 100.0, 1e-13);
    EXPECT_NEAR(cloud[0].y, 201.0, 1e-13);
    EXPECT_EQ(cloud[0].z, 5.0);
    EXPECT_EQ(cloud[0].cube, 9U);  // stale until the next assignment
    EXPECT_EQ(cloud[1].x, 100.0);  // the pivot itself does not move
    EXPECT_EQ(cloud[1].y, 200.0);
}

TEST(RotateCloud, TwoTurnsAddUpToOne) {
    std::vector<PointRecord> twice{at(3.5, -2.0, 1.0), at(1e6 + 0.25, 2e6 - 0.5, 30.0)};
    std::vector<PointRecord> once = twice;
    rotateCloud(twice, 0.01, 1e6, 2e6);
    rotateCloud(twice, 0.02, 1e6, 2e6);
    rotateCloud(once, 0.03, 1e6, 2e6);
    for (std::size_t i = 0; i < once.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_NEAR(twice[i].x, once[i].x, 1e-9);
        EXPECT_NEAR(twice[i].y, once[i].y, 1e-9);
    }
}

TEST(RotatedCopy, MatchesTheTurnInPlaceAndLeavesTheSourceAlone) {
    std::vector<PointRecord> source{at(1, 2, 3), at(-4, 5, 6), at(7, -8, 9)};
    for (std::uint32_t i = 0; i < source.size(); ++i) source[i].cube = i;
    const std::vector<PointRecord> before = source;
    std::vector<PointRecord> inPlace = source;
    rotateCloud(inPlace, 0.7, 0.5, -0.5);

    Cloud copy(10);
    const PointRecord* storage = copy.data();
    rotatedCopy(source, 0.7, 0.5, -0.5, copy);
    ASSERT_EQ(copy.size(), source.size());
    EXPECT_EQ(copy.data(), storage);  // the capacity it had is reused
    for (std::size_t i = 0; i < source.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(copy[i].x, inPlace[i].x);
        EXPECT_EQ(copy[i].y, inPlace[i].y);
        EXPECT_EQ(copy[i].z, source[i].z);
        EXPECT_EQ(source[i].x, before[i].x);
        EXPECT_EQ(source[i].cube, before[i].cube);
    }
}

TEST(RotatedCopy, OfAnEmptyCloudIsEmpty) {
    Cloud copy(3);
    rotatedCopy({}, 1.0, 0.0, 0.0, copy);
    EXPECT_TRUE(copy.empty());
}

}  // namespace
}  // namespace sorvek
