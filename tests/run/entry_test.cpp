#include "run/entry.h"

#include <gtest/gtest.h>

#include <string>

#include "run/run_modes.h"

namespace sorvek {
namespace {

TEST(OptionPath, SitsBesideTheProgramWhenItsFolderIsLongEnough) {
    struct Case { const char* program; const char* option; };
    for (const Case c : {Case{"D:\\a\\run.exe", "D:\\a\\sorvek.txt"}, Case{"X:\\run.exe", "sorvek.txt"},
                         Case{"run.exe", "sorvek.txt"}, Case{"", "sorvek.txt"},
                         Case{"tools/run", "tools/sorvek.txt"}, Case{"abc/run", "sorvek.txt"},
                         Case{"./bin/sorvek", "./bin/sorvek.txt"},
                         Case{"C:\\jobs/bin\\x", "C:\\jobs/bin\\sorvek.txt"},
                         Case{"/opt/sv/bin/sorvek", "/opt/sv/bin/sorvek.txt"}}) {
        SCOPED_TRACE(c.program);
        EXPECT_EQ(optionPathFor(c.program), c.option);
    }
}

std::string stagesOf(RunMode mode) {
    std::string names;
    for (const StageStep& step : stageTable()) {
        if (mode >= 0 && mode < 32 && (step.modeMask & (1U << mode)) != 0) {
            names += step.rmsPhase ? "1" : "0";
        }
    }
    return names;
}

TEST(ModeTable, EachModeRunsItsStagesInOrderAndPhase) {
    struct Case { RunMode mode; const char* phases; };
    for (const Case c : {Case{1, "0"}, Case{2, "0"}, Case{3, "1"}, Case{4, "001"}, Case{5, "1"},
                         Case{6, "0"}, Case{7, "1"}, Case{8, "1"}, Case{9, "1"}, Case{0, ""},
                         Case{10, ""}, Case{-1, ""}}) {
        SCOPED_TRACE(c.mode);
        EXPECT_EQ(stagesOf(c.mode), c.phases);
    }
}

TEST(ModeTable, OnlyModeFiveWorksWithoutTheScanTable) {
    for (RunMode mode : {1, 2, 3, 4, 6, 7, 8, 9, 10, -3}) EXPECT_TRUE(modeNeedsScanTable(mode));
    EXPECT_FALSE(modeNeedsScanTable(5));
}

}  // namespace
}  // namespace sorvek
