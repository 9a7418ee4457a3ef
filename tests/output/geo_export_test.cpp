// Mode 9 on the real program: each scan's .bxyz cloud moved into the survey frame by its
// scan matrix and written as text, one file per scan, in table order.
#include <gtest/gtest.h>

#include "run/records.h"
#include "support/scratch_dir.h"
#include "support/sorvek_session.h"
#include "synth/exchange_writer.h"

namespace sorvek {
namespace {

std::string bytesOf(const Cloud& points) {
    return std::string(reinterpret_cast<const char*>(points.data()), points.size() * sizeof(PointRecord));
}

// Scan 3 stands unrotated at (100, 200, 50) once the scanner height is in, its coordinates
// unsorted and its cube numbers stray: the export keeps the file's order. Scan 5's output is
// blocked by a folder, and the scans after it stand a quarter turn about Z at (10, 20,
// 30.29): a .bxyz scan, a LAS scan found for its missing .bxyz name, and an E57 file,
// refused with its line and left with a bare header.
TEST(GeoExport, WritesEachScanInTheSurveyFrameAndGoesOnPastAScanItCannotWrite) {
    const testing::ScratchDir scratch("export");
    const std::filesystem::path& folder = scratch.path;
    testing::writeFile(folder / "line7.txt", "H\n100,200,49.71,0,0,0,3,45,R0042\n0,0,0,0,0,0,5,45,GONE\n"
                                             "10,20,30,0,0,90,4,45,R0043\n10,20,30,0,0,90,6,45,L\n0,0,0,0,0,0,8,45,E\n");
    testing::writeFile(folder / "line7_003_045_R0042.bxyz", bytesOf({{1, 2, 3, 7, 0}, {-1, -2, -3, 1, 0}, {0.5, 0, 0, 3, 0}}));
    testing::writeFile(folder / "line7_004_045_R0043.bxyz", bytesOf({{1, 0, 0, 0, 0}}));
    std::filesystem::create_directory(folder / "line7_005_045_GONE._adj.txt");
    ASSERT_TRUE(synth::writeLasPoints(folder / "line7_006_045_L.las", {{1.5, 2.25, 3.0, 0, 0}, {-1.0, 0.5, -2.0, 0, 0}},
                                      {.scale = 0.001}));
    testing::writeFile(folder / "line7_008_045_E.bxyz", "ASTM-E57" + std::string(40, '\0'));
    const testing::SessionResult result = testing::runSorvek(folder, {"line7.txt"}, "9\n\n\n", std::nullopt);
    EXPECT_EQ(result.exitCode, 0);
    for (const char* line : {"Unable to create line7_005_045_GONE._adj.txt \n", "Loading 2 points from file line7_006_045_L.las \n",
                             "line7_008_045_E.bxyz is an E57 file: export its scans to LAS or PLY first \n"}) {
        EXPECT_NE(result.out.find(line), std::string::npos) << line << result.out;
    }
    EXPECT_EQ(testing::readFile(folder / "line7_003_045_R0042._adj.txt"),
              "#X,Y,Z\n101.000000 202.000000 53.000000\n99.000000 198.000000 47.000000\n100.500000 200.000000 50.000000\n");
    EXPECT_EQ(testing::readFile(folder / "line7_004_045_R0043._adj.txt"), "#X,Y,Z\n10.000000 21.000000 30.290000\n");
    EXPECT_EQ(testing::readFile(folder / "line7_006_045_L._adj.txt"),
              "#X,Y,Z\n7.750000 21.500000 33.290000\n9.500000 19.000000 28.290000\n");
    EXPECT_EQ(testing::readFile(folder / "line7_008_045_E._adj.txt"), "#X,Y,Z\n");
}

}  // namespace
}  // namespace sorvek
