#include "config/output_names.h"

#include <gtest/gtest.h>

#include <string>

namespace sorvek {
namespace {

// An empty stem in the table means the path is refused and no name is set.
TEST(OutputNames, DeriveFromTheDatabasePathWithoutSeparatorOrSetNothing) {
    struct Case { const char* path; std::string stem; };
    for (const Case& c : {Case{"D:\\job\\line7.txt", "D:\\job\\line7"}, Case{"jobs/line7.csv", "jobs/line7"},
                          Case{"a.tx", ""}, Case{"line7.TXT", ""}, Case{"line7.text", ""},
                          Case{"line7.bxyz", ""}}) {
        SCOPED_TRACE(c.path);
        RunState state;
        deriveOutputNames(state, c.path);
        const std::string& s = c.stem;
        EXPECT_EQ(state.databaseStem, s);
        EXPECT_EQ(state.regPath + "|" + state.rotPath + "|" + state.rmsPath + "|" + state.logPath,
                  s.empty() ? "|||" : s + "reg.csv|" + s + "rot.csv|" + s + "rms.csv|" + s + "log.txt");
    }
}

}  // namespace
}  // namespace sorvek
