// Mode 9 on the real program: each scan's .bxyz cloud moved into the survey frame by its
// scan matrix and written as text, one file per scan, in table order.
#include <gtest/gtest.h>

#include "run/records.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

std::string bytesOf(const Cloud& points) {
    return std::string(reinterpret_cast<const char*>(points.data()), points.size() * sizeof(PointRecord));
}

// Scan 3 stands unrotated at (100, 200, 50) once the scanner height is in, its coordinates
// unsorted and its cube numbers stray: the export keeps the file's order. Scan 5 has no
// point file, and scan 4 after it is turned a quarter turn about Z at (10, 20, 30.29).
TEST(GeoExport, WritesEachScanInTheSurveyFrameWhateverScantransformSays) {
    struct Case { const char* label; std::optional<std::string> options; bool isBlocked; };
    for (const Case& c : {Case{"defaults", std::nullopt, false}, Case{"no scan transform", "SCANTRANSFORM 1\n", false},
                          Case{"first output blocked by a folder", std::nullopt, true}}) {
        SCOPED_TRACE(c.label);
        const std::filesystem::path folder = testing::makeScratchDir("export");
        testing::writeFile(folder / "line7.txt", "H\n100,200,49.71,0,0,0,3,45,R0042\n0,0,0,0,0,0,5,45,GONE\n"
                                                 "10,20,30,0,0,90,4,45,R0043\n");
        testing::writeFile(folder / "line7_003_045_R0042.bxyz", bytesOf({{1, 2, 3, 7, 0}, {-1, -2, -3, 1, 0}, {0.5, 0, 0, 3, 0}}));
        testing::writeFile(folder / "line7_004_045_R0043.bxyz", bytesOf({{1, 0, 0, 0, 0}}));
        if (c.isBlocked) std::filesystem::create_directory(folder / "line7_003_045_R0042._adj.txt");
        const testing::SessionResult result = testing::runSorvek(folder, {"line7.txt"}, "9\n\n\n", c.options);
        EXPECT_EQ(result.out.find("Unable to create line7_003_045_R0042._adj.txt \n") != std::string::npos, c.isBlocked);
        EXPECT_EQ(testing::readFile(folder / "line7_003_045_R0042._adj.txt"),
                  c.isBlocked ? "" : "#X,Y,Z\n101.000000 202.000000 53.000000\n99.000000 198.000000 47.000000\n"
                                     "100.500000 200.000000 50.000000\n");
        EXPECT_EQ(testing::readFile(folder / "line7_005_045_GONE._adj.txt"), "#X,Y,Z\n");
        EXPECT_EQ(testing::readFile(folder / "line7_004_045_R0043._adj.txt"), "#X,Y,Z\n10.000000 21.000000 30.290000\n");
    }
}

}  // namespace
}  // namespace sorvek
