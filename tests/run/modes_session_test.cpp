#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/sorvek_session.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;

// With a table of no scans every stage finds nothing to do: each mode's last stage line is
// followed by the closing prompt, and the log is created empty. Numbers without a mode run
// no stage, so the closing follows the scan confirmation directly.
TEST(ModesSession, EveryModeReachesTheClosingWithAnEmptyLog) {
    struct Case { const char* mode; std::string lastLines; };
    const Case cases[] = {
        {"1", "\nREGISTRATION OF SCANS COMPLETE\n\n"}, {"2", "\nROTATION OF SCANS COMPLETE\n\n"},
        {"3", "\nEVALUATION OF RMS COMPLETE\n\n"},
        {"4", "\nROTATION OF SCANS COMPLETE\n\nEVALUATING RMS OF SCANS\n\nEVALUATION OF RMS COMPLETE\n\n"},
        {"6", " seconds \n"}, {"7", " seconds \n"}, {"8", "\nWriting Transform Matricies for 0 scans....\n"},
        {"9", "\nPreparing data for export.... \n"}, {"10", "continue.  \n \n"}, {"-1", "continue.  \n \n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        const fs::path dir = testing::makeScratchDir("modes");
        testing::writeFile(dir / "empty.txt", "X,Y,Z,rotX,rotY,rotZ,id,subid,name\n");
        const auto result = testing::runSorvek(dir, {"empty.txt"}, std::string(c.mode) + "\n\n\n", "");
        EXPECT_EQ(result.exitCode, 0);
        const std::string closing = "100 percent complete \nPress ENTER to close the program  \n";
        EXPECT_TRUE(result.out.ends_with(c.lastLines + closing)) << result.out;
        EXPECT_TRUE(fs::exists(dir / "emptylog.txt") && testing::readFile(dir / "emptylog.txt").empty());
        fs::remove_all(dir);
    }
}

}  // namespace
}  // namespace sorvek
