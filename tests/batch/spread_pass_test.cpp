// The pieces of a spread pass that need no second process: catching a pair's text and
// writing it out again, the messages between processes, and the ledger that writes
// results in plan order and redoes a pair computed with the wrong pairsDone.
#include <gtest/gtest.h>

#include <cstdio>

#include "batch/pair_capture.h"
#include "batch/pair_ledger.h"
#include "batch/spread_messages.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

// A temporary file's whole contents after `write` has written into it.
template <typename Write>
std::string writtenText(Write write) {
    FileHandle file(std::tmpfile());
    write(file.get());
    std::fflush(file.get());
    std::rewind(file.get());
    std::string text;
    for (int c = std::fgetc(file.get()); c != EOF; c = std::fgetc(file.get())) text += static_cast<char>(c);
    return text;
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

    std::string console;
    std::string errors;
    std::string log;
    std::string rows;
    console = writtenText([&](std::FILE* consoleFile) {
        errors = writtenText([&](std::FILE* errorFile) {
            log = writtenText([&](std::FILE* logFile) {
                rows = writtenText([&](std::FILE* rowFile) {
                    EXPECT_EQ(replayCapturedText(framed, {consoleFile, errorFile, logFile, rowFile}),
                              ReplayOutcome::written);
                });
            });
        });
    });
    EXPECT_EQ(console, "Preparing data for registration.... \nPercent Complete 12.500000 \rdone\n");
    EXPECT_EQ(errors, "12 points successfully loaded! \n");
    EXPECT_EQ(log, "Unable to open files: a \n");
    EXPECT_EQ(rows, "1,2,0.1\n");
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

TEST(SpreadMessages, JobTaskAndResultComeBackFieldForField) {
    JobSetup setup;
    setup.kind = PassKind::lineEvaluation;
    setup.options.ALPHA = 0.0349;
    setup.options.REGSOL = 1;
    setup.options.ZMIN = -1e6;
    setup.runMode = 3;
    setup.rmsPhase = true;
    setup.progressScans = 9;
    setup.percentStep = 2.5;
    setup.threadCount = 3;
    ScanRecord scan;
    scan.gpsX = 1e6 + 0.125;
    scan.gpsY = -2.5;
    scan.gpsZ = 50.29;
    scan.rotX = 0.01;
    scan.rotY = -0.02;
    scan.rotZ = 3.1;
    scan.scanId = 42;
    scan.subId = 7;
    scan.fileName = "D:\\job\\line7_042_007_R0042.bxyz";
    scan.northDist = 15.5;
    scan.southDist = 200.0;
    scan.northScan = 1;
    scan.southScan = -1;
    scan.northRotation = 0.001;
    scan.southPoints = 3;
    setup.scans = {scan, ScanRecord{}};
    const std::optional<JobSetup> job = decodeJobSetup(encodeJobSetup(setup));
    ASSERT_TRUE(job);
    EXPECT_EQ(job->kind, PassKind::lineEvaluation);
    EXPECT_EQ(job->options.ALPHA, 0.0349);
    EXPECT_EQ(job->options.REGSOL, 1);
    EXPECT_EQ(job->options.ZMIN, -1e6);
    EXPECT_EQ(job->runMode, 3);
    EXPECT_TRUE(job->rmsPhase);
    EXPECT_EQ(job->progressScans, 9);
    EXPECT_EQ(job->percentStep, 2.5);
    EXPECT_EQ(job->threadCount, 3);
    ASSERT_EQ(job->scans.size(), 2U);
    const ScanRecord& back = job->scans[0];
    EXPECT_EQ(back.gpsX, scan.gpsX);
    EXPECT_EQ(back.gpsY, scan.gpsY);
    EXPECT_EQ(back.gpsZ, scan.gpsZ);
    EXPECT_EQ(back.rotX, scan.rotX);
    EXPECT_EQ(back.rotY, scan.rotY);
    EXPECT_EQ(back.rotZ, scan.rotZ);
    EXPECT_EQ(back.scanId, 42);
    EXPECT_EQ(back.subId, 7);
    EXPECT_EQ(back.fileName, scan.fileName);
    EXPECT_EQ(back.northDist, 15.5);
    EXPECT_EQ(back.southDist, 200.0);
    EXPECT_EQ(back.northScan, 1);
    EXPECT_EQ(back.southScan, -1);
    EXPECT_EQ(back.northRotation, 0.001);
    EXPECT_EQ(back.southRotation, noRotation);
    EXPECT_EQ(back.southPoints, 3);

    const std::optional<PairTask> task = decodePairTask(encodePairTask({5, {2, 7, 14.25}, 3}));
    ASSERT_TRUE(task);
    EXPECT_EQ(task->pairNumber, 5);
    EXPECT_EQ(task->pair.secondIndex, 7);
    EXPECT_EQ(task->pair.spacing, 14.25);
    EXPECT_EQ(task->pairsDone, 3);

    const PairResult sent{4, 2, true, 1.5, RunEnding::afterKey, 0, std::string("r\0\x05x", 4)};
    const std::optional<PairResult> result = decodePairResult(encodePairResult(sent));
    ASSERT_TRUE(result);
    EXPECT_EQ(result->pairNumber, 4);
    EXPECT_EQ(result->pairsDone, 2);
    EXPECT_TRUE(result->isDone);
    EXPECT_EQ(result->seconds, 1.5);
    EXPECT_EQ(result->ending, RunEnding::afterKey);
    EXPECT_EQ(result->captured, sent.captured);
}

TEST(SpreadMessages, DamagedMessagesAreRefused) {
    const std::string result = encodePairResult({1, 0, false, 0.0, RunEnding::none, 0, "text"});
    EXPECT_FALSE(decodePairResult(result.substr(0, result.size() - 1)));
    EXPECT_FALSE(decodePairResult(result + "x"));
    std::string badFlag = result;
    badFlag[8] = 2;  // isDone is one byte after two 32-bit fields
    EXPECT_FALSE(decodePairResult(badFlag));
    JobSetup setup;
    setup.scans.resize(3);
    const std::string job = encodeJobSetup(setup);
    EXPECT_FALSE(decodeJobSetup(job.substr(0, job.size() - 3)));
    std::string badKind = job;
    badKind[0] = 3;
    EXPECT_FALSE(decodeJobSetup(badKind));
    setup.threadCount = 0;  // a process without a thread could compute nothing
    EXPECT_FALSE(decodeJobSetup(encodeJobSetup(setup)));
    EXPECT_FALSE(decodePairTask(""));
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

TEST(PairLedger, ResultsInAnyOrderAreWrittenInPlanOrder) {
    PairLedger ledger = startLedger(pairs(3), 4, true);
    const PairTask first = *nextTask(ledger);
    const PairTask second = *nextTask(ledger);
    const PairTask third = *nextTask(ledger);
    EXPECT_FALSE(nextTask(ledger));
    EXPECT_EQ(first.pairsDone, 4);  // the kept rows count as finished pairs
    EXPECT_EQ(third.pairsDone, 6);
    recordResult(ledger, resultOf(third, true));
    recordResult(ledger, resultOf(second, true));
    EXPECT_FALSE(takeWritable(ledger));
    recordResult(ledger, resultOf(first, true));
    EXPECT_EQ(takeWritable(ledger)->captured, "pair 0");
    EXPECT_EQ(takeWritable(ledger)->captured, "pair 1");
    EXPECT_EQ(takeWritable(ledger)->captured, "pair 2");
    EXPECT_TRUE(isLedgerClosed(ledger));
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
