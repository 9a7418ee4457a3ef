#include "run/entry.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/sorvek_session.h"

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

// A process started without even its own name asks for the database: a word of fewer than
// five characters ends the run, a longer one becomes the database path (0 then quits).
TEST(Entry, WithoutAnyArgumentAsksForTheDatabase) {
    const std::filesystem::path dir = testing::makeScratchDir("prompt");
    const std::string prompt =
        "TYPE NAME OF FILE HERE\n"
        "OR RESTART PROGRAM BY DRAGGING AND DROPPING SURVEY DATABASE INTO EXE!!!\n";
    struct Case { const char* typed; int exitCode; const char* shown; };
    for (const Case c : {Case{"abcd\n", 1, "INVALID FILE. Please restart program!\n"},
                         Case{"jobs.txt\n0\n", 1, "Scan database name: jobs \n"}}) {
        SCOPED_TRACE(c.typed);
        testing::writeFile(dir / "in.txt", c.typed);
        EXPECT_EXIT(
            {
                std::freopen((dir / "in.txt").c_str(), "r", stdin);
                std::freopen((dir / "out.txt").c_str(), "w", stdout);
                std::exit(runEntry(0, nullptr));
            },
            ::testing::ExitedWithCode(c.exitCode), "");
        const std::string out = testing::readFile(dir / "out.txt");
        EXPECT_EQ(out.rfind(prompt, 0), 0U) << out;
        EXPECT_NE(out.find(c.shown), std::string::npos) << out;
    }
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace sorvek
