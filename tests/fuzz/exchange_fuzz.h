#pragma once
// What the LAS and the PLY fuzz targets do with their bytes, each with its own reader.

#include "fuzz_input.h"
#include "points/exchange_points.h"
#include "points/point_loading.h"

namespace sorvek::fuzzing {

// The bytes as a file of `kind`: opened and read in chunks, then through the door by their
// content as pair preparation and mode 5 load them. No header may make a reader read
// outside the file or allocate beyond what the file holds.
inline void readAsExchangeFile(const std::uint8_t* data, std::size_t size, const char* extension,
                               PointFileKind kind) {
    ScratchFile file(data, size, extension);
    ExchangePoints points;
    if (openExchangePoints(file.path, kind, points)) {
        while (!nextExchangeChunk(points).empty()) {
        }
    }
    Run run;
    run.options.TRANSX = 512000.0;
    run.options.MAXRANGE = 100.0;
    Cloud cloud;
    CloudBounds bounds;
    (void)loadPointFile(run, file.path, {1.0, 2.0, 3.0}, cloud, bounds, true);
    run.state.runMode = 5;
    (void)loadPointFile(run, file.path, {}, cloud, bounds, false);
}

}  // namespace sorvek::fuzzing
