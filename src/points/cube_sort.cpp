#include "points/cube_sort.h"

#include <algorithm>

#include "points/cube_order.h"
#include "run/worker_pool.h"

namespace sorvek {

void sortByCube(Run& run, Cloud& cloud) {
    const std::size_t count = cloud.size();
    if (count < 2) return;
    CubeOrderScratch scratch;
    scratch.keys.resize(count);
    std::uint32_t greatest = 0;
    for (std::size_t i = 0; i < count; ++i) {
        scratch.keys[i] = cloud[i].cube;
        greatest = std::max(greatest, cloud[i].cube);
    }
    rankByCube(run, scratch, std::size_t{greatest} + 1);
    Cloud sorted(count);
    const std::size_t partCount = run.state.workers ? run.state.workers->threadCount : 1;
    runParts(run.state.workers.get(), partCount, [&](std::size_t part) {
        const std::size_t end = partBegin(count, part + 1, partCount);
        for (std::size_t i = partBegin(count, part, partCount); i < end; ++i) {
            sorted[scratch.ranks[i]] = cloud[i];
        }
    });
    cloud.swap(sorted);
}

}  // namespace sorvek
