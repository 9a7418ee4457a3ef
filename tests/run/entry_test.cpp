#include "run/entry.h"

#include <gtest/gtest.h>

#include <string>

namespace sorvek {
namespace {

// A separator at index 3 or lower is a drive's root or a folder too short to be meant.
TEST(OptionPath, SitsBesideTheProgramWhenItsFolderIsLongEnough) {
    struct Case { const char* program; const char* option; };
    for (const Case c : {Case{"D:\\a\\run.exe", "D:\\a\\sorvek.txt"}, Case{"X:\\run.exe", "sorvek.txt"},
                         Case{"run.exe", "sorvek.txt"}, Case{"", "sorvek.txt"},
                         Case{"tools/run", "tools/sorvek.txt"}, Case{"abc/run", "sorvek.txt"},
                         Case{"C:\\jobs/bin\\x", "C:\\jobs/bin\\sorvek.txt"}}) {
        SCOPED_TRACE(c.program);
        EXPECT_EQ(optionPathFor(c.program), c.option);
    }
}


}  // namespace
}  // namespace sorvek
