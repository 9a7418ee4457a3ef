// The flags before the arguments: what each one sets, and every way a command line is
// refused before the summary.

#include "run/command_line.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "run/worker_pool.h"
#include "support/scratch_dir.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

CommandLine parse(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    return parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

// A value may follow '=', the last of two equal flags wins, "--" lets a database whose
// name begins with dashes through, and after the first argument a flag is an argument.
TEST(CommandLine, FlagsBeforeTheArgumentsSetTheirFieldsAndLeaveTheRest) {
    const testing::ScratchDir scratch("flags");
    const std::filesystem::path& dir = scratch.path;
    const std::string report = (dir / "line7.HTML").string();
    struct Case { std::vector<std::string> words; std::int32_t threads; int firstArgument;
                  std::optional<std::int32_t> mode; bool yes; std::string report;
                  bool resume = false; };
    for (const Case& c : {Case{{"sorvek"}, 0, 1, {}, false, ""}, Case{{"sorvek", "a.bxyz", "-", "-b.txt"}, 0, 1, {}, false, ""},
                          Case{{"sorvek", "--threads", "1", "a.bxyz", "b.bxyz"}, 1, 3, {}, false, ""},
                          Case{{"sorvek", "--threads", "1024"}, 1024, 3, {}, false, ""},
                          Case{{"sorvek", "--threads", "2", "--threads", "07"}, 7, 5, {}, false, ""},
                          Case{{"sorvek", "line7.txt", "--threads", "2", "--yes"}, 0, 1, {}, false, ""},
                          Case{{"sorvek", "--mode", "4", "--yes", "--report", report, "line7.txt"}, 0, 6, 4, true, report},
                          Case{{"sorvek", "--mode", "7", "--resume", "--yes", "line7.txt"}, 0, 5, 7, true, "", true},
                          Case{{"sorvek", "--mode=7", "--mode=1", "--report=r.htm", "--", "--odd.txt"}, 0, 5, 1, false, "r.htm"}}) {
        SCOPED_TRACE(c.words.back());
        const CommandLine line = parse(c.words);
        ASSERT_TRUE(line.isValid) << line.problem;
        EXPECT_EQ(line.threadCount, c.threads);
        EXPECT_EQ(line.firstArgument, c.firstArgument);
        EXPECT_EQ(line.mode, c.mode);
        EXPECT_EQ(line.answersYes, c.yes);
        EXPECT_EQ(line.reportPath, c.report);
        EXPECT_EQ(line.resumesResults, c.resume);
    }
}

TEST(CommandLine, RefusesWhatItCannotUse) {
    const testing::ScratchDir scratch("flags-refused");
    const std::filesystem::path& dir = scratch.path;
    std::filesystem::create_directory(dir / "folder.html");
    const std::string folder = (dir / "folder.html").string();
    const std::string missing = (dir / "missing" / "r.html").string();
    struct Case { std::vector<std::string> words; std::string problem; };
    const Case cases[] = {
        {{"sorvek", "--Mode", "4"}, "unknown flag --Mode; " + usageLine()},
        {{"sorvek", "--threads"}, "--threads needs a number of threads from 1 to 1024"},
        {{"sorvek", "--mode", "12"}, "--mode needs a mode from 0 to 9, not \"12\""},
        {{"sorvek", "--mode=", "4"}, "--mode needs a mode from 0 to 9, not \"\""},
        {{"sorvek", "--mode"}, "--mode needs a mode from 0 to 9"},
        {{"sorvek", "--yes=1"}, "--yes takes no value"},
        {{"sorvek", "--report", "line7.txt"}, "--report needs a file name ending in .html, not \"line7.txt\""},
        {{"sorvek", "--report", ".html"}, "--report needs a file name ending in .html, not \".html\""},
        {{"sorvek", "--report", folder}, "--report names a folder, not a file: \"" + folder + "\""},
        {{"sorvek", "--report", missing}, "--report: the folder \"" + (dir / "missing").string() + "\" does not exist"},
        {{"sorvek", "--resume", "--mode", "4"}, "--resume: mode 4 has no pass to resume; modes 3, 6 and 7 do"},
        {{"sorvek", "--resume=yes", "line7.txt"}, "--resume takes no value"},
    };
    std::vector<Case> all(std::begin(cases), std::end(cases));
    for (const char* value : {"0", "1025", "99999999999", "-2", "2x", "", "two"}) {
        all.push_back({{"sorvek", "--threads", value},
                       "--threads needs a number of threads from 1 to 1024, not \"" + std::string(value) + "\""});
    }
    for (const Case& c : all) {
        SCOPED_TRACE(c.problem);
        const CommandLine line = parse(c.words);
        EXPECT_FALSE(line.isValid);
        EXPECT_EQ(line.problem, "sorvek: " + c.problem + "\n");
    }
}

// Every part runs once, whatever the pool; a failing part's exception reaches the caller,
// the lowest part's first, after all parts are done.
TEST(WorkerPool, RunsEveryPartOnceAndPassesTheFirstFailureOn) {
    for (const std::size_t threads : {1U, 2U, 5U}) {
        SCOPED_TRACE(threads);
        WorkerPool pool(threads);
        std::vector<int> runs(37, 0);
        runParts(&pool, runs.size(), [&](std::size_t part) { ++runs[part]; });
        EXPECT_EQ(runs, std::vector<int>(37, 1));
        try {
            runParts(&pool, 9, [](std::size_t part) {
                if (part == 6 || part == 3) throw std::runtime_error(std::to_string(part));
            });
            ADD_FAILURE() << "no exception";
        } catch (const std::runtime_error& failure) {
            EXPECT_STREQ(failure.what(), "3");
        }
    }
}

}  // namespace
}  // namespace sorvek
