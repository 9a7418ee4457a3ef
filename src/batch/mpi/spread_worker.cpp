#include "batch/mpi/spread_worker.h"

#include <mpi.h>

#include <cstdlib>
#include <new>

#include "batch/mpi/cluster_link.h"
#include "run/console.h"
#include "run/worker_pool.h"

namespace sorvek {
namespace {

// After the run is over for this rank: waits for quit, says bye and ends MPI.
void awaitQuit() {
    for (;;) {
        if (waitForMessage(ownerRank).tag == MessageTag::quit) break;
    }
    sendMessage(ownerRank, MessageTag::bye, {});
    MPI_Finalize();
}

void deliverToOwner(PairResult result, void* /*context*/) {
    sendMessage(ownerRank, MessageTag::result, encodePairResult(result));
    awaitQuit();
}

PairResult resultSoFar(PairWorker& worker, const PairTask& task,
                       std::chrono::steady_clock::time_point start, RunEnding ending,
                       int exitCode) {
    PairResult result;
    result.pairNumber = task.pairNumber;
    result.pairsDone = task.pairsDone;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    result.seconds = elapsed.count();
    result.ending = ending;
    result.exitCode = exitCode;
    if (worker.run.state.logFile) std::fflush(worker.run.state.logFile.get());
    result.captured = takeCapturedText(worker.capture);
    return result;
}

// One pass of the owner's: false when the run is over for this rank.
bool servePass(JobSetup setup) {
    // The engine's numbers do not depend on its thread count; its speed does, so each
    // computing process runs as many threads as the owner does.
    auto workers = std::make_shared<WorkerPool>(static_cast<std::size_t>(setup.threadCount));
    PairWorker worker;
    if (!startPairWorker(worker, std::move(setup), std::move(workers)))
        abortJob("cannot open the streams that catch a pair's text");
    const StandardStreams saved = redirectStandardStreams(worker.capture);
    sendMessage(ownerRank, MessageTag::ask, {});
    bool goesOn = true;
    for (;;) {
        const Message message = waitForMessage(ownerRank);
        if (message.tag == MessageTag::passEnd) break;
        if (message.tag == MessageTag::quit) {
            goesOn = false;
            break;
        }
        const std::optional<PairTask> task = decodePairTask(message.bytes);
        if (message.tag != MessageTag::task || !task) continue;
        const PairResult result = computeGuarded(worker, *task, saved, deliverToOwner, nullptr);
        sendMessage(ownerRank, MessageTag::result, encodePairResult(result));
    }
    restoreStandardStreams(saved);
    return goesOn;
}

}  // namespace

PairInHand& pairInHand() {
    static PairInHand inHand;
    return inHand;
}

void reportPairAtExit(int exitStatus, void* inHandAddress) {
    auto* inHand = static_cast<PairInHand*>(inHandAddress);
    if (inHand->thread != std::this_thread::get_id()) return;
    PairWorker* worker = inHand->worker.exchange(nullptr);
    if (worker == nullptr) return;
    PairResult result =
        resultSoFar(*worker, inHand->task, inHand->start, RunEnding::afterKey, exitStatus);
    restoreStandardStreams(inHand->saved);
    inHand->deliver(std::move(result), inHand->context);
}

PairResult computeGuarded(PairWorker& worker, const PairTask& task, const StandardStreams& saved,
                          ResultDelivery deliver, void* context) {
    PairInHand& inHand = pairInHand();
    inHand.thread = std::this_thread::get_id();
    inHand.task = task;
    inHand.start = std::chrono::steady_clock::now();
    inHand.saved = saved;
    inHand.deliver = deliver;
    inHand.context = context;
    inHand.worker.store(&worker);
    PairResult result;
    bool isOutOfMemory = false;
    try {
        result = computePair(worker, task);
    } catch (const std::bad_alloc&) {
        isOutOfMemory = true;
    }
    // Memory also ran out when the capture could not keep a piece of text. The pair's text
    // then has a hole (a row cut in two, say), so none of it is written out.
    const bool hasHole = hasLostText(worker.capture);
    if (hasHole) (void)takeCapturedText(worker.capture);
    if (isOutOfMemory || hasHole) {
        reportOutOfMemory();
        result = resultSoFar(worker, task, inHand.start, RunEnding::outOfMemory, 1);
    }
    inHand.worker.store(nullptr);
    return result;
}

void serveSpreadPasses() {
    for (;;) {
        const Message message = waitForMessage(ownerRank);
        if (message.tag == MessageTag::quit) break;
        if (message.tag != MessageTag::job) continue;
        std::optional<JobSetup> setup = decodeJobSetup(message.bytes);
        if (!setup) abortJob("the job arrived damaged");
        if (!servePass(std::move(*setup))) break;
    }
    sendMessage(ownerRank, MessageTag::bye, {});
}

void releaseRanks() {
    int hasStarted = 0;
    int hasEnded = 0;
    MPI_Initialized(&hasStarted);
    MPI_Finalized(&hasEnded);
    if (hasStarted == 0 || hasEnded != 0) return;
    const int count = rankCount();
    for (int rank = 0; rank < count; ++rank) {
        if (rank != ownerRank) sendMessage(rank, MessageTag::quit, {});
    }
    for (int byeCount = 0; byeCount < count - 1;) {
        if (waitForMessage(-1).tag == MessageTag::bye) ++byeCount;
    }
    MPI_Finalize();
}

}  // namespace sorvek
