// Arbitrary bytes as a LAS file: the header checks and the point records read in chunks,
// then the same bytes through the door as pair preparation and mode 5 load them. No
// header may make a reader read outside the file or allocate beyond what the file holds.
#include "fuzz_input.h"
#include "points/exchange_points.h"
#include "points/point_loading.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sorvek::fuzzing::ScratchFile file(data, size, ".las");
    sorvek::ExchangePoints points;
    if (sorvek::openExchangePoints(file.path, sorvek::PointFileKind::las, points)) {
        while (!sorvek::nextExchangeChunk(points).empty()) {
        }
    }
    sorvek::Run run;
    run.options.TRANSX = 512000.0;
    run.options.MAXRANGE = 100.0;
    sorvek::Cloud cloud;
    sorvek::CloudBounds bounds;
    (void)sorvek::loadPointFile(run, file.path, {1.0, 2.0, 3.0}, cloud, bounds, true);
    run.state.runMode = 5;
    (void)sorvek::loadPointFile(run, file.path, {}, cloud, bounds, false);
    return 0;
}
