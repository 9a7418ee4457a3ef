// The rotation stage: rotated text point files and the result file. The .bxyz scans written
// back as text in their own frame are pinned byte for byte by the golden runs of mode 2.
#include "output/scan_rotation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <algorithm>
#include <cstring>

#include "support/survey_job.h"
#include "synth/exchange_writer.h"

namespace sorvek {
namespace {

const std::string rotHead = "ID,rotation(degrees),numRotVals,RotSpread(Degrees),Numpoints,NumpointsED \n";
const std::string regHead = "scan1,rotation2,scan2,rotation2,rms,numpts,num_iters \n";

struct StageJob {
    testing::ScratchDir dir{"scan-rotation"};
    sorvek::Run run;

    StageJob() {
        run.state.regPath = path("jobreg.csv"), run.state.rotPath = path("jobrot.csv");
        run.state.logFile = openFile(path("joblog.txt"), "w");
    }
    std::string path(const std::string& name) const { return (dir.path / name).string(); }
    std::string file(const std::string& name) const { return testing::readFile(dir.path / name); }

    ScanRecord& addScan(std::int32_t scanId, const std::string& name, double gpsX = 0.0, double gpsY = 0.0) {
        ScanRecord& scan = run.state.scans.emplace_back();
        scan.scanId = scanId, scan.fileName = path(name), scan.gpsX = gpsX, scan.gpsY = gpsY;
        return scan;
    }

    std::string rotate() {  // the console text, its time figure zeroed
        ::testing::internal::CaptureStdout();
        rotateScans(run);
        run.state.logFile.reset();
        return testing::withTimesZeroed(::testing::internal::GetCapturedStdout());
    }
};

TEST(ScanRotation, WritesTextScansTranslatedTurnedAndFilteredAfterTheTurn) {
    struct Case { const char* label; double trans, gps; bool isFiltered; std::string regRows, input, rotated, row; };
    for (const Case& c : {
             Case{"worked example", 1000, 0, false, "", "1005 2007 3 1 2 3 4.9\n", "5.000000 7.000000 3.000000 1 2 3 4 \n",
                  "5,0.000000,0,0.0,1,1 \n"},
             // An empty line and a line of two numbers count as data lines but write nothing.
             Case{"lines one by one", 0, 0, false, "",
                  "# head\r\n1 2 3 7 8 9 -4.9\n\nX middle\n1 2\n4 5 6\n4 5 6 1 oops 3 2.5\nxyz\n",
                  "# head \n1.000000 2.000000 3.000000 7 8 9 -4 \nX middle \n"
                  "4.000000 5.000000 6.000000 0 0 0 0 \n4.000000 5.000000 6.000000 1 0 0 0 \nxyz \n",
                  "5,0.000000,0,0.0,5,3 \n"},
             // Turned by 90 degrees about (10, 20): in the box and in range; in the box only
             // before the turn; in the box but beyond MAXRANGE.
             Case{"mean of both columns, filtered after the turn", 0, 10, true,
                  "5,80.0,6,0.000000,0.01,100,0\n7,1.0,5,100.0,0.01,100,0\n", "11 20 1\n10 21 0\n11 20 6\n",
                  "10.000000 21.000000 1.000000 0 0 0 0 \n", "5,90.000000,2,20.000000,3,1 \n"}}) {
        SCOPED_TRACE(c.label);
        StageJob job;
        RunOptions& o = job.run.options;
        o.TRANSX = c.trans, o.TRANSY = 2.0 * c.trans;
        if (c.isFiltered) o.APPLYFILTER = 1, o.XMIN = 9.5, o.XMAX = 10.5, o.YMIN = 20.5, o.YMAX = 21.5, o.MAXRANGE = 5.0;
        job.addScan(5, "scan.txt", c.gps, 2.0 * c.gps);
        testing::writeFile(job.run.state.regPath, regHead + c.regRows);
        testing::writeFile(job.dir.path / "scan.txt", c.input);
        job.rotate();
        EXPECT_EQ(job.file("scan_rot.txt"), c.rotated);
        EXPECT_EQ(job.file("jobrot.csv"), rotHead + c.row);
    }
}

TEST(ScanRotation, AFileThatCannotBeOpenedOrCreatedCostsOnlyItsScan) {
    StageJob job;
    job.addScan(1, "missing.txt"), job.addScan(2, "no-such-folder/d.txt"), job.addScan(8, "c.txt");
    testing::writeFile(job.dir.path / "c.txt", "#only a comment\n");
    const std::string missing = job.path("missing.txt"), uncreatable = job.path("no-such-folder/d_rot.txt");
    // No registration file: every scan goes unrotated. The progress figure is 32-bit.
    EXPECT_EQ(job.rotate(),
              "Unable to open data file at " + job.run.state.regPath + " \nNO POINTS in file!!!!!  \n"
              "Percent complete........0 \nUNABLE TO OPEN FILE " + missing + " \n"
              "Unable to open data file at " + missing + " \nPercent complete........33 \n"
              "Unable to create " + uncreatable + " \nPercent complete........66 \n"
              "file size: 16\nnumpts: 0\nLoading data from file " + job.path("c.txt") + " \n"
              "Output to file: " + job.path("c_rot.txt") + " \n"
              "8 has no rotations, so the rotation will not be performed \n"
              "No rotation values found !=0 for 8 so 0 points will not be rotated.  \n"
              "Output of 0 points \n\nTotal Time for rotations of 3 files is 0 seconds \n");
    EXPECT_EQ(job.file("joblog.txt"), "Unable to open files: " + missing +
                                          " .Please check your input file for an error here. \n"
                                          "Unable to create " + uncreatable + " \n");
    EXPECT_TRUE(std::filesystem::exists(job.dir.path / "missing_rot.txt") && job.file("missing_rot.txt").empty());
    EXPECT_EQ(job.file("c_rot.txt"), "#only a comment \n");
    EXPECT_EQ(job.file("jobrot.csv"), rotHead + "8,0.000000,0,0.0,0,0 \n");
}

std::string asTextLines(const Cloud& cloud) {
    std::string text;
    for (const PointRecord& p : cloud) {
        char line[100];
        std::snprintf(line, sizeof line, "%.17g %.17g %.17g\n", p.x, p.y, p.z);
        text += line;
    }
    return text;
}

// A LAS or PLY scan (found for its missing .bxyz name) is turned exactly as the text file
// whose lines are its points: the same rotated file, the same counts. A point that is not a
// number counts and is not written, as its line "nan ..." would be. A LAZ scan is refused
// and logged like an input that does not open, and leaves no row.
TEST(ScanRotation, TurnsLasAndPlyScansAsTheTextLinesOfTheirPoints) {
    StageJob job;
    job.run.options.TRANSX = 512000.0, job.run.options.TRANSY = 4200000.0;
    Cloud points = {{512001.5, 4200002.25, 50.0, 0, 0}, {511999.0, 4199998.5, 49.75, 0, 0}, {512000.125, 4200001.0, 51.5, 0, 0}};
    const synth::LasLayout layout{.scale = 0.001, .offsetX = 512000.0, .offsetY = 4200000.0};
    ASSERT_TRUE(synth::writeLasPoints(job.dir.path / "lasscan.las", points, layout));
    synth::LasLayout compressed = layout;
    compressed.formatFlags = 0x80;
    ASSERT_TRUE(synth::writeLasPoints(job.dir.path / "lazscan.las", points, compressed));
    testing::writeFile(job.dir.path / "lastext.txt", asTextLines(points));
    points.insert(points.begin() + 1, PointRecord{512003.0, std::nan(""), 50.0, 0, 0});
    ASSERT_TRUE(synth::writePlyPoints(job.dir.path / "plyscan.ply", points, {.format = "binary_big_endian"}));
    testing::writeFile(job.dir.path / "plytext.txt", asTextLines(points));
    job.addScan(5, "lasscan.bxyz", 1.0, 2.0), job.addScan(6, "lastext.txt", 1.0, 2.0);
    job.addScan(7, "plyscan.bxyz", -3.0, 0.5), job.addScan(8, "plytext.txt", -3.0, 0.5), job.addScan(9, "lazscan.bxyz");
    testing::writeFile(job.run.state.regPath, regHead + "5,1.5,6,1.5,0.01,100,0\n7,-0.75,8,-0.75,0.01,100,0\n");
    const std::string out = job.rotate();
    EXPECT_NE(out.find("Loading data from file " + job.path("lasscan.las") + " \n"), std::string::npos);
    EXPECT_NE(out.find(job.path("lazscan.las") + " is a compressed LAZ file: decompress it to LAS first \n"), std::string::npos);
    EXPECT_EQ(job.file("lasscan._rot.txt"), job.file("lastext_rot.txt"));
    const std::string rotatedPly = job.file("plyscan._rot.txt");
    EXPECT_EQ(rotatedPly, job.file("plytext_rot.txt"));
    EXPECT_EQ(std::count(rotatedPly.begin(), rotatedPly.end(), '\n'), 3);
    EXPECT_EQ(job.file("jobrot.csv"), rotHead + "5,1.500000,1,0.000000,3,3 \n6,1.500000,1,0.000000,3,3 \n"
                                                "7,-0.750000,1,0.000000,4,3 \n8,-0.750000,1,0.000000,4,3 \n");
    EXPECT_EQ(job.file("joblog.txt"), "Unable to open files: " + job.path("lazscan.las") +
                                          " .Please check your input file for an error here. \n");
}

// textPointLineOf against the line "%.17g %.17g %.17g" read by parseTextPointLine.
TEST(TextPointLineOf, TakesAPointAsItsTextLineWouldBeRead) {
    const double values[] = {0.1, -0.0, 5e-324, 2.2250738585072014e-308, 1.7976931348623157e308, 512000.123456789,
                             std::nan(""), INFINITY, -INFINITY};
    for (const double value : values) {
        SCOPED_TRACE(value);
        char line[100];
        std::snprintf(line, sizeof line, "%.17g %.17g %.17g", 1.0, value, -value);
        const TextPointLine read = parseTextPointLine(line);
        const TextPointLine taken = textPointLineOf(1.0, value, -value);
        EXPECT_EQ(taken.hasPoint, std::isfinite(value));
        ASSERT_EQ(taken.hasPoint, read.hasPoint);
        EXPECT_EQ(taken.hasPoint ? std::memcmp(&taken.y, &read.y, 16) : 0, 0);
    }
}

TEST(CutTowardZero, CutsTowardZeroAndHoldsTheLimits) {
    struct Case { float in; std::int32_t out; };
    for (const Case c : {Case{4.9F, 4}, Case{-4.9F, -4}, Case{-0.5F, 0}, Case{1.5F, 1}, Case{3e9F, INT32_MAX},
                         Case{-3e9F, INT32_MIN}, Case{-2147483648.0F, INT32_MIN}, Case{NAN, 0}, Case{INFINITY, INT32_MAX}}) {
        SCOPED_TRACE(c.in);
        EXPECT_EQ(cutTowardZero(c.in), c.out);
    }
}

}  // namespace
}  // namespace sorvek
