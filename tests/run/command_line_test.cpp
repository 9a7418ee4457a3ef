// The flags before the arguments, and a bad one refused before the summary.

#include "run/command_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "run/worker_pool.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

CommandLine parse(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    return parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

TEST(CommandLine, TakesThreadsBeforeTheArgumentsAndLeavesTheRestAlone) {
    struct Case { std::vector<std::string> words; std::int32_t threads; int firstArgument; };
    for (const Case& c : {Case{{"sorvek"}, 0, 1}, Case{{"sorvek", "line7.txt"}, 0, 1},
                          Case{{"sorvek", "--threads", "1", "a.bxyz", "b.bxyz"}, 1, 3},
                          Case{{"sorvek", "--threads", "1024"}, 1024, 3},
                          Case{{"sorvek", "--threads", "2", "--threads", "07"}, 7, 5},
                          // After the first argument a flag is an argument like any other.
                          Case{{"sorvek", "line7.txt", "--threads", "2"}, 0, 1}}) {
        SCOPED_TRACE(c.words.size());
        const CommandLine line = parse(c.words);
        EXPECT_TRUE(line.isValid) << line.problem;
        EXPECT_EQ(line.threadCount, c.threads);
        EXPECT_EQ(line.firstArgument, c.firstArgument);
    }
}

TEST(CommandLine, RefusesAThreadCountOutsideOneTo1024) {
    for (const char* value : {"0", "1025", "99999999999", "-2", "2x", "", "two"}) {
        SCOPED_TRACE(value);
        const CommandLine line = parse({"sorvek", "--threads", value});
        EXPECT_FALSE(line.isValid);
        EXPECT_EQ(line.problem, std::string("sorvek: --threads needs a number of threads from 1 to "
                                            "1024, not \"") + value + "\"\n");
    }
    EXPECT_EQ(parse({"sorvek", "--threads"}).problem,
              "sorvek: --threads needs a number of threads from 1 to 1024\n");
}

// The refusal comes before the summary, as a bad command line: exit code 2.
TEST(CommandLine, ABadThreadCountEndsTheProgramWithCodeTwoBeforeTheSummary) {
    const testing::SessionResult result =
        testing::runSorvek(testing::makeScratchDir("threads"), {"--threads", "0", "line7.txt"}, "1\n");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "sorvek: --threads needs a number of threads from 1 to 1024, not \"0\"\n");
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
