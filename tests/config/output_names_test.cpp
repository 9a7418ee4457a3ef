#include "config/output_names.h"

#include <gtest/gtest.h>

namespace sorvek {
namespace {

TEST(OutputNames, DeriveFromTheDatabasePathWithoutSeparator) {
    struct Case { const char* path; const char* stem; const char* reg; const char* log; };
    for (const Case c : {Case{"D:\\job\\line7.txt", "D:\\job\\line7", "D:\\job\\line7reg.csv",
                              "D:\\job\\line7log.txt"},
                         Case{"jobs/line7.csv", "jobs/line7", "jobs/line7reg.csv", "jobs/line7log.txt"},
                         Case{"a.txt", "a", "areg.csv", "alog.txt"}}) {
        SCOPED_TRACE(c.path);
        RunState state;
        deriveOutputNames(state, c.path);
        EXPECT_EQ(state.databaseStem, c.stem);
        EXPECT_EQ(state.regPath, c.reg);
        EXPECT_EQ(state.logPath, c.log);
        EXPECT_EQ(state.rotPath, std::string(c.stem) + "rot.csv");
        EXPECT_EQ(state.rmsPath, std::string(c.stem) + "rms.csv");
    }
}

TEST(OutputNames, UnusablePathsSetNothing) {
    for (const char* path : {"", ".txt", "a.tx", "line7.TXT", "line7.text", "line7.bxyz"}) {
        SCOPED_TRACE(path);
        RunState state;
        deriveOutputNames(state, path);
        EXPECT_TRUE(state.databaseStem.empty());
        EXPECT_TRUE(state.regPath.empty());
        EXPECT_TRUE(state.logPath.empty());
    }
}

TEST(OutputNames, SuffixReplacesTheLastFourCharacters) {
    EXPECT_EQ(makeOutputName("line7.txt", "reg.csv"), "line7reg.csv");
    EXPECT_EQ(makeOutputName("x.abc", "rms.csv"), "xrms.csv");
}

}  // namespace
}  // namespace sorvek
