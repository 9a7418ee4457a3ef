#include "config/summary.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace sorvek {
namespace {

// What is left after the menu is what the confirmation reads next.
TEST(Menu, ReadsOneNumberAndDropsExactlyOneCharacterAfterIt) {
    struct Case { const char* typed; std::int32_t mode; const char* rest; };
    for (const Case c : {Case{"  7\n", 7, ""}, Case{"-2\n", -2, ""}, Case{"12\n", 12, ""},
                         Case{"4\nx\n", 4, "x\n"}, Case{"4 extra\n", 4, "extra\n"},
                         Case{"xyz\n", 1, "yz\n"}, Case{"", 1, ""}}) {
        SCOPED_TRACE(c.typed);
        std::string buffer = c.typed;
        std::FILE* input = fmemopen(buffer.data(), buffer.size(), "r");
        EXPECT_EQ(readModeNumber(input, 1), c.mode);
        std::string rest;
        for (int ch = std::fgetc(input); ch != EOF; ch = std::fgetc(input)) rest += static_cast<char>(ch);
        std::fclose(input);
        EXPECT_EQ(rest, c.rest);
    }
}

}  // namespace
}  // namespace sorvek
