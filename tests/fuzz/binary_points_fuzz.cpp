// Arbitrary bytes as a .bxyz file, then laid on a cube grid, sorted and measured against
// itself: NaN, infinite and huge coordinates must never read or write outside a cloud.
#include <span>

#include "fuzz_input.h"
#include "points/binary_reader.h"
#include "points/cube_grid.h"
#include "points/cube_sort.h"
#include "points/work_cloud.h"
#include "registration/pair_rms.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sorvek::fuzzing::ScratchFile file(data, size, ".bxyz");
    sorvek::Run run;
    run.options.MINNUMPTS = 1;
    run.options.NUMPPC = 3;
    sorvek::Cloud cloud;
    if (!sorvek::readBinaryPoints(file.path, cloud) || cloud.empty()) return 0;
    const sorvek::CloudBounds bounds = sorvek::computeBounds(cloud);
    sorvek::assignCubes(run, cloud, bounds, run.options.ZMIN);
    sorvek::sortByCube(run, cloud);
    sorvek::WorkCloud work;
    sorvek::copySorted(run, cloud, run.state.cubeCount, work);
    std::int32_t acceptedCount = 0;
    (void)sorvek::measurePairRms(run, work, work, 0.5, acceptedCount, run.options.ZMIN);
    return 0;
}
