// Whole runs of the program on generated lines whose scans are LAS or PLY files: they align
// as the same line in .bxyz does, and a scan that is refused costs only its pairs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/survey_job.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;
using testing::Rows;
using testing::SurveyJob;

SurveyJob makeJobIn(const std::string& format, std::int32_t scans) {
    synth::SurveySpec surveySpec = testing::smallSpec("line", "north", scans, 20000);
    surveySpec.format = format;
    return testing::makeSurveyJob("formats-" + format, surveySpec);
}

// The largest difference between two tables of the same shape in one column.
double largestDifference(const Rows& rows, const Rows& reference, std::size_t column) {
    double largest = rows.size() == reference.size() ? 0.0 : INFINITY;
    for (std::size_t row = 0; row < std::min(rows.size(), reference.size()); ++row) {
        const double difference =
            rows[row].size() > column && reference[row].size() > column
                ? std::abs(testing::number(rows[row][column]) - testing::number(reference[row][column]))
                : INFINITY;
        largest = std::max(largest, difference);
    }
    return largest;
}

// Mode 4 on the same line three times: scanner-frame .bxyz files, and LAS (0.1 mm steps)
// or PLY (doubles) files in the survey frame, found for their missing .bxyz names. The
// whole chain aligns the .bxyz line: its rotated scans misfit by what their noise and
// sampling leave, a fraction of what the generator's heading errors of up to half a degree
// make over the overlap. The rotations of the other formats agree within a thousandth of
// a degree for the LAS steps and to rounding for PLY, and the RMS after alignment, read
// back from the rotated text files of the LAS and PLY scans, within a few tenths of a
// millimetre.
TEST(FormatJobs, LasAndPlyLinesAlignAsTheSameLineInBxyz) {
    const SurveyJob binary = makeJobIn("bxyz", 4);
    testing::runMode(binary, 4);
    const Rows binaryRotations = testing::readRows(binary.dir.path / "jobreg.csv");
    const Rows binaryRms = testing::readRows(binary.dir.path / "jobrms.csv");
    ASSERT_EQ(binaryRotations.size(), 3U);
    ASSERT_EQ(binaryRms.size(), 3U);
    for (const auto& row : binaryRms) EXPECT_LT(testing::number(row.at(6)), 0.025) << row[0];
    struct Case { const char* format; double rotationTolerance; };
    for (const Case& c : {Case{"las", 0.001}, Case{"ply", 1e-5}}) {
        SCOPED_TRACE(c.format);
        const SurveyJob job = makeJobIn(c.format, 4);
        const testing::SessionResult result = testing::runMode(job, 4);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_NE(result.out.find("Loading 20000 points from file job_002_001_S002." + std::string(c.format) + " \n"),
                  std::string::npos);
        EXPECT_NE(result.out.find("Loading data from file job_002_001_S002." + std::string(c.format) + " \n"),
                  std::string::npos);
        const Rows rotations = testing::readRows(job.dir.path / "jobreg.csv");
        EXPECT_EQ(testing::registeredPairs(job.dir.path / "jobreg.csv"), testing::registeredPairs(binary.dir.path / "jobreg.csv"));
        EXPECT_LE(largestDifference(rotations, binaryRotations, 1), c.rotationTolerance);
        EXPECT_LE(largestDifference(rotations, binaryRotations, 3), c.rotationTolerance);
        EXPECT_LE(largestDifference(rotations, binaryRotations, 4), 0.0005);  // the solver's RMS
        // Only the weighted RMS of the evaluation is compared: the range column is the Cliff
        // Distance of rotated files that lie in different frames.
        EXPECT_EQ(testing::evaluatedPairs(job.dir.path / "jobrms.csv"), testing::evaluatedPairs(binary.dir.path / "jobrms.csv"));
        EXPECT_LE(largestDifference(testing::readRows(job.dir.path / "jobrms.csv"), binaryRms, 6), 0.0003);
        EXPECT_EQ(testing::readFile(job.dir.path / "joblog.txt"), "");
    }
}

// Scan 1 is compressed (LAZ) and scan 5 an E57 file under its .bxyz name: each read says so
// in one line, the pairs that need them are logged under the names used, and the pairs of
// scans 2 to 4 are registered as ever.
TEST(FormatJobs, RefusedScansFailTheirPairsAndTheBatchGoesOn) {
    const SurveyJob job = makeJobIn("las", 5);
    std::string compressed = testing::readFile(job.dir.path / "job_001_001_S001.las");
    compressed[104] = static_cast<char>(compressed[104] | 0x80);
    testing::writeFile(job.dir.path / "job_001_001_S001.las", compressed);
    testing::writeFile(job.dir.path / "job_005_001_S005.bxyz", "ASTM-E57" + std::string(200, '\0'));
    const testing::SessionResult result = testing::runMode(job, 1, testing::quickSolvers);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(testing::linesStartingWith(result.out, "job_001_001_S001.las is a compressed LAZ file").size(), 2U);
    EXPECT_EQ(testing::linesStartingWith(result.out, "job_005_001_S005.bxyz is an E57 file").size(), 2U);
    EXPECT_EQ(testing::registeredPairs(job.dir.path / "jobreg.csv"), (std::vector<std::string>{"3,2", "3,4"}));
    const auto failed = [](const char* first, const char* second) {
        return "Unable to open files: " + std::string(first) + " \n and " + second +
               " \nPlease check your GPS file for an error here. \n";
    };
    EXPECT_EQ(testing::readFile(job.dir.path / "joblog.txt"),
              failed("job_001_001_S001.las", "job_002_001_S002.las") + failed("job_002_001_S002.las", "job_001_001_S001.las") +
                  failed("job_004_001_S004.las", "job_005_001_S005.bxyz") +
                  failed("job_005_001_S005.bxyz", "job_004_001_S004.las"));
}

}  // namespace
}  // namespace sorvek
