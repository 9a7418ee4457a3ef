// Mode 8 on the real program: one four-line matrix file per scan, named after its point
// file and built from the survey database alone.
#include <gtest/gtest.h>

#include "support/scratch_dir.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

// A case folder pins the worked matrices. Here scan A's file is blocked by a folder, and
// scan B stands where TRANSX and TRANSY put it, the scanner height cancelling its
// elevation, over an older and longer matrix file.
TEST(MatrixWriter, TranslatesThePositionAndReportsAFileItCannotCreate) {
    const testing::ScratchDir scratch("matrices");
    const std::filesystem::path& folder = scratch.path;
    testing::writeFile(folder / "line7.txt", "H\n0,0,0,0,0,0,1,1,A\n1100,2200,-0.29,0,0,0,2,1,B\n");
    std::filesystem::create_directory(folder / "line7_1_1_As.dat");
    testing::writeFile(folder / "line7_2_1_B.bxyz", "point file bytes");
    testing::writeFile(folder / "line7_2_1_Bs.dat", "an older matrix file that is longer than the new one\n");
    const testing::SessionResult result =
        testing::runSorvek(folder, {"line7.txt"}, "8\n\n\n", "TRANSX 1000\nTRANSY 2300\nZEROPAD 0\n");
    EXPECT_TRUE(result.out.ends_with(" and press Enter to continue.  \n \nWriting Transform Matricies for 2 scans....\n"
                                     "Unable to create line7_1_1_As.dat \n"
                                     "100 percent complete \nPress ENTER to close the program  \n")) << result.out;
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(testing::readFile(folder / "line7_2_1_Bs.dat"),
              "1.0000000000 0.0000000000 0.0000000000 100.0000000000 \n"
              "0.0000000000 1.0000000000 0.0000000000 -100.0000000000 \n"
              "-0.0000000000 0.0000000000 1.0000000000 0.0000000000 \n"
              "0.0000000000 0.0000000000 0.0000000000 1.0000000000 \n");
    EXPECT_EQ(testing::readFile(folder / "line7_2_1_B.bxyz"), "point file bytes");
}

}  // namespace
}  // namespace sorvek
