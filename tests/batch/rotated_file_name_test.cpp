// The rotated file that the rotation stage writes is the one an RMS pass asks for.
#include "batch/rotated_file_name.h"

#include <gtest/gtest.h>

namespace sorvek {
namespace {

TEST(RotatedFileName, RmsPassDropsFourCharactersAndKeepsTheDotOfBxyz) {
    struct Case {
        const char* in;
        const char* out;
    };
    for (const Case c :
         {Case{"D:\\job\\line7_003_045_R0042.bxyz", "D:\\job\\line7_003_045_R0042._rot.txt"},
          Case{"D:\\job\\a.txt", "D:\\job\\a_rot.txt"}, Case{"abcd", "_rot.txt"},
          Case{"ab", "_rot.txt"}}) {
        SCOPED_TRACE(c.in);
        EXPECT_EQ(rmsPassFileName(c.in), c.out);
    }
}

TEST(RotatedFileName, StageReplacesTheLastTxtOrFallsBackToTheRmsPassName) {
    struct Case {
        const char* in;
        const char* out;
    };
    for (const Case c :
         {Case{"D:\\job\\a.txt", "D:\\job\\a_rot.txt"}, Case{"a.txt.old", "a_rot.txt.old"},
          Case{"b.txt/c.txt", "b.txt/c_rot.txt"}, Case{"D:\\job\\a.bxyz", "D:\\job\\a._rot.txt"},
          Case{"job/line_001_000_R1.bxyz", "job/line_001_000_R1._rot.txt"},
          Case{".tx", "_rot.txt"}}) {
        SCOPED_TRACE(c.in);
        EXPECT_EQ(rotatedOutputFileName(c.in), c.out);
    }
}

TEST(RotatedFileName, BothSidesAgreeForEveryComposedName) {
    for (const char* name : {"survey_001_000_S01.bxyz", "D:\\job\\a.txt", "x_120_007_R0042.bxyz"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(rotatedOutputFileName(name), rmsPassFileName(name));
    }
}

}  // namespace
}  // namespace sorvek
