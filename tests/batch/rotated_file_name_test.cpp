// The rotated file that the rotation stage writes is the one an RMS pass asks for.
#include "batch/rotated_file_name.h"

#include <gtest/gtest.h>

namespace sorvek {
namespace {

TEST(RotatedFileName, StageAndRmsPassAgreeForEveryComposedName) {
    struct Case { const char* in; const char* rmsPass; const char* stage; };
    const Case cases[] = {
        // The RMS pass drops four characters, which keeps the dot of ".bxyz".
        {"D:\\job\\line7_003_045_R0042.bxyz", "D:\\job\\line7_003_045_R0042._rot.txt",
         "D:\\job\\line7_003_045_R0042._rot.txt"},
        {"D:\\job\\a.txt", "D:\\job\\a_rot.txt", "D:\\job\\a_rot.txt"},
        // The stage replaces the last ".txt", wherever it stands.
        {"a.txt.old", "a.txt_rot.txt", "a_rot.txt.old"},
        {"b.txt/c.txt", "b.txt/c_rot.txt", "b.txt/c_rot.txt"},
        {"abcd", "_rot.txt", "_rot.txt"},
        {"ab", "_rot.txt", "_rot.txt"},
        {".tx", "_rot.txt", "_rot.txt"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.in);
        EXPECT_EQ(rmsPassFileName(c.in), c.rmsPass);
        EXPECT_EQ(rotatedOutputFileName(c.in), c.stage);
    }
}

}  // namespace
}  // namespace sorvek
