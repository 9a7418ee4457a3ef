// Mode 9 on the real program: each scan's .bxyz cloud moved into the survey frame by its
// scan matrix and written as text, one file per scan, in table order.
#include <gtest/gtest.h>

#include "run/records.h"
#include "support/sorvek_session.h"
#include "synth/exchange_writer.h"

namespace sorvek {
namespace {

std::string bytesOf(const Cloud& points) {
    return std::string(reinterpret_cast<const char*>(points.data()), points.size() * sizeof(PointRecord));
}

// Scan 3 stands unrotated at (100, 200, 50) once the scanner height is in, its coordinates
// unsorted and its cube numbers stray: the export keeps the file's order. Scan 5's output is
// blocked by a folder, and scan 4 after it is turned a quarter turn about Z at (10, 20, 30.29).
TEST(GeoExport, WritesEachScanInTheSurveyFrameAndGoesOnPastAFileItCannotCreate) {
    const std::filesystem::path folder = testing::makeScratchDir("export");
    testing::writeFile(folder / "line7.txt", "H\n100,200,49.71,0,0,0,3,45,R0042\n0,0,0,0,0,0,5,45,GONE\n"
                                             "10,20,30,0,0,90,4,45,R0043\n");
    testing::writeFile(folder / "line7_003_045_R0042.bxyz", bytesOf({{1, 2, 3, 7, 0}, {-1, -2, -3, 1, 0}, {0.5, 0, 0, 3, 0}}));
    testing::writeFile(folder / "line7_004_045_R0043.bxyz", bytesOf({{1, 0, 0, 0, 0}}));
    std::filesystem::create_directory(folder / "line7_005_045_GONE._adj.txt");
    const testing::SessionResult result = testing::runSorvek(folder, {"line7.txt"}, "9\n\n\n", std::nullopt);
    EXPECT_NE(result.out.find("Unable to create line7_005_045_GONE._adj.txt \n"), std::string::npos) << result.out;
    EXPECT_EQ(testing::readFile(folder / "line7_003_045_R0042._adj.txt"),
              "#X,Y,Z\n101.000000 202.000000 53.000000\n99.000000 198.000000 47.000000\n100.500000 200.000000 50.000000\n");
    EXPECT_EQ(testing::readFile(folder / "line7_004_045_R0043._adj.txt"), "#X,Y,Z\n10.000000 21.000000 30.290000\n");
    std::filesystem::remove_all(folder);
}

// A LAS scan, found for its missing .bxyz name, exports as a text scan of the same
// coordinates does: both read as text is read, then moved by the scan matrix (a quarter
// turn at (10, 20, 30.29)). An E57 file is refused with its line and leaves a bare header.
TEST(GeoExport, ExportsLasAsTheTextOfItsPointsAndRefusesE57) {
    const std::filesystem::path folder = testing::makeScratchDir("export-formats");
    testing::writeFile(folder / "line7.txt", "H\n10,20,30,0,0,90,3,45,L\n10,20,30,0,0,90,4,45,T\n0,0,0,0,0,0,5,45,E\n");
    ASSERT_TRUE(synth::writeLasPoints(folder / "line7_003_045_L.las", {{1.5, 2.25, 3.0, 0, 0}, {-1.0, 0.5, -2.0, 0, 0}},
                                      {.scale = 0.001}));
    testing::writeFile(folder / "line7_004_045_T.bxyz", "1.5,2.25,3\n-1,0.5,-2\n# two points\n");
    testing::writeFile(folder / "line7_005_045_E.bxyz", "ASTM-E57" + std::string(40, '\0'));
    const testing::SessionResult result = testing::runSorvek(folder, {"line7.txt"}, "9\n\n\n", std::string());
    EXPECT_NE(result.out.find("Loading 2 points from file line7_003_045_L.las \n"), std::string::npos);
    EXPECT_NE(result.out.find("line7_005_045_E.bxyz is an E57 file: export its scans to LAS or PLY first \n"),
              std::string::npos);
    const std::string exported = "#X,Y,Z\n7.750000 21.500000 33.290000\n9.500000 19.000000 28.290000\n";
    EXPECT_EQ(testing::readFile(folder / "line7_003_045_L._adj.txt"), exported);
    EXPECT_EQ(testing::readFile(folder / "line7_004_045_T._adj.txt"), exported);
    EXPECT_EQ(testing::readFile(folder / "line7_005_045_E._adj.txt"), "#X,Y,Z\n");
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace sorvek
