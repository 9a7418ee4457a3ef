#pragma once
// Rigid moves of clouds: the scan transform into the survey frame, and turns about a
// vertical axis through a pivot.

#include <array>
#include <cstdio>
#include <span>

#include "run/records.h"

namespace sorvek {

// Rotation Rz * Ry * Rx (times scale) in the upper-left block, translation in column 3.
struct ScanMatrix {
    std::array<std::array<double, 4>, 4> m{};
};

// The matrix alone, without a word on the console.
ScanMatrix composeScanMatrix(double rotX, double rotY, double rotZ, double scale, double gpsX,
                             double gpsY, double gpsZ);

// The matrix, printed on standard output as every scan transform announces it.
ScanMatrix buildScanMatrix(double rotX, double rotY, double rotZ, double scale, double gpsX,
                           double gpsY, double gpsZ);

// Four lines of "%.10lf " entries, each line ended by "\n". False, with errno set, at the
// first write that fails.
bool writeMatrixRows(std::FILE* out, const ScanMatrix& matrix);

// A turn about a vertical axis, with its sine and cosine taken once. Every turned
// coordinate in the program comes from turnedX and turnedY, so that a point turned again
// from the same source with the same turn gets the same bits wherever it is computed.
struct Turn {
    double cosAngle = 1.0;
    double sinAngle = 0.0;
    double pivotX = 0.0;
    double pivotY = 0.0;
};

// `angle` in radians; positive is counter-clockwise seen from above.
Turn turnAbout(double angle, double pivotX, double pivotY);

inline double turnedX(const Turn& turn, double x, double y) {
    const double dx = x - turn.pivotX;
    const double dy = y - turn.pivotY;
    return turn.pivotX + dx * turn.cosAngle - dy * turn.sinAngle;
}

inline double turnedY(const Turn& turn, double x, double y) {
    const double dx = x - turn.pivotX;
    const double dy = y - turn.pivotY;
    return turn.pivotY + dx * turn.sinAngle + dy * turn.cosAngle;
}

void applyMatrix(std::span<PointRecord> points, const ScanMatrix& matrix);

// Turns x and y about (pivotX, pivotY); a positive angle (radians) is counter-clockwise
// seen from above. `cube` is left stale.
void rotateCloud(std::span<PointRecord> points, double angle, double pivotX, double pivotY);

// Writes the turned points into `copy`, resized to the source and keeping its capacity.
// Only x, y and z of the copy are meaningful until the cubes are assigned again.
void rotatedCopy(std::span<const PointRecord> source, double angle, double pivotX, double pivotY,
                 Cloud& copy);

}  // namespace sorvek
