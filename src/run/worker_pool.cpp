#include "run/worker_pool.h"

namespace sorvek {
namespace {

// Takes and runs parts of the current job until none is left. Called with the lock held;
// returns with it held.
void workOnParts(WorkerPool& pool, std::unique_lock<std::mutex>& lock) {
    while (pool.job != nullptr && pool.nextPart < pool.partCount) {
        const std::size_t part = pool.nextPart++;
        const std::function<void(std::size_t)>& job = *pool.job;
        lock.unlock();
        std::exception_ptr failure;
        try {
            job(part);
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        pool.failures[part] = failure;
        if (++pool.partsDone == pool.partCount) pool.jobFinished.notify_all();
    }
}

void serve(WorkerPool& pool) {
    std::unique_lock<std::mutex> lock(pool.mutex);
    while (true) {
        pool.jobStarted.wait(lock, [&] {
            return pool.isStopping || (pool.job != nullptr && pool.nextPart < pool.partCount);
        });
        if (pool.isStopping) return;
        workOnParts(pool, lock);
    }
}

}  // namespace

WorkerPool::WorkerPool(std::size_t count) : threadCount(count < 1 ? 1 : count) {
    threads.reserve(threadCount - 1);
    for (std::size_t i = 1; i < threadCount; ++i) threads.emplace_back(serve, std::ref(*this));
}

WorkerPool::~WorkerPool() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        isStopping = true;
    }
    jobStarted.notify_all();
    for (std::thread& thread : threads) thread.join();
}

std::size_t hardwareThreadCount() {
    const unsigned count = std::thread::hardware_concurrency();
    return count == 0 ? 1 : count;
}

void runParts(WorkerPool* pool, std::size_t partCount,
              const std::function<void(std::size_t)>& part) {
    if (pool == nullptr || pool->threads.empty() || partCount < 2) {
        for (std::size_t k = 0; k < partCount; ++k) part(k);
        return;
    }
    std::unique_lock<std::mutex> lock(pool->mutex);
    pool->job = &part;
    pool->partCount = partCount;
    pool->nextPart = 0;
    pool->partsDone = 0;
    pool->failures.assign(partCount, nullptr);
    pool->jobStarted.notify_all();
    workOnParts(*pool, lock);
    pool->jobFinished.wait(lock, [&] { return pool->partsDone == pool->partCount; });
    pool->job = nullptr;
    for (const std::exception_ptr& failure : pool->failures) {
        if (failure) std::rethrow_exception(failure);
    }
}

void runShares(WorkerPool* pool, std::size_t count,
               const std::function<void(std::size_t, std::size_t)>& share) {
    const std::size_t shareCount = pool == nullptr ? 1 : pool->threadCount;
    runParts(pool, shareCount, [&](std::size_t k) {
        share(partBegin(count, k, shareCount), partBegin(count, k + 1, shareCount));
    });
}

}  // namespace sorvek
