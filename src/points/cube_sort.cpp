#include "points/cube_sort.h"

#include <algorithm>
#include <vector>

#include "points/cube_order.h"
#include "run/worker_pool.h"

namespace sorvek {

void sortByCube(Run& run, Cloud& cloud) {
    const std::size_t count = cloud.size();
    if (count < 2) return;
    CubeOrderScratch scratch;
    scratch.keys.resize(count);
    const std::size_t threadCount = run.state.workers ? run.state.workers->threadCount : 1;
    std::vector<std::uint32_t> greatestOfShare(threadCount, 0);
    runParts(run.state.workers.get(), threadCount, [&](std::size_t share) {
        std::uint32_t greatest = 0;
        const std::size_t end = partBegin(count, share + 1, threadCount);
        for (std::size_t i = partBegin(count, share, threadCount); i < end; ++i) {
            scratch.keys[i] = cloud[i].cube;
            greatest = std::max(greatest, cloud[i].cube);
        }
        greatestOfShare[share] = greatest;
    });
    const std::uint32_t greatest =
        *std::max_element(greatestOfShare.begin(), greatestOfShare.end());
    rankByCube(run, scratch, std::size_t{greatest} + 1);
    Cloud sorted(count);
    runShares(run.state.workers.get(), count, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) sorted[scratch.ranks[i]] = cloud[i];
    });
    cloud.swap(sorted);
}

}  // namespace sorvek
