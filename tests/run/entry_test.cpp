// The way into a run: option file path, database prompt, every menu number to the close.

#include "run/entry.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/sorvek_session.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;

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

// A process started without even its own name asks for the database: a word of fewer than
// five characters ends the run, a longer one becomes the database path (0 then quits).
TEST(Entry, WithoutAnyArgumentAsksForTheDatabase) {
    const fs::path dir = testing::makeScratchDir("prompt");
    struct Case { const char* typed; const char* shown; };
    for (const Case c : {Case{"abcd\n", "INVALID FILE. Please restart program!\n"},
                         Case{"jobs.txt\n0\n", "Scan database name: jobs \n"}}) {
        SCOPED_TRACE(c.typed);
        testing::writeFile(dir / "in.txt", c.typed);
        EXPECT_EXIT({
            std::freopen((dir / "in.txt").c_str(), "r", stdin);
            std::freopen((dir / "out.txt").c_str(), "w", stdout);
            std::exit(runEntry(0, nullptr));
        }, ::testing::ExitedWithCode(1), "");
        const std::string out = testing::readFile(dir / "out.txt");
        EXPECT_EQ(out.rfind("TYPE NAME OF FILE HERE\nOR RESTART PROGRAM BY DRAGGING AND DROPPING SURVEY "
                            "DATABASE INTO EXE!!!\n", 0), 0U) << out;
        EXPECT_NE(out.find(c.shown), std::string::npos) << out;
    }
    fs::remove_all(dir);
}

// With no scans each mode's last stage line is followed by the closing prompt and the log
// is created empty; numbers without a mode close right after the scan confirmation.
TEST(ModesSession, EveryModeReachesTheClosingWithAnEmptyLog) {
    struct Case { const char* mode; std::string lastLines; };
    const Case cases[] = {
        {"1", "\nREGISTRATION OF SCANS COMPLETE\n\n"}, {"2", "\nROTATION OF SCANS COMPLETE\n\n"},
        {"3", "\nEVALUATION OF RMS COMPLETE\n\n"},
        {"4", "\nROTATION OF SCANS COMPLETE\n\nEVALUATING RMS OF SCANS\n\nEVALUATION OF RMS COMPLETE\n\n"},
        {"6", " seconds \n"}, {"7", " seconds \n"}, {"8", "\nWriting Transform Matricies for 0 scans....\n"},
        {"9", "\nPreparing data for export.... \n"}, {"-1", "continue.  \n \n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        const fs::path dir = testing::makeScratchDir("modes");
        testing::writeFile(dir / "empty.txt", "X,Y,Z,rotX,rotY,rotZ,id,subid,name\n");
        const auto result = testing::runSorvek(dir, {"empty.txt"}, std::string(c.mode) + "\n\n\n", "");
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_TRUE(result.out.ends_with(
            c.lastLines + "100 percent complete \nPress ENTER to close the program  \n")) << result.out;
        EXPECT_TRUE(fs::exists(dir / "emptylog.txt") && testing::readFile(dir / "emptylog.txt").empty());
        fs::remove_all(dir);
    }
}

}  // namespace
}  // namespace sorvek
