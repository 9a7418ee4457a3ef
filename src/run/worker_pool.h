#pragma once
// A small pool of threads, made once per run, that runs the parts of one job at a time.
// Parts are fixed by the caller and each writes only its own slots, so the result of a
// job never depends on which thread ran which part, nor on how many threads there are.

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace sorvek {

// The threads wait between jobs; the calling thread works on the parts too, so a pool of
// one thread starts no thread at all.
struct WorkerPool {
    explicit WorkerPool(std::size_t threadCount);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    std::size_t threadCount = 1;                            // the calling thread included
    std::vector<std::thread> threads;                       // the others
    std::mutex mutex;                                       // guards every field below
    std::condition_variable jobStarted;                     // a new job, or the end
    std::condition_variable jobFinished;                    // the last part of a job is done
    const std::function<void(std::size_t)>* job = nullptr;  // the parts' work, by part
    std::size_t partCount = 0;                              // parts of the job in hand
    std::size_t nextPart = 0;                               // next part nobody has taken
    std::size_t partsDone = 0;                              // parts finished
    std::vector<std::exception_ptr> failures;               // by part; empty pointer: no failure
    bool isStopping = false;                                // the pool is being destroyed
};

// The thread count a run gets when the command line names none: the hardware's, at least 1.
std::size_t hardwareThreadCount();

// Runs part(0) .. part(partCount - 1), on the pool's threads when there is a pool and on
// the calling thread alone when `pool` is null, and returns when all are done. A part that
// throws (only running out of memory is expected) has its exception rethrown here, the
// lowest part's first.
void runParts(WorkerPool* pool, std::size_t partCount,
              const std::function<void(std::size_t)>& part);

// The first of part `part` of `partCount` equal shares of `count` items.
inline std::size_t partBegin(std::size_t count, std::size_t part, std::size_t partCount) {
    // Whole shares first, so that nothing overflows; the shares differ by one at most.
    return count / partCount * part + (count % partCount * part) / partCount;
}

// Cuts [0, count) into one share a thread and runs share(begin, end) on each: for work on
// every point that comes out the same wherever it is cut.
void runShares(WorkerPool* pool, std::size_t count,
               const std::function<void(std::size_t, std::size_t)>& share);

}  // namespace sorvek
