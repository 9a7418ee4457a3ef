#pragma once
// A pair of one-point clouds for driving the solvers with scripted measures. Each point
// lies 10 units east of its scan's pivot when loaded, so the angle of a work cloud's
// point about that pivot is exactly how far the solver has turned the cloud.

#include <cmath>
#include <span>
#include <string>

#include <gtest/gtest.h>

#include "points/cube_grid.h"
#include "run/records.h"

namespace sorvek::probe {

// The options after the menu: ALPHA and ALPHATHRESH in radians.
inline RunOptions optionsInRadians() {
    RunOptions options;
    options.ALPHA = options.ALPHA * degToRad;
    options.ALPHATHRESH = options.ALPHATHRESH * degToRad;
    return options;
}

inline ScanRecord probeScan(double gpsX, double gpsY, std::int32_t scanId) {
    ScanRecord scan;
    scan.gpsX = gpsX;
    scan.gpsY = gpsY;
    scan.scanId = scanId;
    return scan;
}

inline Cloud pointEastOf(const ScanRecord& scan) {
    PointRecord point;
    point.x = scan.gpsX + 10.0;
    point.y = scan.gpsY;
    point.z = 1.0;
    return {point};
}

// Scans 11 and 12, initial RMS 0.5, no stored rotations, default options in radians.
inline Run probeRun() {
    Run run;
    run.options = optionsInRadians();
    run.state.scans = {probeScan(100.0, 200.0, 11), probeScan(112.0, 203.0, 12)};
    run.state.scanCount = 2;
    run.pair.firstIndex = 0;
    run.pair.secondIndex = 1;
    run.pair.firstCloud = pointEastOf(run.state.scans[0]);
    run.pair.secondCloud = pointEastOf(run.state.scans[1]);
    run.pair.firstBounds = computeBounds(run.pair.firstCloud);
    run.pair.secondBounds = computeBounds(run.pair.secondCloud);
    run.pair.overlapBounds = overlapOf(run.pair.firstBounds, run.pair.secondBounds);
    run.pair.initialRms = 0.5F;
    return run;
}

// Radians the cloud has been turned about the scan's pivot since it was loaded.
inline double turnOf(std::span<const PointRecord> cloud, const ScanRecord& scan) {
    return std::atan2(cloud[0].y - scan.gpsY, cloud[0].x - scan.gpsX);
}

// Turns read back from coordinates near 200 carry their rounding: a few 1e-15 radians.
inline constexpr double turnTolerance = 1e-13;

inline bool endsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// Runs `solve` with standard output captured and returns what it printed.
template <typename Solve>
std::string printedBy(Solve&& solve) {
    ::testing::internal::CaptureStdout();
    solve();
    return ::testing::internal::GetCapturedStdout();
}

}  // namespace sorvek::probe
