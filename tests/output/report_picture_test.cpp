// The overlap pictures of the report: where a point lands, how a wall seen by one scan
// or by both is coloured, and the PNG and base64 text that carry the picture.

#include "output/overlap_image.h"
#include "output/png_image.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/png_check.h"

namespace sorvek {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(OverlapPicture, PixelIndexCoversTheWindowAndNothingElse) {
    struct Case { double offset; std::optional<std::int32_t> index; };
    for (const Case c : {Case{0.0, 0}, Case{0.999, 0}, Case{1.0, 1}, Case{9.999, 9}, Case{10.0, std::nullopt},
                         Case{-0.001, std::nullopt}, Case{nan, std::nullopt}, Case{1e300, std::nullopt}}) {
        SCOPED_TRACE(c.offset);
        EXPECT_EQ(pixelIndexOf(c.offset, 1.0, 10), c.index);
    }
}

TEST(OverlapPicture, WindowKeepsTheBoxShapeOrIsEmpty) {
    const PlanWindow wide = planWindowOver(CloudBounds{0, 1000000.0, 1000040.0, -20.0, 0.0, 0.0, 1.0}, 400);
    EXPECT_EQ(wide.width, 400);
    EXPECT_EQ(wide.height, 200);
    EXPECT_DOUBLE_EQ(wide.unitsPerPixel, 0.1);
    EXPECT_DOUBLE_EQ(wide.minX, 1000000.0);
    EXPECT_DOUBLE_EQ(wide.minY, -20.0);
    // Boxes that do not meet, have no extent across, or are not numbers give no picture.
    for (const CloudBounds box : {CloudBounds{0, 5.0, 1.0, 0.0, 1.0, 0.0, 1.0}, CloudBounds{0, 0.0, 1.0, 3.0, 3.0, 0.0, 1.0},
                                  CloudBounds{0, nan, 1.0, 0.0, 1.0, 0.0, 1.0}}) {
        EXPECT_EQ(planWindowOver(box, 400).width, 0);
    }
}

// A wall is a column of points over one pixel; the ground a single point.
void addColumn(Cloud& cloud, double x, double y, double bottom, double top) {
    for (double z = bottom; z <= top; z += 0.05) cloud.push_back(PointRecord{x, y, z, 0, 0});
}

std::array<int, 3> pixelAt(const RgbImage& image, int column, int row) {
    const auto at = static_cast<std::size_t>((row * image.width) + column) * 3;
    return {image.pixels[at], image.pixels[at + 1], image.pixels[at + 2]};
}

TEST(OverlapPicture, WallsShineInTheirScansColourAndTurnWhiteWhereBothAgree) {
    const PlanWindow window{100.0, 200.0, 1.0, 4, 2};
    Cloud first;
    Cloud second;
    addColumn(first, 100.5, 201.5, 0.0, 3.0);   // top left: a wall of the first scan only
    addColumn(second, 101.5, 201.5, 0.0, 3.0);  // top, second column: the second scan only
    addColumn(first, 102.5, 201.5, 0.0, 3.0);   // top, third column: both scans
    addColumn(second, 102.5, 201.5, 0.0, 3.0);
    first.push_back(PointRecord{100.5, 200.5, 0.0, 0, 0});   // bottom left: flat ground
    first.push_back(PointRecord{99.5, 200.5, 9.0, 0, 0});    // west of the window
    first.push_back(PointRecord{103.5, 200.5, nan, 0, 0});   // no height at all
    const RgbImage image = drawOverlap(first, second, window);
    ASSERT_EQ(image.pixels.size(), 4U * 2U * 3U);
    EXPECT_EQ(pixelAt(image, 0, 0), (std::array<int, 3>{255, 86, 70}));
    EXPECT_EQ(pixelAt(image, 1, 0), (std::array<int, 3>{56, 216, 255}));
    EXPECT_EQ(pixelAt(image, 2, 0), (std::array<int, 3>{255, 255, 255}));
    EXPECT_EQ(pixelAt(image, 0, 1), (std::array<int, 3>{72, 31, 31}));  // dim: 0.22 of red
    EXPECT_EQ(pixelAt(image, 3, 0), (std::array<int, 3>{16, 16, 20}));  // background
    EXPECT_EQ(pixelAt(image, 3, 1), (std::array<int, 3>{16, 16, 20}));
}

TEST(Png, CarriesEveryPixelInAFileAnyReaderTakes) {
    RgbImage image{3, 2, {}};
    for (int k = 0; k < 18; ++k) image.pixels.push_back(static_cast<std::uint8_t>(k * 14));
    const std::string png = encodePng(image);
    const testing::DecodedPng decoded = testing::decodePng(png);
    ASSERT_TRUE(decoded.isValid) << decoded.fault;
    EXPECT_EQ(decoded.width, 3U);
    EXPECT_EQ(decoded.height, 2U);
    EXPECT_EQ(decoded.pixels, image.pixels);
    EXPECT_EQ(encodePng(RgbImage{}), "");
    EXPECT_EQ(encodePng(RgbImage{2, 2, std::vector<std::uint8_t>(11, 0)}), "");  // one byte short
}

}  // namespace
}  // namespace sorvek
