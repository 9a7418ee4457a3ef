#pragma once
// The computing side of a spread pass, in a rank of its own or in a thread beside the
// owner, and the way the owner lets the other ranks go.

#include <atomic>
#include <chrono>
#include <thread>

#include "batch/pair_capture.h"
#include "batch/pair_worker.h"
#include "batch/spread_messages.h"

namespace sorvek {

// Where a result goes when a pair ends the process from inside the stage code; `context`
// is the deliverer's own.
using ResultDelivery = void (*)(PairResult result, void* context);

// The pair a thread is computing, kept where the process's exit handler can find it: a
// stage that ends the run (a cube too full to measure) calls std::exit from inside the
// pair, and the exit handler then hands the pair's text on as the pair's result.
struct PairInHand {
    std::atomic<PairWorker*> worker{nullptr};  // set while a pair is computed
    std::thread::id thread;                    // the thread computing it
    PairTask task;                             // the pair
    std::chrono::steady_clock::time_point start;
    StandardStreams saved;  // the streams to restore before handing on
    ResultDelivery deliver = nullptr;
    void* context = nullptr;
};

// The process's one PairInHand. It is static because the exit handler runs after main
// has returned or from inside any thread, and must find it there.
PairInHand& pairInHand();

// The exit handler, registered once per process with on_exit(reportPairAtExit,
// &pairInHand()). It does nothing unless the exiting thread is inside a pair.
void reportPairAtExit(int exitStatus, void* inHand);

// Computes one pair with the pair in hand registered, and turns running out of memory
// into the pair's ending.
PairResult computeGuarded(PairWorker& worker, const PairTask& task, const StandardStreams& saved,
                          ResultDelivery deliver, void* context);

// Ranks other than the owner: computes the pairs of each pass the owner sends, until it
// says quit.
void serveSpreadPasses();

// The owner: tells every other rank to end, waits until each has said so, dropping
// whatever they still send, and ends MPI. Does nothing when MPI has ended already.
void releaseRanks();

}  // namespace sorvek
