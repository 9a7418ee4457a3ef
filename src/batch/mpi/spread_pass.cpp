#include "batch/mpi/spread_pass.h"

// The owner hands out one pair at a time to whichever computer is free: each other rank,
// and one thread of its own. It keeps the console, the log and the result file to itself,
// and writes every pair's text out in plan order. While the thread runs, the process's
// standard streams point at the thread's capture, so the owner prints through the streams
// it saved before the thread started.

#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <new>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "batch/batch_pair.h"
#include "batch/mpi/cluster_link.h"
#include "batch/mpi/spread_worker.h"
#include "batch/pair_ledger.h"
#include "batch/pair_plan.h"
#include "batch/pair_worker.h"
#include "batch/resume.h"
#include "batch/wall_clock.h"
#include "run/console.h"

namespace sorvek {
namespace {

// What passes between the owner and its own computing thread.
struct Mailbox {
    std::mutex lock;
    std::condition_variable_any changed;
    std::optional<PairTask> task;      // handed out by the owner, taken by the thread
    std::optional<PairResult> result;  // left by the thread, taken by the owner
    bool isExiting = false;            // the thread's pair ended the process: it is inside exit
    bool hasStopped = false;           // the thread gave the standard streams back and returns
};

// Where the owner stands in writing the pass out.
struct PassCursor {
    std::size_t turnIndex = 0;     // the turn being written
    std::size_t pairInTurn = 0;    // its next pair
    std::size_t planPosition = 0;  // the same pair among all the pass's pairs
    double turnSeconds = 0.0;      // what the turn's pairs took to compute
    bool turnFailed = false;       // a pair of the turn could not be read
};

struct SpreadPass {
    Run& run;                          // the owner's run
    PassKind kind;                     // which driver's pass this is
    std::vector<PlannedTurn> turns{};  // the whole plan
    std::vector<PairFate> fates{};     // per planned pair
    PairLedger ledger{};               // the pairs to do
    PassCursor cursor{};               // what is written so far
    OutputFile resultFile{};           // the pass's result file
    CaptureTargets targets{};          // the real console, the log and the result file
    std::FILE* input = nullptr;        // the real standard input
    std::vector<int> idleRanks{};      // ranks waiting for a task
    int stoppedRanks = 0;              // ranks whose pair ended the run
    bool isThreadIdle = true;          // the owner's thread waits for a task
    Mailbox mailbox{};                 // between the owner and its thread
    std::jthread ownThread{};          // the owner's thread, while the pass runs
};

PassKind passKindOf(const Run& run) {
    switch (run.state.runMode) {
    case 3: return PassKind::lineEvaluation;
    case 7: return PassKind::siteEvaluation;
    default: return PassKind::siteRegistration;
    }
}

ResultFileKind resultKindOf(PassKind kind) {
    switch (kind) {
    case PassKind::lineEvaluation: return ResultFileKind::lineRms;
    case PassKind::siteEvaluation: return ResultFileKind::siteRms;
    case PassKind::siteRegistration: break;
    }
    return ResultFileKind::registration;
}

std::vector<PlannedPair> pairsToDo(const std::vector<PlannedPair>& pairs,
                                   const std::vector<PairFate>& fates) {
    std::vector<PlannedPair> toDo;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (fates[i] == PairFate::toDo) toDo.push_back(pairs[i]);
    }
    return toDo;
}

void deliverToMailbox(PairResult result, void* context) {
    auto* mailbox = static_cast<Mailbox*>(context);
    {
        const std::lock_guard<std::mutex> guard(mailbox->lock);
        mailbox->result = std::move(result);
        mailbox->isExiting = true;
    }
    mailbox->changed.notify_all();
    // The process is ending from this thread: the owner writes the pairs before this one
    // and this one, and ends the process itself.
    for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

void runOwnThread(std::stop_token stop, Mailbox& mailbox, PairWorker& worker) {
    const StandardStreams saved = redirectStandardStreams(worker.capture);
    for (;;) {
        PairTask task;
        {
            std::unique_lock<std::mutex> guard(mailbox.lock);
            if (!mailbox.changed.wait(guard, stop, [&] { return mailbox.task.has_value(); })) break;
            task = *mailbox.task;
            mailbox.task.reset();
        }
        PairResult result = computeGuarded(worker, task, saved, deliverToMailbox, &mailbox);
        const bool endsRun = result.ending != RunEnding::none;
        {
            const std::lock_guard<std::mutex> guard(mailbox.lock);
            mailbox.result = std::move(result);
        }
        mailbox.changed.notify_all();
        if (endsRun) break;
    }
    restoreStandardStreams(saved);
    {
        const std::lock_guard<std::mutex> guard(mailbox.lock);
        mailbox.hasStopped = true;
    }
    mailbox.changed.notify_all();
}

[[noreturn]] void endSpreadRun(SpreadPass& pass, int exitCode, bool waitsForKey) {
    std::fflush(pass.targets.console);
    if (waitsForKey) (void)std::getc(pass.input);
    releaseRanks();
    // The owner's thread may still be inside a pair, or inside std::exit: the process
    // ends here at once, with every stream flushed.
    std::fflush(nullptr);
    std::_Exit(exitCode);
}

// Before the run can end through its usual doors, which print to the standard streams,
// the owner's thread must have given them back: it finishes the pair in hand and stops.
// False when its pair ended the process instead: the thread gave the streams back and
// stays inside exit, so it can never be joined, and no second exit may run beside it.
bool stopOwnThread(SpreadPass& pass) {
    const int errorNumber = errno;  // the reason of a failed write, for the message
    bool isExiting = false;
    if (pass.ownThread.joinable()) {
        pass.ownThread.request_stop();
        {
            std::unique_lock<std::mutex> guard(pass.mailbox.lock);
            pass.mailbox.changed.wait(
                guard, [&] { return pass.mailbox.hasStopped || pass.mailbox.isExiting; });
            isExiting = pass.mailbox.isExiting;
        }
        if (!isExiting) pass.ownThread.join();
    }
    errno = errorNumber;
    return !isExiting;
}

// A failed write while the thread is inside exit: the user reads the door's message, and
// the run ends as a pair that ends it does.
[[noreturn]] void endBesideExitingThread(SpreadPass& pass, const std::string& path,
                                         std::FILE* log) {
    tellOfFailedWrite(path, errno, log);
    endSpreadRun(pass, exitFailed, true);
}

// A write to the result file failed; errno tells why.
[[noreturn]] void failRowWrite(SpreadPass& pass) {
    if (stopOwnThread(pass)) failOutput(pass.resultFile);
    endBesideExitingThread(pass, pass.resultFile.path, pass.resultFile.log);
}

// A write to the log failed; errno tells why.
[[noreturn]] void failLogWrite(SpreadPass& pass) {
    if (stopOwnThread(pass)) endRunOnFailedWrite(pass.run.state.logPath, errno, nullptr);
    endBesideExitingThread(pass, pass.run.state.logPath, nullptr);
}

void writePairResult(SpreadPass& pass, const PairResult& result) {
    switch (replayCapturedText(result.captured, pass.targets)) {
    case ReplayOutcome::written: break;
    case ReplayOutcome::damaged: abortJob("the text of a pair arrived damaged");
    case ReplayOutcome::rowsFailed: failRowWrite(pass);
    case ReplayOutcome::logFailed: failLogWrite(pass);
    }
    if (std::fflush(pass.targets.rows) != 0) failRowWrite(pass);
    if (pass.targets.log != nullptr && std::fflush(pass.targets.log) != 0) failLogWrite(pass);
    std::fflush(pass.targets.console);
    pass.cursor.turnSeconds += result.seconds;
    if (!result.isDone) pass.cursor.turnFailed = true;
    switch (result.ending) {
    case RunEnding::none: break;
    case RunEnding::afterKey: endSpreadRun(pass, result.exitCode, true);
    case RunEnding::outOfMemory: endSpreadRun(pass, result.exitCode, false);
    }
}

// A line turn whose pair could not be read ends without its time line, as in one process.
void closeTurn(SpreadPass& pass, const PlannedTurn& turn) {
    PassCursor& cursor = pass.cursor;
    if (pass.kind != PassKind::lineEvaluation || !cursor.turnFailed) {
        const std::int32_t scanId =
            pass.run.state.scans[static_cast<std::size_t>(turn.scanIndex)].scanId;
        printScanTime(pass.targets.console, pass.kind != PassKind::siteRegistration, scanId,
                      wholeSecondsOf(cursor.turnSeconds));
    }
    cursor = PassCursor{cursor.turnIndex + 1, 0, cursor.planPosition, 0.0, false};
}

// Writes everything that can be written in plan order; true once the whole pass is.
bool writeInOrder(SpreadPass& pass) {
    PassCursor& cursor = pass.cursor;
    while (cursor.turnIndex < pass.turns.size()) {
        const PlannedTurn& turn = pass.turns[cursor.turnIndex];
        if (cursor.pairInTurn == turn.pairs.size()) {
            closeTurn(pass, turn);
            continue;
        }
        switch (pass.fates[cursor.planPosition]) {
        case PairFate::kept: break;
        case PairFate::failedBefore:
            setPlannedPairFiles(pass.run, pass.kind, turn.pairs[cursor.pairInTurn]);
            // Not logFailedPair: its failure door would print while the thread may hold
            // the standard streams.
            if (!writeFailedPairLines(pass.targets.log, pass.run)) failLogWrite(pass);
            cursor.turnFailed = true;
            break;
        case PairFate::toDo: {
            const std::optional<PairResult> result = takeWritable(pass.ledger);
            if (!result) return false;
            writePairResult(pass, *result);
            break;
        }
        }
        ++cursor.pairInTurn;
        ++cursor.planPosition;
    }
    return true;
}

bool handOutTasks(SpreadPass& pass) {
    bool hasHandedOut = false;
    while (pass.isThreadIdle || !pass.idleRanks.empty()) {
        const std::optional<PairTask> task = nextTask(pass.ledger);
        if (!task) break;
        hasHandedOut = true;
        if (pass.isThreadIdle) {
            {
                const std::lock_guard<std::mutex> guard(pass.mailbox.lock);
                pass.mailbox.task = *task;
            }
            pass.mailbox.changed.notify_all();
            pass.isThreadIdle = false;
        } else {
            const int rank = pass.idleRanks.back();
            pass.idleRanks.pop_back();
            sendMessage(rank, MessageTag::task, encodePairTask(*task));
        }
    }
    return hasHandedOut;
}

void takeMessage(SpreadPass& pass, const Message& message) {
    if (message.tag == MessageTag::ask) pass.idleRanks.push_back(message.source);
    if (message.tag != MessageTag::result) return;
    std::optional<PairResult> result = decodePairResult(message.bytes);
    if (!result) {
        const std::string reason =
            "a result from rank " + std::to_string(message.source) + " arrived damaged";
        abortJob(reason.c_str());
    }
    if (result->ending == RunEnding::none) {
        pass.idleRanks.push_back(message.source);
    } else {
        ++pass.stoppedRanks;
    }
    recordResult(pass.ledger, std::move(*result));
}

bool collectResults(SpreadPass& pass) {
    bool hasCollected = false;
    std::optional<PairResult> own;
    {
        const std::lock_guard<std::mutex> guard(pass.mailbox.lock);
        own.swap(pass.mailbox.result);
    }
    if (own) {
        hasCollected = true;
        pass.isThreadIdle = own->ending == RunEnding::none;
        recordResult(pass.ledger, std::move(*own));
    }
    while (const std::optional<Message> message = pollMessage(-1)) {
        hasCollected = true;
        takeMessage(pass, *message);
    }
    return hasCollected;
}

void coordinate(SpreadPass& pass) {
    int idlePolls = 0;
    for (;;) {
        const bool hasHandedOut = handOutTasks(pass);
        const bool hasCollected = collectResults(pass);
        if (writeInOrder(pass)) return;
        if (hasHandedOut || hasCollected) {
            idlePolls = 0;
        } else {
            pauseBetweenPolls(idlePolls);
        }
    }
}

// Every rank has asked for work it will not get: it goes back to waiting for a job.
void endPassOnRanks(SpreadPass& pass) {
    const int otherRanks = rankCount() - 1;
    int idlePolls = 0;
    while (static_cast<int>(pass.idleRanks.size()) + pass.stoppedRanks < otherRanks) {
        if (const std::optional<Message> message = pollMessage(-1)) {
            takeMessage(pass, *message);
        } else {
            pauseBetweenPolls(idlePolls);
        }
    }
    for (const int rank : pass.idleRanks) sendMessage(rank, MessageTag::passEnd, {});
}

}  // namespace

void runSpreadPass(Run& run, const std::string& path) {
    const std::time_t passStart = wallClockNow();
    PairWorker ownWorker;  // outlives the pass, whose thread computes with it
    SpreadPass pass{run, passKindOf(run)};
    pass.turns = planPass(run, pass.kind);
    const std::vector<PlannedPair> planned = pairsOf(pass.turns);
    PassFile passFile = openPassFile(run, path, resultKindOf(pass.kind), planned);
    pass.fates = std::move(passFile.fates);
    pass.ledger =
        startLedger(pairsToDo(planned, pass.fates), run.state.pairsDone + passFile.keptRowCount,
                    pass.kind == PassKind::siteRegistration);
    pass.resultFile = std::move(passFile.file);
    pass.targets = {stdout, stderr, run.state.logFile.get(), pass.resultFile.file.get()};
    pass.input = stdin;

    JobSetup setup = jobSetupOf(run, pass.kind);
    const std::string job = encodeJobSetup(setup);
    for (int rank = 0; rank < rankCount(); ++rank) {
        if (rank != ownerRank) sendMessage(rank, MessageTag::job, job);
    }
    // The owner's engine threads are idle meanwhile: its thread borrows them.
    if (!startPairWorker(ownWorker, std::move(setup), run.state.workers)) throw std::bad_alloc();
    pass.ownThread = std::jthread(runOwnThread, std::ref(pass.mailbox), std::ref(ownWorker));
    coordinate(pass);
    (void)stopOwnThread(pass);  // no pair ended the run, so the thread is not inside exit
    endPassOnRanks(pass);
    run.state.pairsDone = pass.ledger.pairsDoneAtStart + pass.ledger.finishedWritten;
    closeInPlace(pass.resultFile);
    std::printf("\n");
    if (pass.kind != PassKind::lineEvaluation) {
        printTotalTime(stdout, pass.kind == PassKind::siteEvaluation, secondsSince(passStart));
    }
}

}  // namespace sorvek
