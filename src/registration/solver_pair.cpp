#include "registration/solver_pair.h"

#include <cstddef>

namespace sorvek {
namespace {

bool namesARow(const Run& run, std::int32_t index) {
    return index >= 0 && static_cast<std::size_t>(index) < run.state.scans.size();
}

}  // namespace

bool pairIsPrepared(const Run& run) {
    return namesARow(run, run.pair.firstIndex) && namesARow(run, run.pair.secondIndex) &&
           !run.pair.firstCloud.empty() && !run.pair.secondCloud.empty();
}

ScanRecord& firstScanOf(Run& run) {
    return run.state.scans[static_cast<std::size_t>(run.pair.firstIndex)];
}

ScanRecord& secondScanOf(Run& run) {
    return run.state.scans[static_cast<std::size_t>(run.pair.secondIndex)];
}

bool refusePair(const Run& run, double& firstRotationDeg, double& secondRotationDeg) {
    if (pairIsPrepared(run)) return false;
    firstRotationDeg = 0.0;
    secondRotationDeg = 0.0;
    return true;
}

double storedRotation(const ScanRecord& scan) {
    if (scan.northRotation > -999.0) return scan.northRotation;
    if (scan.southRotation > -999.0) return scan.southRotation;
    return 0.0;
}

}  // namespace sorvek
