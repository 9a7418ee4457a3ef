// Arbitrary bytes as a text point file, read with a scan position and the default filters,
// in the registration phase (translation on) and in mode 5.
#include "fuzz_input.h"
#include "points/point_file_kind.h"
#include "points/text_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sorvek::fuzzing::ScratchFile file(data, size, ".txt");
    sorvek::Run run;
    run.options.TRANSX = 1000.0;
    run.options.XMAX = 5000.0;
    run.options.MAXRANGE = 100.0;
    (void)sorvek::pointFileKindOf(file.path);
    sorvek::Cloud cloud;
    sorvek::CloudBounds bounds;
    double cliffDistance = 0.0;
    (void)sorvek::readTextPoints(run, file.path, cloud, bounds, cliffDistance, run.options.ZMIN, 1.0, 2.0, 3.0);
    run.state.runMode = 5;
    (void)sorvek::readTextPoints(run, file.path, cloud, bounds, cliffDistance, run.options.ZMIN, 0.0, 0.0, 0.0);
    return 0;
}
