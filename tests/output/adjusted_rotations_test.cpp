// The rotation stage with ROTADJUST, run by the real program: on a generated site against
// the generator's truth and the plain means; on a hand-made table whose answers are known
// (what it sets aside, both files it writes); and with an adjustment file that cannot be
// written.
#include "output/adjusted_rotations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "support/survey_job.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

// The registration result of mode 6 on the site of seed 13 (12 scans, heading errors within
// +-1 degree, 100,000 points each, the generator's option file), kept here because
// registering it takes minutes: sorvek-synth --layout site --scans 12 --points 100000
// --error-deg 1.0 --seed 13, then mode 6. The rotation stage needs only this file, so the
// test runs it on a 1000-point twin with the same set-ups and errors.
const char* const siteRegistration =
    "scan1,rotation2,scan2,rotation2,rms,numpts,num_iters \n"
    "1,1.000000,2,-0.021501,0.025798,4288,0\n1,0.987500,5,-0.864792,0.008990,4310,0\n"
    "2,0.025000,3,0.247779,0.019064,2004,0\n2,0.025000,5,-0.801500,0.015873,1931,0\n"
    "2,0.075000,6,-0.962202,0.016723,2834,0\n2,0.012500,7,-0.448968,0.015043,2500,0\n"
    "3,0.037500,4,0.277690,0.028224,5600,0\n3,0.500000,7,-0.257680,0.036565,1656,0\n"
    "4,0.400000,8,0.189915,0.014041,2981,0\n5,-0.562500,6,-0.831936,0.025048,3398,0\n"
    "5,-0.825000,9,-0.338896,0.014898,2563,0\n6,-1.025000,7,0.473940,0.032792,2200,0\n"
    "6,-0.912500,9,-0.287898,0.014723,2303,0\n6,-1.000000,10,0.106219,0.035368,2807,0\n"
    "7,-0.462500,8,0.159220,0.015215,1307,0\n7,-0.462500,11,-0.537463,0.012877,1491,0\n"
    "8,0.037500,12,2.528337,0.029974,2258,0\n9,-0.325000,10,0.150182,0.014220,2725,0\n"
    "10,0.112500,11,-0.541018,0.012699,2556,0\n11,-0.500000,12,0.986856,0.023461,4461,0\n";

// Column `column` of every row of a result file, by the scan id in column 0.
std::map<std::string, double> columnById(const std::filesystem::path& path, std::size_t column) {
    std::map<std::string, double> values;
    for (const auto& row : testing::readRows(path)) {
        if (row.size() > column) values[row[0]] = testing::number(row[column]);
    }
    return values;
}

// RMS and largest magnitude of applied rotation + true error over all scans, degrees.
std::pair<double, double> missesOf(const testing::SurveyJob& job) {
    const std::map<std::string, double> errors = columnById(job.dir.path / "job_truth.csv", 4);
    const std::map<std::string, double> applied = columnById(job.dir.path / "jobrot.csv", 1);
    EXPECT_EQ(applied.size(), errors.size());
    double sum = 0.0;
    double largest = 0.0;
    for (const auto& [id, error] : errors) {
        const double miss = applied.at(id) + error;
        sum += miss * miss;
        largest = std::max(largest, std::fabs(miss));
    }
    return {std::sqrt(sum / static_cast<double>(errors.size())), largest};
}

TEST(RotationAdjustment, OnASiteBeatsThePlainMean) {
    synth::SurveySpec surveySpec = testing::smallSpec("site", "north", 12, 1000);
    surveySpec.seed = 13;
    surveySpec.errorDeg = 1.0;
    const testing::SurveyJob job = testing::makeSurveyJob("adjust-site", surveySpec);
    testing::writeFile(job.dir.path / "jobreg.csv", siteRegistration);
    ASSERT_EQ(testing::runMode(job, 2).exitCode, 0);
    const auto [meanRms, meanLargest] = missesOf(job);
    ASSERT_EQ(testing::runMode(job, 2, "ROTADJUST 1\n").exitCode, 0);
    const auto [adjustedRms, adjustedLargest] = missesOf(job);
    EXPECT_NEAR(meanRms, 0.2417, 0.0001);
    EXPECT_NEAR(adjustedRms, 0.0288, 0.0001);
    EXPECT_LT(adjustedLargest, meanLargest);
}

// Four scans that all see each other, one pair of them failed; scan 5 in a row of the zero
// form and a refused row only; scan 6 in no row. The point files are empty: only the
// rotations matter here.
testing::ScratchDir makeTable(const std::string& label) {
    testing::ScratchDir table(label);
    const std::filesystem::path& dir = table.path;
    testing::writeFile(dir / "test.txt",
                       "X,Y,Z,rotX,rotY,rotZ,id,subid,name\n0,0,0,0,0,0,1,1,S001\n15,0,0,0,0,0,2,1,S002\n"
                       "0,15,0,0,0,0,3,1,S003\n15,15,0,0,0,0,4,1,S004\n30,0,0,0,0,0,5,1,S005\n"
                       "30,15,0,0,0,0,6,1,S006\n");
    for (int id = 1; id <= 6; ++id) {
        const std::string digit = std::to_string(id);
        testing::writeFile(dir / ("test_00" + digit + "_001_S00" + digit + ".bxyz"), "");
    }
    testing::writeFile(dir / "testreg.csv",
                       "scan1,rotation2,scan2,rotation2,rms,numpts,num_iters \n"
                       "1,0.302000,2,-0.198000,0.012000,4000,0\n1,0.297000,3,0.104000,0.015000,3000,0\n"
                       "1,0.301000,4,0.446000,0.011000,5000,0\n2,0.400000,4,0.452000,0.013000,4500,0\n"
                       "2,-0.203000,3,0.097000,0.014000,3500,0\n3,0.099000,4,0.455000,0.012000,4200,0\n"
                       "1,0.000000,5,0.000000,999.000000,40,0\n3,250.000000,5,-0.100000,0.020000,2000,0\n");
    return table;
}

testing::SessionResult runAdjusted(const std::filesystem::path& dir) {
    return testing::runSorvek(dir, {"test.txt"}, "2\n\n\n", std::string("ROTADJUST 1\nGPSMAXDIST 25\n"));
}

// The expected numbers agree with a separate implementation of the same adjustment to the
// last printed decimal.
TEST(RotationAdjustment, TellsWhatItSetAsideAndWritesBothFilesExactly) {
    const testing::ScratchDir table = makeTable("adjust-table");
    const std::filesystem::path& dir = table.path;
    const testing::SessionResult result = runAdjusted(dir);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.out.find("Loading data from file testreg.csv \n"
                              "Adjusting rotations over 7 pairs of 6 scans \n"
                              "Pair 2-4 rejected: its rotation of scan 2 misses the adjustment by -0.379063 degrees \n"
                              "Pair 3-5 refused: a rotation beyond 180 degrees or an unusable RMS \n"
                              "Scan 5 is reached by no accepted pair and keeps the mean of its rotations \n"
                              "Scan 6 is reached by no accepted pair and keeps the mean of its rotations \n"
                              "Adjusted rotations written to testadj.csv \n"
                              "Percent complete........0 \n"),
              std::string::npos)
        << result.out;
    EXPECT_EQ(testing::readFile(dir / "testadj.csv"),
              "ID,rotation(degrees),stddev(degrees),mean(degrees),numPairs\n"
              "1,0.301348,0.002306,0.225000,3\n2,-0.199681,0.002773,-0.000333,2\n"
              "3,0.098517,0.002558,62.575000,3\n4,0.449553,0.002379,0.451000,2\n"
              "5,-0.050000,,-0.050000,0\n6,0.000000,,0.000000,0\n"
              "scan1,scan2,relative(degrees),residual(degrees),weight,rejected\n"
              "1,2,0.500000,0.001030,1.092358,0\n1,3,0.193000,0.009831,0.419466,0\n"
              "1,4,-0.145000,-0.003205,1.772723,0\n2,4,-0.052000,-0.597234,0.966566,1\n"
              "2,3,-0.300000,0.001802,0.601912,0\n3,4,-0.356000,0.004964,1.146976,0\n"
              "3,5,250.100000,-249.951483,0.000000,2\n");
    // The rotation column holds the adjusted rotation; count and spread stay the entries'.
    EXPECT_EQ(testing::readFile(dir / "testrot.csv"),
              "ID,rotation(degrees),numRotVals,RotSpread(Degrees),Numpoints,NumpointsED \n"
              "1,0.301348,4,0.302000,0,0 \n2,-0.199681,3,0.603000,0,0 \n3,0.098517,4,249.903000,0,0 \n"
              "4,0.449553,3,0.009000,0,0 \n5,-0.050000,2,0.100000,0,0 \n6,0.000000,0,0.0,0,0 \n");
}

// A folder standing under the file's name, and a name that leads to a full disk: the run
// ends with exit code 1 before any scan is turned, and leaves no partial file behind. A
// failed write is told in the log as well.
TEST(RotationAdjustment, FileThatCannotBeWrittenEndsTheRun) {
    struct Case { const char* label; bool isFull; std::string message; };
    for (const Case& c : {Case{"cannot be created", false, "Unable to create testadj.csv \nPlease verify that the path exists. \n"},
                          Case{"disk full", true, "Unable to write testadj.csv: No space left on device \n"}}) {
        SCOPED_TRACE(c.label);
        const testing::ScratchDir table = makeTable("adjust-unwritable");
        const std::filesystem::path& dir = table.path;
        if (c.isFull) {
            std::filesystem::create_symlink("/dev/full", dir / "testadj.csv");
        } else {
            std::filesystem::create_directory(dir / "testadj.csv");
        }
        const testing::SessionResult result = runAdjusted(dir);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_NE(result.out.find(c.message), std::string::npos) << result.out;
        EXPECT_EQ(result.out.find("Percent complete"), std::string::npos);
        EXPECT_FALSE(std::filesystem::exists(dir / "testadj.csv.sorvek-partial"));
        EXPECT_EQ(testing::readFile(dir / "testlog.txt"), c.isFull ? c.message : "");
    }
}

}  // namespace
}  // namespace sorvek
