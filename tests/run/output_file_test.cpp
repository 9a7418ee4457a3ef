// Files written whole: what stands under the final name before, during and after the
// write, and what an existing file, link or leftover under the names turns into.
#include "run/output_file.h"

#include <gtest/gtest.h>

#include "support/sorvek_session.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;

class WholeFile : public ::testing::Test {
protected:
    void SetUp() override { dir = testing::makeScratchDir("whole-file"); }
    void TearDown() override { fs::remove_all(dir); }

    // Writes `text` as a whole file at `name` and returns what stood at `name` just
    // before the commit.
    std::string writeWhole(const std::string& name, const std::string& text) {
        OutputFile output = createWholeFile((dir / name).string(), nullptr);
        EXPECT_TRUE(output.file);
        if (!output.file) return {};
        std::fputs(text.c_str(), output.file.get());
        std::fflush(output.file.get());
        const std::string before = testing::readFile(dir / name);
        commitWholeFile(output);
        return before;
    }

    fs::path dir;
};

TEST_F(WholeFile, TakesItsFinalNameOnlyWhenComplete) {
    EXPECT_EQ(writeWhole("fresh.txt", "new\n"), "");
    EXPECT_EQ(testing::readFile(dir / "fresh.txt"), "new\n");

    testing::writeFile(dir / "old.txt", "old\n");
    EXPECT_EQ(writeWhole("old.txt", "new\n"), "old\n");
    EXPECT_EQ(testing::readFile(dir / "old.txt"), "new\n");

    // No partial file stays behind.
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 2);
}

// An overwrite in place kept the file's permissions and wrote through a link; the new
// file does the same.
TEST_F(WholeFile, ReplacesAFileTheWayAnOverwriteWould) {
    testing::writeFile(dir / "kept.txt", "old\n");
    fs::permissions(dir / "kept.txt", fs::perms::owner_read | fs::perms::owner_write |
                                          fs::perms::group_read);
    writeWhole("kept.txt", "new\n");
    EXPECT_EQ(fs::status(dir / "kept.txt").permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);

    fs::create_directory(dir / "elsewhere");
    testing::writeFile(dir / "elsewhere" / "target.txt", "old\n");
    fs::create_symlink("elsewhere/target.txt", dir / "link.txt");
    writeWhole("link.txt", "new\n");
    EXPECT_EQ(fs::read_symlink(dir / "link.txt"), "elsewhere/target.txt");
    EXPECT_EQ(testing::readFile(dir / "elsewhere" / "target.txt"), "new\n");
}

// A link planted under the partial file's name is replaced, not written through. (A
// killed run's own partial file is started afresh: see the killed run of the batch tests.)
TEST_F(WholeFile, ReplacesALinkPlantedUnderThePartialName) {
    testing::writeFile(dir / "victim.txt", "untouched\n");
    fs::create_symlink("victim.txt", dir / (std::string("left.txt") + partialSuffix));
    EXPECT_EQ(writeWhole("left.txt", "new\n"), "");
    EXPECT_EQ(testing::readFile(dir / "victim.txt"), "untouched\n");
    EXPECT_EQ(testing::readFile(dir / "left.txt"), "new\n");
}

}  // namespace
}  // namespace sorvek
