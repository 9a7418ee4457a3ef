// Runs of the program in modes 1 and 3 on small synthetic lines: which pairs are solved
// in which order, the log of a pair that cannot be read, an RMS direction below
// MINNUMPTS, and registrations that undo known heading errors.
#include "batch/linear_sequence.h"
#include "batch/batch_pair.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "support/survey_job.h"

namespace sorvek {
namespace {

using testing::SurveyJob;
using testing::quickSolvers;  // these runs are about order, not accuracy

TEST(LinearRegistration, PairOrderFollowsTheStoresOfEachSolver) {
    struct Case {
        const char* direction;
        const char* solver;
        std::vector<std::string> pairs;
    };
    // The three-scan lines of the golden runs show the first turns north and east.
    const std::vector<std::string> alongTheTable = {"1,2", "2,3", "3,4", "4,5", "5,6"};
    const Case cases[] = {
        {"north", "REGSOL 2\n", {"1,2", "3,2", "3,4", "5,4", "5,6"}},
        {"south", "REGSOL 0\n", alongTheTable},
        {"south", "REGSOL 2\n", alongTheTable},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.direction) + " " + c.solver);
        const SurveyJob job =
            testing::makeSurveyJob("order", testing::smallSpec("line", c.direction, 6, 6000));
        const testing::SessionResult result =
            testing::runMode(job, 1, std::string(quickSolvers) + c.solver);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(testing::registeredPairs(job.dir.path / "jobreg.csv"), c.pairs);
    }
}

TEST(LinearRegistration, MissingScanFileIsLoggedAndCostsTheRestOfTheTurn) {
    const SurveyJob job =
        testing::makeSurveyJob("missing", testing::smallSpec("line", "north", 6, 6000));
    std::filesystem::remove(job.dir.path / testing::scanFile(3));
    const testing::SessionResult result = testing::runMode(job, 1, quickSolvers);
    // Scan 2 fails on its north side, scan 3 on its south side, and scan 4 on its south
    // side too, which costs scan 4 its north pair: scan 5 takes that pair as its south
    // pair, first scan first.
    EXPECT_EQ(testing::registeredPairs(job.dir.path / "jobreg.csv"),
              (std::vector<std::string>{"1,2", "5,4", "5,6"}));
    EXPECT_EQ(testing::readFile(job.dir.path / "joblog.txt"),
              testing::failedPairLog({{2, 3}, {3, 2}, {4, 3}}));
    EXPECT_EQ(testing::linesStartingWith(testing::withTimesZeroed(result.out),
                                         "Time for registration of scan "),
              (std::vector<std::string>{"1 is 0 seconds ", "5 is 0 seconds ", "6 is 0 seconds "}));
}

// Heading errors of the database per scan id, from the generator's truth file.
std::map<std::string, double> headingErrors(const SurveyJob& job) {
    std::map<std::string, double> errors;
    for (const auto& row : testing::readRows(job.dir.path / "job_truth.csv"))
        errors[row[0]] = testing::number(row[4]);
    return errors;
}

// With each solver, each scan of a pair turned by its rotation ends within a fiftieth of
// a degree of its true heading, apart from what both scans share; the errors reach half a
// degree. Ping Pong runs all its cycles, and Iterative Search starts from a distance limit
// at which its own measure cannot prefer a slightly wrong turn.
TEST(LinearRegistration, EverySolverUndoesTheHeadingErrorsPairByPair) {
    const SurveyJob job =
        testing::makeSurveyJob("headings", testing::smallSpec("line", "north", 5, 40000));
    const std::map<std::string, double> errors = headingErrors(job);
    for (const char* solver :
         {"REGSOL 0\n", "REGSOL 1\nMAXDISTINITIAL 0.15\n", "REGSOL 2\nRMSTHRESH 0\nMAXITER 20\n"}) {
        SCOPED_TRACE(solver);
        testing::runMode(job, 1, solver);
        const auto rows = testing::readRows(job.dir.path / "jobreg.csv");
        ASSERT_EQ(rows.size(), 4U);
        for (const auto& row : rows) {
            SCOPED_TRACE(row[0] + "," + row[2]);
            const double firstLeft = testing::number(row[1]) + errors.at(row[0]);
            const double secondLeft = testing::number(row[3]) + errors.at(row[2]);
            EXPECT_NEAR(firstLeft - secondLeft, 0.0, 0.02);
            EXPECT_NEAR(firstLeft, 0.0, 0.05);
        }
    }
}

// The direction with fewer accepted samples than MINNUMPTS shows 999 and enters the
// weighted mean with it; the other direction is unchanged.
TEST(LinearEvaluation, DirectionBelowMinnumptsEntersTheMeanWith999) {
    const SurveyJob job =
        testing::makeSurveyJob("minnumpts", testing::smallSpec("line", "north", 2, 12000));
    testing::runMode(job, 3, "FILEEXT 1\nMINNUMPTS 0\n");
    const auto counted = testing::readRows(job.dir.path / "jobrms.csv").at(0);
    const double np12 = testing::number(counted[3]);
    const double np21 = testing::number(counted[5]);
    ASSERT_NE(np12, np21);
    const std::size_t shortRms = np12 < np21 ? 2 : 4;
    const std::size_t goodRms = 6 - shortRms;
    testing::runMode(job, 3, "FILEEXT 1\nMINNUMPTS " + counted[goodRms + 1] + "\n");
    const auto row = testing::readRows(job.dir.path / "jobrms.csv").at(0);
    EXPECT_EQ(row[shortRms], "999.000000");
    EXPECT_EQ(row[goodRms], counted[goodRms]);
    EXPECT_NEAR(testing::number(row[6]),
                weightedRms(testing::number(row[2]), static_cast<std::int32_t>(np12),
                            testing::number(row[4]), static_cast<std::int32_t>(np21)),
                1e-6);
}

}  // namespace
}  // namespace sorvek
