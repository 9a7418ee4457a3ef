#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/sorvek_session.h"

namespace sorvek {
namespace {

using testing::makeScratchDir;
using testing::readFile;
using testing::runSorvek;
using testing::writeFile;

bool endsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// With a table of no scans every mode's stages find nothing to do; the run still creates
// an empty log and closes with its prompt. Numbers without a mode run no stage at all.
TEST(ModesSession, EveryModeReachesTheClosingWithAnEmptyLog) {
    for (const char* mode : {"1", "2", "3", "4", "6", "7", "8", "9", "10", "-1"}) {
        SCOPED_TRACE(mode);
        const std::filesystem::path dir = makeScratchDir("modes");
        writeFile(dir / "empty.txt", "X,Y,Z,rotX,rotY,rotZ,id,subid,name\n");
        const auto result = runSorvek(dir, {"empty.txt"}, std::string(mode) + "\n\n\n", "");
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_TRUE(endsWith(result.out, "100 percent complete \nPress ENTER to close the program  \n"));
        ASSERT_TRUE(std::filesystem::exists(dir / "emptylog.txt"));
        EXPECT_EQ(readFile(dir / "emptylog.txt"), "");
        std::filesystem::remove_all(dir);
    }
}

// The stage banners come from the entry, around whatever the stages print.
TEST(ModesSession, RunAllPrintsItsThreeStageBannersInOrder) {
    const std::filesystem::path dir = makeScratchDir("run-all");
    writeFile(dir / "empty.txt", "X,Y,Z,rotX,rotY,rotZ,id,subid,name\n");
    const auto result = runSorvek(dir, {"empty.txt"}, "4\n\n\n", "");
    const std::size_t registering = result.out.find("REGISTERING SCANS\n");
    const std::size_t rotating = result.out.find("ROTATION OF SCANS COMPLETE\n\n");
    const std::size_t evaluating = result.out.find("EVALUATION OF RMS COMPLETE\n\n100 percent complete");
    EXPECT_NE(registering, std::string::npos);
    EXPECT_NE(result.out.find("REGISTRATION OF SCANS COMPLETE\n\nROTATING SCANS\n"), std::string::npos);
    EXPECT_LT(registering, rotating);
    EXPECT_LT(rotating, evaluating);
    EXPECT_NE(evaluating, std::string::npos);
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace sorvek
