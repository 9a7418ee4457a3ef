#include "points/text_reader.h"

#include <gtest/gtest.h>

#include "support/scratch_dir.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

// Reads `contents` as a text point file, scanner at the origin; gives x, y, z and cube of
// each stored point, and the console text with the file's path written as @.
std::vector<double> readText(const Run& run, const std::string& contents, std::string& out) {
    const testing::ScratchDir scratch("text-reader");
    const std::string path = (scratch.path / "points.txt").string();
    testing::writeFile(path, contents);
    Cloud cloud;
    CloudBounds bounds;
    double cliffDistance = 0.0;
    ::testing::internal::CaptureStdout();
    readTextPoints(run, path, cloud, bounds, cliffDistance, run.options.ZMIN, Point3{});
    out = ::testing::internal::GetCapturedStdout();
    if (const auto at = out.find(path); at != std::string::npos) out.replace(at, path.size(), "@");
    std::vector<double> stored;
    for (const PointRecord& p : cloud) stored.insert(stored.end(), {p.x, p.y, p.z, 1.0 * p.cube});
    return stored;
}

// Only the first byte of a line decides whether the line is counted, and one scan of
// "%lf%c%lf%c%lf" whether it is a point: any one character between two numbers, then
// blanks skipped. Lines come in pieces of at most 255 characters. Mode 5 prints no Cliff
// Distance.
TEST(TextReader, CountsLinesByTheirFirstByteAndStoresThoseThatScanAsPoints) {
    struct Case { std::string contents; int counted, stored; };
    for (const Case& c : {Case{"1.5  2  3\n", 1, 1}, {"1.5\t2\t3\n", 1, 1}, {"1.5,2,3,0.1,255\r\n", 1, 1},
                          {"1.5;2;3", 1, 1}, {"1.5 ,2,3\n", 1, 0}, {"1.5,2\n", 1, 0}, {" #1.5,2,3\n", 1, 0},
                          {"1.5,2,3" + std::string(300, ' ') + "\n", 2, 1}, {"# a\nx y z\nX,Y,Z\n", 0, 0}}) {
        sorvek::Run run;
        run.state.runMode = 5;
        std::string out;
        EXPECT_EQ(readText(run, c.contents, out), (c.stored ? std::vector<double>{1.5, 2, 3, 0} : std::vector<double>{}))
            << c.contents;
        EXPECT_EQ(out, (c.counted == 0 ? "NO POINTS in file!!!!!  \n"
                                       : "Loading " + std::to_string(c.counted) + " points from file @ \n") +
                           "Finished loading " + std::to_string(c.stored) + " points\n");
    }
}

// Limits are inclusive and compare translated values; rotated files are read as they are.
// In mode 5 the range is the middle of the band, so an empty band passes nothing.
TEST(TextReader, FiltersInclusivelyAfterTranslating) {
    sorvek::Run run;
    run.options.TRANSX = 1000.0;
    run.options.XMAX = 5.0;
    run.options.MAXRANGE = 7.0;
    const char* const contents = "1005,0,0\n1006,0,0\n1003,6,2\n";  // x 5, 6 and 3; range 5, 6, 7
    std::string out;
    EXPECT_EQ(readText(run, contents, out), (std::vector<double>{5, 0, 0, 0, 3, 6, 2, 0}));
    run.state.rmsPhase = true;
    EXPECT_TRUE(readText(run, contents, out).empty());
    run.state.rmsPhase = false;
    run.options.FILEEXT = 1;
    EXPECT_TRUE(readText(run, contents, out).empty());
    run.options.FILEEXT = 0;
    run.state.runMode = 5;
    run.options.MINRANGE = 8.0;
    EXPECT_TRUE(readText(run, "1003,6,2\n", out).empty());
}

}  // namespace
}  // namespace sorvek
