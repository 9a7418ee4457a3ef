// Every name a run derives from another, and the rotated file that the rotation stage
// writes being the one an RMS pass asks for.
#include "survey/file_names.h"

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
        {".tx", "_rot.txt", "_rot.txt"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.in);
        EXPECT_EQ(rmsPassFileName(c.in), c.rmsPass);
        EXPECT_EQ(rotatedOutputFileName(c.in), c.stage);
    }
}

// The cut is a count of characters, never a search for a dot: the export keeps the dot
// of ".bxyz" and the matrix file loses it, and a name shorter than the cut goes whole.
TEST(FileNames, ExportAndMatrixNamesCutAFixedCount) {
    struct Case { const char* in; const char* exported; const char* matrix; };
    const Case cases[] = {
        {"line7_003_045_R0042.bxyz", "line7_003_045_R0042._adj.txt", "line7_003_045_R0042s.dat"},
        {"dir.v2/scan.txt", "dir.v2/scan_adj.txt", "dir.v2/scas.dat"},
        {"abcd", "_adj.txt", "s.dat"},
        {"", "_adj.txt", "s.dat"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.in);
        EXPECT_EQ(exportedFileName(c.in), c.exported);
        EXPECT_EQ(matrixFileName(c.in), c.matrix);
    }
}

}  // namespace
}  // namespace sorvek
