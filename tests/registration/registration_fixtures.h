#pragma once
// Clouds laid on their common grid, as pair preparation leaves them.

#include "points/cube_grid.h"
#include "points/cube_sort.h"
#include "run/records.h"

namespace sorvek::fixtures {

inline void gridAndSort(Run& run, Cloud& first, Cloud& second) {
    const CloudBounds overlap = overlapOf(computeBounds(first), computeBounds(second));
    for (Cloud* cloud : {&first, &second}) {
        assignCubes(run, *cloud, overlap, run.options.ZMIN);
        sortByCube(*cloud, run.pair.buffers.sortScratch);
    }
}

}  // namespace sorvek::fixtures
