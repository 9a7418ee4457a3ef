#include "config/summary.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace sorvek {
namespace {

struct MenuOutcome {
    std::int32_t mode;
    std::string rest;  // what the next readers find
};

MenuOutcome readMenu(const std::string& typed) {
    std::string buffer = typed;
    std::FILE* input = fmemopen(buffer.data(), buffer.size(), "r");
    MenuOutcome outcome{readModeNumber(input, 1), {}};
    for (int c = std::fgetc(input); c != EOF; c = std::fgetc(input)) outcome.rest += static_cast<char>(c);
    std::fclose(input);
    return outcome;
}

TEST(Menu, ReadsNumbersWithSignHexAndOctal) {
    struct Case { const char* typed; std::int32_t mode; };
    for (const Case c : {Case{"3\n", 3}, Case{"0x3\n", 3}, Case{"010\n", 8}, Case{"  7\n", 7},
                         Case{"-2\n", -2}, Case{"12\n", 12}, Case{"0\n", 0}}) {
        SCOPED_TRACE(c.typed);
        const MenuOutcome outcome = readMenu(c.typed);
        EXPECT_EQ(outcome.mode, c.mode);
        EXPECT_EQ(outcome.rest, "");
    }
}

TEST(Menu, NonNumericEntryKeepsModeOneAndConsumesOneCharacter) {
    const MenuOutcome outcome = readMenu("xyz\n");
    EXPECT_EQ(outcome.mode, 1);
    EXPECT_EQ(outcome.rest, "yz\n");
}

TEST(Menu, EndOfInputKeepsModeOne) {
    EXPECT_EQ(readMenu("").mode, 1);
}

TEST(Menu, OnlyTheLineEndAfterTheNumberIsDropped) {
    EXPECT_EQ(readMenu("4\nx\n").rest, "x\n");
    EXPECT_EQ(readMenu("4 extra\n").rest, "extra\n");
}

}  // namespace
}  // namespace sorvek
