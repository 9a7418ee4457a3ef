// The rotation stage with ROTADJUST, run by the real program on a hand-made table whose
// answers are known: what it sets aside, both files it writes, and an adjustment file that
// cannot be written.
#include "output/adjusted_rotations.h"

#include <gtest/gtest.h>

#include "support/sorvek_session.h"

namespace sorvek {
namespace {

// Four scans that all see each other, one pair of them failed; scan 5 in a row of the zero
// form and a refused row only; scan 6 in no row. The point files are empty: only the
// rotations matter here.
std::filesystem::path makeTable(const std::string& label) {
    const std::filesystem::path dir = testing::makeScratchDir(label);
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
    return dir;
}

testing::SessionResult runAdjusted(const std::filesystem::path& dir) {
    return testing::runSorvek(dir, {"test.txt"}, "2\n\n\n", std::string("ROTADJUST 1\nGPSMAXDIST 25\n"));
}

// The expected numbers agree with a separate implementation of the same adjustment to the
// last printed decimal.
TEST(RotationAdjustment, TellsWhatItSetAsideAndWritesBothFilesExactly) {
    const std::filesystem::path dir = makeTable("adjust-table");
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
    std::filesystem::remove_all(dir);
}

// A folder standing under the file's name, and a name that leads to a full disk: the run
// ends with exit code 1 before any scan is turned, and leaves no partial file behind. A
// failed write is told in the log as well.
TEST(RotationAdjustment, FileThatCannotBeWrittenEndsTheRun) {
    struct Case { const char* label; bool isFull; std::string message; };
    for (const Case& c : {Case{"cannot be created", false, "Unable to create testadj.csv \nPlease verify that the path exists. \n"},
                          Case{"disk full", true, "Unable to write testadj.csv: No space left on device \n"}}) {
        SCOPED_TRACE(c.label);
        const std::filesystem::path dir = makeTable("adjust-unwritable");
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
        std::filesystem::remove_all(dir);
    }
}

}  // namespace
}  // namespace sorvek
