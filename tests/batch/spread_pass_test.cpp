// The pieces of a spread pass that need no second process: catching a pair's text and
// writing it out again, the messages between processes, and the ledger that writes
// results in plan order and redoes a pair computed with the wrong pairsDone.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <tuple>

#include "batch/pair_capture.h"
#include "batch/pair_ledger.h"
#include "batch/spread_messages.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

// What replaying `framed` writes to the console, error, log and row files, in that order.
std::array<std::string, 4> replayedText(const std::string& framed) {
    const std::array<FileHandle, 4> files{FileHandle(std::tmpfile()), FileHandle(std::tmpfile()),
                                          FileHandle(std::tmpfile()), FileHandle(std::tmpfile())};
    EXPECT_EQ(replayCapturedText(framed, {files[0].get(), files[1].get(), files[2].get(), files[3].get()}),
              ReplayOutcome::written);
    std::array<std::string, 4> texts;
    for (std::size_t i = 0; i < files.size(); ++i) {
        std::rewind(files[i].get());
        for (int c = std::fgetc(files[i].get()); c != EOF; c = std::fgetc(files[i].get())) texts[i] += static_cast<char>(c);
    }
    return texts;
}

TEST(PairCapture, StandardStreamsLogAndRowsComeBackWhereTheyBelongInTheOrderWritten) {
    PairCapture capture;
    ASSERT_TRUE(openPairCapture(capture));
    const StandardStreams saved = redirectStandardStreams(capture);
    std::printf("Preparing data for registration.... \n");
    std::fprintf(stderr, "%i points successfully loaded! \n", 12);
    std::printf("Percent Complete %f \r", 12.5);
    std::fprintf(capture.log.get(), "Unable to open files: a \n");
    std::fprintf(capture.rows.file.get(), "1,2,0.1\n");
    std::printf("done\n");
    const int key = std::getchar();  // a capture's input is always at its end
    restoreStandardStreams(saved);
    EXPECT_EQ(key, EOF);
    const std::string framed = takeCapturedText(capture);
    EXPECT_TRUE(takeCapturedText(capture).empty());

    EXPECT_EQ(replayedText(framed),
              (std::array<std::string, 4>{"Preparing data for registration.... \nPercent Complete 12.500000 \rdone\n",
                                          "12 points successfully loaded! \n", "Unable to open files: a \n",
                                          "1,2,0.1\n"}));
    // Standard output is line-buffered like a terminal's, standard error unbuffered, so
    // the pieces keep the order a user at a terminal would have seen.
    EXPECT_LT(framed.find("Preparing"), framed.find("successfully"));
    EXPECT_LT(framed.find("successfully"), framed.find("Percent"));
}

TEST(PairCapture, ReplayRefusesDamagedTextAndTellsWhichFileFailed) {
    PairCapture capture;
    ASSERT_TRUE(openPairCapture(capture));
    std::fprintf(capture.log.get(), "Unable to open files: a \n");
    std::fprintf(capture.rows.file.get(), "1,2\n");
    const std::string framed = takeCapturedText(capture);
    const CaptureTargets nowhere{nullptr, nullptr, nullptr, nullptr};
    EXPECT_EQ(replayCapturedText(framed, nowhere), ReplayOutcome::written);
    EXPECT_EQ(replayCapturedText(framed.substr(0, framed.size() - 1), nowhere), ReplayOutcome::damaged);
    EXPECT_EQ(replayCapturedText(framed.substr(0, 3), nowhere), ReplayOutcome::damaged);
    std::string wrongChannel = framed;
    wrongChannel[0] = 'x';
    EXPECT_EQ(replayCapturedText(wrongChannel, nowhere), ReplayOutcome::damaged);
    // A full disk: /dev/full takes nothing once its buffer is flushed.
    const FileHandle full(std::fopen("/dev/full", "w"));
    ASSERT_TRUE(full);
    std::setvbuf(full.get(), nullptr, _IONBF, 0);
    EXPECT_EQ(replayCapturedText(framed, {nullptr, nullptr, nullptr, full.get()}), ReplayOutcome::rowsFailed);
    EXPECT_EQ(replayCapturedText(framed, {nullptr, nullptr, full.get(), nullptr}), ReplayOutcome::logFailed);
}

// Every field of a scan, so that a field left out or two fields read back in each
// other's place show.
auto scanFields(const ScanRecord& s) {
    return std::tie(s.gpsX, s.gpsY, s.gpsZ, s.rotX, s.rotY, s.rotZ, s.scanId, s.subId, s.fileName,
                    s.northDist, s.southDist, s.northScan, s.southScan, s.northRotation,
                    s.southRotation, s.northPoints, s.southPoints);
}

auto setupFields(const JobSetup& s) {
    return std::tie(s.kind, s.runMode, s.rmsPhase, s.progressScans, s.percentStep, s.threadCount);
}

TEST(SpreadMessages, JobTaskAndResultComeBackFieldForField) {
    JobSetup setup{.kind = PassKind::lineEvaluation, .options = RunOptions{}, .runMode = 3,
                   .rmsPhase = true, .progressScans = 9, .percentStep = 2.5, .threadCount = 3,
                   .scans = {{1e6 + 0.125, -2.5, 50.29, 0.01, -0.02, 3.1, 42, 7,
                              "D:\\job\\line7_042_007_R0042.bxyz", 15.5, 200.0, 1, -1, 0.001,
                              -0.002, 11, 3},
                             ScanRecord{}}};
    setup.options.ALPHA = 0.0349;
    setup.options.ZMIN = -1e6;
    const std::optional<JobSetup> job = decodeJobSetup(encodeJobSetup(setup));
    ASSERT_TRUE(job);
    EXPECT_EQ(setupFields(*job), setupFields(setup));
    EXPECT_EQ(job->options.ALPHA, 0.0349);
    EXPECT_EQ(job->options.ZMIN, -1e6);
    ASSERT_EQ(job->scans.size(), 2U);
    EXPECT_EQ(scanFields(job->scans[0]), scanFields(setup.scans[0]));
    EXPECT_EQ(scanFields(job->scans[1]), scanFields(ScanRecord{}));

    const std::optional<PairTask> task = decodePairTask(encodePairTask({5, {2, 7, 14.25}, 3}));
    ASSERT_TRUE(task);
    EXPECT_EQ(std::tie(task->pairNumber, task->pair.firstIndex, task->pair.secondIndex, task->pair.spacing,
                       task->pairsDone),
              std::make_tuple(5, 2, 7, 14.25, 3));

    const PairResult sent{4, 2, true, 1.5, RunEnding::afterKey, 6, std::string("r\0\x05x", 4)};
    const std::optional<PairResult> result = decodePairResult(encodePairResult(sent));
    ASSERT_TRUE(result);
    const auto resultFields = [](const PairResult& r) {
        return std::tie(r.pairNumber, r.pairsDone, r.isDone, r.seconds, r.ending, r.exitCode, r.captured);
    };
    EXPECT_EQ(resultFields(*result), resultFields(sent));
}

PairResult resultOf(const PairTask& task, bool isDone) {
    PairResult result;
    result.pairNumber = task.pairNumber;
    result.pairsDone = task.pairsDone;
    result.isDone = isDone;
    result.captured = "pair " + std::to_string(task.pairNumber);
    return result;
}

std::vector<PlannedPair> pairs(std::size_t count) {
    std::vector<PlannedPair> planned;
    for (std::size_t i = 0; i < count; ++i) planned.push_back({0, static_cast<std::int32_t>(i + 1), 1.0});
    return planned;
}

TEST(PairLedger, APairComputedBeforeAnEarlierFailureWasKnownIsComputedAgain) {
    PairLedger ledger = startLedger(pairs(4), 0, true);
    const PairTask first = *nextTask(ledger);
    const PairTask second = *nextTask(ledger);
    EXPECT_EQ(second.pairsDone, 1);  // assumes the first pair will finish
    recordResult(ledger, resultOf(second, true));
    recordResult(ledger, resultOf(first, false));  // it could not be read
    const PairTask third = *nextTask(ledger);
    EXPECT_EQ(third.pairsDone, 1);   // the failure is known by now
    EXPECT_FALSE(takeWritable(ledger)->isDone);
    EXPECT_FALSE(takeWritable(ledger));  // the second pair was computed with 1, not 0
    const PairTask again = *nextTask(ledger);
    EXPECT_EQ(again.pairNumber, 1);
    EXPECT_EQ(again.pairsDone, 0);
    recordResult(ledger, resultOf(again, true));
    EXPECT_EQ(takeWritable(ledger)->pairsDone, 0);
    recordResult(ledger, resultOf(third, true));
    EXPECT_EQ(takeWritable(ledger)->pairsDone, 1);
}

TEST(PairLedger, CountsMatterOnlyWhereTheyArePrintedAndNothingFollowsAnEnding) {
    PairLedger evaluation = startLedger(pairs(2), 0, false);
    const PairTask first = *nextTask(evaluation);
    const PairTask second = *nextTask(evaluation);
    recordResult(evaluation, resultOf(first, false));
    recordResult(evaluation, resultOf(second, true));
    takeWritable(evaluation);
    EXPECT_TRUE(takeWritable(evaluation));  // no solver runs: its count is never printed

    PairLedger ending = startLedger(pairs(4), 0, true);
    const PairTask a = *nextTask(ending);
    const PairTask b = *nextTask(ending);
    PairResult stops = resultOf(b, false);
    stops.ending = RunEnding::afterKey;
    recordResult(ending, stops);
    EXPECT_FALSE(nextTask(ending));  // nothing after the pair that ends the run
    recordResult(ending, resultOf(a, true));
    takeWritable(ending);
    EXPECT_EQ(takeWritable(ending)->ending, RunEnding::afterKey);
    EXPECT_TRUE(isLedgerClosed(ending));
}

}  // namespace
}  // namespace sorvek
