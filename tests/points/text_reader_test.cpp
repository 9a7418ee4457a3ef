#include "points/text_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "support/sorvek_session.h"

namespace sorvek {
namespace {

using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStdout;

struct TextRead {
    bool allocated = false;
    Cloud cloud;
    CloudBounds bounds;
    double cliffDistance = -1.0;
    std::string path;
    std::string out;
};

struct ScanAt {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

// Reads `contents` as a text point file, by default as a registration run would.
TextRead readText(const Run& run, const std::string& contents, ScanAt scan = {}) {
    const std::filesystem::path dir = testing::makeScratchDir("text-reader");
    testing::writeFile(dir / "points.txt", contents);
    TextRead result;
    result.path = (dir / "points.txt").string();
    CaptureStdout();
    result.allocated = readTextPoints(run, result.path, result.cloud, result.bounds,
                                      result.cliffDistance, run.options.ZMIN, scan.x, scan.y, scan.z);
    result.out = GetCapturedStdout();
    return result;
}

std::vector<double> xsOf(const Cloud& cloud) {
    std::vector<double> xs;
    for (const PointRecord& point : cloud) xs.push_back(point.x);
    return xs;
}

TEST(TextReader, ReadsThreeNumbersWithOneSeparatorCharacterBetween) {
    struct Case { const char* name; const char* line; bool loads; };
    const Case cases[] = {
        {"commas", "1.5,2,3\n", true},
        {"blanks", "1.5 2 3\n", true},
        {"tabs", "1.5\t2\t3\n", true},
        {"two blanks", "1.5  2  3\n", true},
        {"semicolons", "1.5;2;3\n", true},
        {"further columns", "1.5,2,3,0.1,0.2,0.3,255\n", true},
        {"CRLF line end", "1.5,2,3\r\n", true},
        {"no line end", "1.5,2,3", true},
        {"a blank before the comma", "1.5 ,2,3\n", false},
        {"two numbers", "1.5,2\n", false},
        {"a blank first, then a hash", " #1.5,2,3\n", false},
        {"a blank line", "\n", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        sorvek::Run run;
        const TextRead read = readText(run, c.line);
        EXPECT_TRUE(read.allocated);
        ASSERT_EQ(read.cloud.size(), c.loads ? 1U : 0U);
        if (!c.loads) continue;
        EXPECT_EQ(read.cloud[0].x, 1.5);
        EXPECT_EQ(read.cloud[0].y, 2.0);
        EXPECT_EQ(read.cloud[0].z, 3.0);
        EXPECT_EQ(read.cloud[0].cube, 0U);
    }
}

TEST(TextReader, AnnouncesTheCountedLinesAndFinishesWithTheStoredOnes) {
    sorvek::Run run;
    run.state.runMode = 5;  // no Cliff Distance line
    const std::string contents = "# scan 7\nx,y,z\nX Y Z\n1,2,3\n\n #4,5,6\n4,5,6\n";
    const TextRead read = readText(run, contents);
    EXPECT_EQ(read.out, "Loading 4 points from file " + read.path + " \nFinished loading 2 points\n");
    EXPECT_EQ(xsOf(read.cloud), (std::vector<double>{1, 4}));
    EXPECT_EQ(read.cliffDistance, -1.0);  // untouched in mode 5
}

TEST(TextReader, CountsEachPieceOfAnOverlongLineAsALine) {
    sorvek::Run run;
    run.state.runMode = 5;
    const std::string longLine = "1,2,3" + std::string(300, ' ') + "\n";  // pieces of 255, then 51
    const TextRead read = readText(run, longLine + "4,5,6\n");
    EXPECT_EQ(read.out, "Loading 3 points from file " + read.path + " \nFinished loading 2 points\n");
}

TEST(TextReader, FiltersInclusivelyAfterTranslating) {
    sorvek::Run run;
    run.options.TRANSX = 1000.0;
    run.options.XMAX = 5.0;
    run.options.MAXRANGE = 7.0;
    // Translated x is 5, 6 and 3; the range from (0, 0, 0) of the last is exactly 7.
    const std::string contents = "1005,0,0\n1006,0,0\n1003,6,2\n";
    const TextRead read = readText(run, contents);
    EXPECT_EQ(xsOf(read.cloud), (std::vector<double>{5, 3}));

    run.state.rmsPhase = true;  // the evaluation reads rotated files as they are
    EXPECT_TRUE(readText(run, contents).cloud.empty());
    run.state.rmsPhase = false;
    run.options.FILEEXT = 1;
    EXPECT_TRUE(readText(run, contents).cloud.empty());
}

TEST(TextReader, InModeFiveTheRangeIsTheMiddleOfTheBand) {
    sorvek::Run run;
    run.state.runMode = 5;
    run.options.MINRANGE = 10.0;
    run.options.MAXRANGE = 20.0;
    EXPECT_EQ(readText(run, "0,0,0\n500,0,0\n").cloud.size(), 2U);
    run.options.MINRANGE = 20.0;
    run.options.MAXRANGE = 10.0;
    EXPECT_TRUE(readText(run, "0,0,0\n500,0,0\n").cloud.empty());
}

TEST(TextReader, TakesTheCliffDistanceFromTheMeanOfTheStoredPoints) {
    sorvek::Run run;
    const TextRead read = readText(run, "0,0,1\n2,0,1\n", ScanAt{1, 0, 3});
    EXPECT_EQ(read.cliffDistance, 2.0);
    EXPECT_EQ(read.out, "Loading 2 points from file " + read.path +
                            " \nCliff Distance 2.000000 \nFinished loading 2 points\n");
}

TEST(TextReader, LetsARejectedFirstPointWidenTheBounds) {
    sorvek::Run run;
    run.options.XMIN = 0.0;
    const TextRead read = readText(run, "-50,9,9\n1,2,3\n4,-1,0\n2,5,-7\n");
    EXPECT_EQ(xsOf(read.cloud), (std::vector<double>{1, 4, 2}));
    EXPECT_EQ(read.bounds.count, 3);
    EXPECT_EQ(read.bounds.minX, -50.0);
    EXPECT_EQ(read.bounds.maxX, 4.0);
    EXPECT_EQ(read.bounds.minY, -1.0);
    EXPECT_EQ(read.bounds.maxY, 9.0);
    EXPECT_EQ(read.bounds.minZ, -7.0);
    EXPECT_EQ(read.bounds.maxZ, 9.0);
}

TEST(TextReader, ReportsFilesWithoutPoints) {
    struct Case { const char* name; const char* contents; bool allocated; const char* messages; };
    const Case cases[] = {
        {"an empty file", "", false, "NO POINTS in file!!!!!  \n"},
        {"comments only", "# a\nx y z\n", false, "NO POINTS in file!!!!!  \n"},
        {"every point filtered", "1,1,-20000000000\n", true, "Loading 1 points from file @ \n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        sorvek::Run run;
        TextRead read = readText(run, c.contents);
        EXPECT_EQ(read.allocated, c.allocated);
        EXPECT_TRUE(read.cloud.empty());
        EXPECT_EQ(read.bounds.count, 0);
        EXPECT_TRUE(std::isnan(read.cliffDistance));  // 0 / 0 with no point stored
        std::string expected = c.messages;
        if (const auto at = expected.find('@'); at != std::string::npos) expected.replace(at, 1, read.path);
        const std::string nanText = read.out.substr(expected.size() + 15);
        EXPECT_EQ(read.out, expected + "Cliff Distance " + nanText);
        EXPECT_NE(nanText.find("nan \nFinished loading 0 points\n"), std::string::npos);
    }
}

TEST(TextReader, ReportsAFileThatDoesNotOpen) {
    sorvek::Run run;
    run.state.runMode = 5;
    Cloud cloud(3);
    CloudBounds bounds;
    bounds.count = 9;
    double cliffDistance = 0.0;
    CaptureStdout();
    const bool allocated = readTextPoints(run, "no/such/file.txt", cloud, bounds, cliffDistance,
                                          run.options.ZMIN, 0, 0, 0);
    EXPECT_EQ(GetCapturedStdout(),
              "UNABLE TO OPEN FILE no/such/file.txt \nNO POINTS in file!!!!!  \nFinished loading 0 points\n");
    EXPECT_FALSE(allocated);
    EXPECT_TRUE(cloud.empty());
    EXPECT_EQ(bounds.count, 0);
}

}  // namespace
}  // namespace sorvek
