// The rotation stage: rotated text point files, the rotation result file, and the .bxyz
// scans written back as drop-in text replacements in their own frame.
#include "output/scan_rotation.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>

#include "batch/linear_sequence.h"
#include "batch/survey_job.h"
#include "config/output_names.h"
#include "points/binary_reader.h"
#include "points/cube_grid.h"
#include "points/cube_sort.h"
#include "points/transforms.h"
#include "registration/pair_measure.h"
#include "support/sorvek_session.h"
#include "survey/database_reader.h"
#include "survey/scan_neighbors.h"
#include "synth/synth.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;

const char* const rotHeadLine =
    "ID,rotation(degrees),numRotVals,RotSpread(Degrees),Numpoints,NumpointsED \n";
const char* const regHeadLine = "scan1,rotation2,scan2,rotation2,rms,numpts,num_iters \n";

// A job folder with its result paths and log, and the scans added by the test.
struct StageJob {
    fs::path dir = testing::makeScratchDir("scan-rotation");
    sorvek::Run run;

    StageJob() {
        run.state.regPath = (dir / "jobreg.csv").string();
        run.state.rotPath = (dir / "jobrot.csv").string();
        run.state.logFile = openFile((dir / "joblog.txt").string(), "w");
    }
    ~StageJob() { fs::remove_all(dir); }

    ScanRecord& addScan(std::int32_t scanId, const std::string& name, double gpsX, double gpsY,
                        double gpsZ) {
        ScanRecord scan;
        scan.scanId = scanId;
        scan.fileName = (dir / name).string();
        scan.gpsX = gpsX;
        scan.gpsY = gpsY;
        scan.gpsZ = gpsZ;
        run.state.scans.push_back(scan);
        run.state.scanCount = static_cast<std::int32_t>(run.state.scans.size());
        return run.state.scans.back();
    }

    // Runs the stage and returns its console text, the time figure normalised to 0.
    std::string rotate() {
        ::testing::internal::CaptureStdout();
        rotateScans(run);
        run.state.logFile.reset();
        const std::string out = ::testing::internal::GetCapturedStdout();
        return testing::withTimesZeroed(out);
    }

    std::string file(const std::string& name) const { return testing::readFile(dir / name); }
};

TEST(ScanRotation, TranslatesAndCarriesTheWorkedExample) {
    StageJob job;
    job.run.options.TRANSX = 1000.0;
    job.run.options.TRANSY = 2000.0;
    job.addScan(5, "a.txt", 0.0, 0.0, 0.0);
    testing::writeFile(job.dir / "a.txt", "1005 2007 3 1 2 3 4.9\n");
    job.rotate();
    EXPECT_EQ(job.file("a_rot.txt"), "5.000000 7.000000 3.000000 1 2 3 4 \n");
    EXPECT_EQ(job.file("jobrot.csv"), std::string(rotHeadLine) + "5,0.000000,0,0.0,1,1 \n");
}

TEST(ScanRotation, TextLinesAreHandledOneByOne) {
    StageJob job;
    job.addScan(5, "lines.txt", 0.0, 0.0, 0.0);
    testing::writeFile(job.dir / "lines.txt",
                       "# head comment\r\n"
                       "1 2 3 7 8 9 -4.9\n"
                       "\n"
                       "X middle comment\n"
                       "1 2\n"
                       "4 5 6\n"
                       "4 5 6 1 oops 3 2.5\n"
                       "xyz\n");
    job.rotate();
    EXPECT_EQ(job.file("lines_rot.txt"),
              "# head comment \n"
              "1.000000 2.000000 3.000000 7 8 9 -4 \n"
              "X middle comment \n"
              "4.000000 5.000000 6.000000 0 0 0 0 \n"
              "4.000000 5.000000 6.000000 1 0 0 0 \n"
              "xyz \n");
    // The empty line and the line of two numbers count as data lines but write nothing.
    EXPECT_EQ(job.file("jobrot.csv"), std::string(rotHeadLine) + "5,0.000000,0,0.0,5,3 \n");
}

TEST(ScanRotation, TurnsAboutTheScannerByTheMeanRotation) {
    StageJob job;
    job.addScan(5, "turn.txt", 10.0, 20.0, 0.0);
    job.addScan(6, "still.txt", 0.0, 0.0, 0.0);
    testing::writeFile(job.run.state.regPath, std::string(regHeadLine) +
                                                  "5,80.0,6,0.000000,0.01,100,0\n"
                                                  "7,1.0,5,100.0,0.01,100,0\n");
    testing::writeFile(job.dir / "turn.txt", "11 20 5\n10 20 1\n");
    testing::writeFile(job.dir / "still.txt", "11 20 5\n");
    const std::string out = job.rotate();
    EXPECT_EQ(job.file("turn_rot.txt"),
              "10.000000 21.000000 5.000000 0 0 0 0 \n10.000000 20.000000 1.000000 0 0 0 0 \n");
    // Scan 6 has one entry of exactly 0.0: its mean is 0.0, so it reads as unrotated.
    EXPECT_EQ(job.file("still_rot.txt"), "11.000000 20.000000 5.000000 0 0 0 0 \n");
    EXPECT_EQ(job.file("jobrot.csv"), std::string(rotHeadLine) +
                                          "5,90.000000,2,20.000000,2,2 \n"
                                          "6,0.000000,0,0.0,1,1 \n");
    EXPECT_NE(out.find("Rotating 2 Points in 5 by 90.000000 degrees \n"), std::string::npos);
    EXPECT_NE(out.find("No rotation values found !=0 for 6 so 1 points will not be rotated.  \n"),
              std::string::npos);
}

TEST(ScanRotation, FilterLooksOnlyAtTheFinalCoordinates) {
    StageJob job;
    job.run.options.APPLYFILTER = 1;
    job.run.options.XMIN = 9.5;
    job.run.options.XMAX = 10.5;
    job.run.options.YMIN = 20.5;
    job.run.options.YMAX = 21.5;
    job.run.options.MAXRANGE = 5.0;
    job.addScan(5, "box.txt", 10.0, 20.0, 0.0);
    testing::writeFile(job.run.state.regPath,
                       std::string(regHeadLine) + "5,90.0,6,0.0,0.01,100,0\n");
    // In the box only after the turn; in the box only before it; in the box but 6 from
    // the scanner, beyond MAXRANGE.
    testing::writeFile(job.dir / "box.txt", "11 20 0\n10 21 0\n11 20 6\n");
    job.rotate();
    EXPECT_EQ(job.file("box_rot.txt"), "10.000000 21.000000 0.000000 0 0 0 0 \n");
    EXPECT_EQ(job.file("jobrot.csv"), std::string(rotHeadLine) + "5,90.000000,1,0.000000,3,1 \n");
}

TEST(ScanRotation, ScanWithoutARowStillGetsItsFileAndTheConsoleSaysWhy) {
    StageJob job;
    job.addScan(8, "c.txt", 0.0, 0.0, 0.0);
    testing::writeFile(job.dir / "c.txt", "#only a comment\n");
    const std::string out = job.rotate();
    const std::string path = (job.dir / "c.txt").string();
    EXPECT_EQ(out, "Unable to open data file at " + job.run.state.regPath +
                       " \n"
                       "NO POINTS in file!!!!!  \n"
                       "Percent complete........0 \n"
                       "file size: 16\n"
                       "numpts: 0\n"
                       "Loading data from file " +
                       path +
                       " \n"
                       "Output to file: " +
                       (job.dir / "c_rot.txt").string() +
                       " \n"
                       "8 has no rotations, so the rotation will not be performed \n"
                       "No rotation values found !=0 for 8 so 0 points will not be rotated.  \n"
                       "Output of 0 points \n"
                       "\n"
                       "Total Time for rotations of 1 files is 0 seconds \n");
    EXPECT_EQ(job.file("c_rot.txt"), "#only a comment \n");
    EXPECT_EQ(job.file("jobrot.csv"), std::string(rotHeadLine) + "8,0.000000,0,0.0,0,0 \n");
}

TEST(ScanRotation, FilesThatCannotBeOpenedOrCreatedCostOnlyTheirScan) {
    StageJob job;
    job.addScan(1, "missing.txt", 0.0, 0.0, 0.0);
    job.addScan(2, "no-such-folder/d.txt", 0.0, 0.0, 0.0);
    job.addScan(3, "e.txt", 0.0, 0.0, 0.0);
    testing::writeFile(job.dir / "e.txt", "1 2 3\n");
    const std::string out = job.rotate();
    const std::string missing = (job.dir / "missing.txt").string();
    const std::string uncreatable = (job.dir / "no-such-folder/d_rot.txt").string();
    EXPECT_NE(out.find("UNABLE TO OPEN FILE " + missing +
                       " \n"
                       "Unable to open data file at " +
                       missing +
                       " \n"
                       "Percent complete........33 \n"
                       "Unable to create " +
                       uncreatable +
                       " \n"
                       "Percent complete........66 \n"),
              std::string::npos);
    EXPECT_EQ(job.file("joblog.txt"), "Unable to open files: " + missing +
                                          " ."
                                          "Please check your input file for an error here. \n"
                                          "Unable to create " +
                                          uncreatable + " \n");
    EXPECT_TRUE(fs::exists(job.dir / "missing_rot.txt"));
    EXPECT_EQ(job.file("missing_rot.txt"), "");
    EXPECT_EQ(job.file("jobrot.csv"), std::string(rotHeadLine) + "3,0.000000,0,0.0,1,1 \n");
}

TEST(ScanRotation, EmptyTableWritesTheHeadLineAlone) {
    StageJob job;
    const std::string out = job.rotate();
    EXPECT_NE(out.find("Total Time for rotations of 0 files is 0 seconds \n"), std::string::npos);
    EXPECT_EQ(job.file("jobrot.csv"), rotHeadLine);
}

// Points of a .bxyz scan in its scanner frame, off the vertical axis and at heights.
Cloud scannerFramePoints() {
    Cloud cloud;
    for (int k = 0; k < 6; ++k) {
        PointRecord point;
        point.x = -4.0 + (1.7 * k);
        point.y = 3.0 - (0.9 * k);
        point.z = -1.2 + (0.35 * k);
        cloud.push_back(point);
    }
    return cloud;
}

void writeRecords(const fs::path& path, const Cloud& cloud) {
    FileHandle file = openFile(path.string(), "wb");
    std::fwrite(cloud.data(), sizeof(PointRecord), cloud.size(), file.get());
}

Cloud readWrittenPoints(const std::string& text) {
    Cloud cloud;
    std::istringstream in(text);
    PointRecord point;
    int carried[4] = {};
    while (in >> point.x >> point.y >> point.z >> carried[0] >> carried[1] >> carried[2] >>
           carried[3]) {
        EXPECT_EQ(carried[0] | carried[1] | carried[2] | carried[3], 0);
        cloud.push_back(point);
    }
    return cloud;
}

// The turn about (pivotX, pivotY) written out with complex numbers, independent of the
// stage's own arithmetic.
PointRecord turnedAbout(PointRecord point, double angleRad, double pivotX, double pivotY) {
    const double radius = std::hypot(point.x - pivotX, point.y - pivotY);
    const double bearing = std::atan2(point.y - pivotY, point.x - pivotX) + angleRad;
    point.x = pivotX + (radius * std::cos(bearing));
    point.y = pivotY + (radius * std::sin(bearing));
    return point;
}

TEST(ScanRotation, BinaryScanIsWrittenBackInTheFrameOfItsOwnFile) {
    for (const std::int32_t scanTransform : {0, 1}) {
        SCOPED_TRACE(scanTransform);
        StageJob job;
        job.run.options.SCANTRANSFORM = scanTransform;
        job.run.options.TRANSX = 500.0;  // never subtracted on this path
        ScanRecord& scan = job.addScan(4, "job_004_000_S4.bxyz", 12.5, -7.25, 101.3);
        scan.rotX = 0.02;
        scan.rotY = -0.015;
        scan.rotZ = 1.1;
        const Cloud original = scannerFramePoints();
        writeRecords(job.dir / "job_004_000_S4.bxyz", original);
        testing::writeFile(job.run.state.regPath, std::string(regHeadLine) +
                                                      "4,1.5,5,0.0,0.01,100,0\n"
                                                      "3,0.0,4,2.5,0.01,100,0\n");
        job.rotate();
        Cloud written = readWrittenPoints(job.file("job_004_000_S4._rot.txt"));
        ASSERT_EQ(written.size(), original.size());
        Cloud expected = original;
        if (scanTransform == 0) {
            const ScanMatrix matrix = composeScanMatrix(scan.rotX, scan.rotY, scan.rotZ, 1.0,
                                                        scan.gpsX, scan.gpsY, scan.gpsZ);
            applyMatrix(expected, matrix);
            applyMatrix(written, matrix);  // what an RMS pass makes of the rotated file
        }
        for (std::size_t k = 0; k < expected.size(); ++k) {
            const PointRecord want = turnedAbout(expected[k], 2.0 * degToRad, scan.gpsX, scan.gpsY);
            EXPECT_NEAR(written[k].x, want.x, 2e-6);
            EXPECT_NEAR(written[k].y, want.y, 2e-6);
            EXPECT_NEAR(written[k].z, want.z, 2e-6);
        }
        EXPECT_EQ(job.file("jobrot.csv"),
                  std::string(rotHeadLine) + "4,2.000000,2,1.000000,6,6 \n");
    }
}

// A two-scan line in a fresh folder, its table loaded as a run would load it.
struct TwoScanLine {
    fs::path dir = testing::makeScratchDir("rotated-misfit");
    sorvek::Run run;

    explicit TwoScanLine(std::int32_t scanTransform) {
        synth::SurveySpec surveySpec;
        surveySpec.scans = 2;
        surveySpec.points = 20000;
        surveySpec.seed = 11;
        surveySpec.name = "pair";
        std::string error;
        EXPECT_TRUE(synth::writeSurvey(surveySpec, dir, error)) << error;
        run.options.SCANTRANSFORM = scanTransform;
        run.options.dCX = 2.0;
        run.options.dCY = 2.0;
        run.options.dCZ = 2.0;
        run.options.MINNUMPTS = 200;
        run.options.GPSMAXDIST = 30.0;
        run.state.runMode = 3;
        deriveOutputNames(run.state, (dir / "pair.txt").string());
        run.state.databasePath = (dir / "pair.txt").string();
        run.state.logFile = openFile((dir / "pairlog.txt").string(), "w");
        ::testing::internal::CaptureStdout();
        run.state.scanCount = countScans(run);
        run.state.scans = loadScanDatabase(run);
        findScanNeighbors(run);
        ::testing::internal::GetCapturedStdout();
        if (scanTransform != 0) moveFilesIntoTheSurveyFrame();
    }
    ~TwoScanLine() { fs::remove_all(dir); }

    // With SCANTRANSFORM 1 the files must already lie in the survey frame.
    void moveFilesIntoTheSurveyFrame() {
        for (const ScanRecord& scan : run.state.scans) {
            Cloud cloud;
            ::testing::internal::CaptureStdout();
            ::testing::internal::CaptureStderr();
            readBinaryPoints(scan.fileName, cloud);
            ::testing::internal::GetCapturedStderr();
            ::testing::internal::GetCapturedStdout();
            applyMatrix(cloud, composeScanMatrix(scan.rotX, scan.rotY, scan.rotZ, 1.0, scan.gpsX,
                                                 scan.gpsY, scan.gpsZ));
            writeRecords(scan.fileName, cloud);
        }
    }
};

// One scan's file as pair preparation loads it, turned in memory by `rotationDeg`: in
// file order, so that the cube sort leaves its points in the order the rotated file has.
Cloud turnedInMemory(const sorvek::Run& run, const ScanRecord& scan, double rotationDeg) {
    Cloud cloud;
    readBinaryPoints(scan.fileName, cloud);
    if (run.options.SCANTRANSFORM == 0) {
        applyMatrix(cloud, composeScanMatrix(scan.rotX, scan.rotY, scan.rotZ, 1.0, scan.gpsX,
                                             scan.gpsY, scan.gpsZ));
    }
    rotateCloud(cloud, rotationDeg * degToRad, scan.gpsX, scan.gpsY);
    return cloud;
}

// Both measures of the pair, north scan first as the RMS pass takes it, on a grid laid on
// the turned clouds.
std::array<double, 4> misfitInMemory(sorvek::Run& run, double southRotationDeg,
                                     double northRotationDeg) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    Cloud first = turnedInMemory(run, run.state.scans[1], northRotationDeg);
    Cloud second = turnedInMemory(run, run.state.scans[0], southRotationDeg);
    ::testing::internal::GetCapturedStderr();
    ::testing::internal::GetCapturedStdout();
    const CloudBounds overlap = overlapOf(computeBounds(first), computeBounds(second));
    assignCubes(run, first, overlap, run.options.ZMIN);
    assignCubes(run, second, overlap, run.options.ZMIN);
    Cloud scratch;
    sortByCube(first, scratch);
    sortByCube(second, scratch);
    std::int32_t np12 = 0;
    std::int32_t np21 = 0;
    const double maxDistance = run.options.MAXDISTFINAL;
    const double zMin = run.options.ZMIN;
    const double rms12 = measurePairRms(run, first, second, maxDistance, np12, zMin);
    const double rms21 = measurePairRms(run, second, first, maxDistance, np21, zMin);
    return {rms12, static_cast<double>(np12), rms21, static_cast<double>(np21)};
}

TEST(ScanRotation, RotatedFilesMeasureAsThePairTurnedInMemory) {
    for (const std::int32_t scanTransform : {0, 1}) {
        SCOPED_TRACE(scanTransform);
        TwoScanLine line(scanTransform);
        const double firstRotationDeg = 0.35;
        const double secondRotationDeg = -0.2;
        testing::writeFile(line.run.state.regPath,
                           std::string(regHeadLine) + "1,0.350000,2,-0.200000,0.01,100,0\n");
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        rotateScans(line.run);
        line.run.state.rmsPhase = true;
        runLinearSequence(line.run, line.run.state.rmsPath);
        ::testing::internal::GetCapturedStderr();
        ::testing::internal::GetCapturedStdout();
        const std::array<double, 4> want =
            misfitInMemory(line.run, firstRotationDeg, secondRotationDeg);
        const auto rows = testing::readRows(line.run.state.rmsPath);
        ASSERT_EQ(rows.size(), 1U);
        EXPECT_EQ(rows[0][0] + "," + rows[0][1], "2,1");
        EXPECT_GT(want[1], 500.0);
        // The rotated files carry six decimals; the samples are the same ones.
        EXPECT_NEAR(testing::number(rows[0][2]), want[0], 2e-6);
        EXPECT_EQ(testing::number(rows[0][3]), want[1]);
        EXPECT_NEAR(testing::number(rows[0][4]), want[2], 2e-6);
        EXPECT_EQ(testing::number(rows[0][5]), want[3]);
    }
}

TEST(CutTowardZero, CutsTowardZeroAndHoldsTheLimits) {
    struct Case {
        float in;
        std::int32_t out;
    };
    const std::int32_t most = std::numeric_limits<std::int32_t>::max();
    const std::int32_t least = std::numeric_limits<std::int32_t>::min();
    for (const Case c : {Case{4.9F, 4}, Case{-4.9F, -4}, Case{-0.5F, 0}, Case{1.5F, 1},
                         Case{3e9F, most}, Case{-3e9F, least}, Case{-2147483648.0F, least},
                         Case{std::numeric_limits<float>::quiet_NaN(), 0},
                         Case{std::numeric_limits<float>::infinity(), most}}) {
        SCOPED_TRACE(c.in);
        EXPECT_EQ(cutTowardZero(c.in), c.out);
    }
}

}  // namespace
}  // namespace sorvek
