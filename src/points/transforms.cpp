#include "points/transforms.h"

#include <cmath>

// Scan transforms and vertical-axis turns. Every sum is written in the order its result
// depends on; the trigonometric functions stay outside the per-point loops.
namespace sorvek {

ScanMatrix composeScanMatrix(double rotX, double rotY, double rotZ, double scale, double gpsX,
                             double gpsY, double gpsZ) {
    const double cx = std::cos(rotX);
    const double sx = std::sin(rotX);
    const double cy = std::cos(rotY);
    const double sy = std::sin(rotY);
    const double cz = std::cos(rotZ);
    const double sz = std::sin(rotZ);
    const double s = scale;
    ScanMatrix matrix;
    auto& m = matrix.m;
    m[0] = {s * cz * cy, s * (sy * sx * cz - sz * cx), s * (sy * cx * cz + sz * sx), gpsX};
    m[1] = {s * sz * cy, s * (sy * sx * sz + cz * cx), s * (sy * cx * sz - sx * cz), gpsY};
    // With rotY exactly 0 this entry is a negative zero, and the printed matrix shows it.
    m[2] = {-s * sy, s * sx * cy, s * cy * cx, gpsZ};
    m[3] = {0.0, 0.0, 0.0, 1.0};
    return matrix;
}

bool writeMatrixRows(std::FILE* out, const ScanMatrix& matrix) {
    for (const auto& row : matrix.m) {
        for (const double entry : row) {
            if (std::fprintf(out, "%.10lf ", entry) < 0) return false;
        }
        if (std::fprintf(out, "\n") < 0) return false;
    }
    return true;
}

ScanMatrix buildScanMatrix(double rotX, double rotY, double rotZ, double scale, double gpsX,
                           double gpsY, double gpsZ) {
    const ScanMatrix matrix = composeScanMatrix(rotX, rotY, rotZ, scale, gpsX, gpsY, gpsZ);
    std::printf("\nRotation Matrix Calculated for scan: \n\n");
    (void)writeMatrixRows(stdout, matrix);
    return matrix;
}

void applyMatrix(std::span<PointRecord> points, const ScanMatrix& matrix) {
    const auto& m = matrix.m;
    for (PointRecord& point : points) {
        const double x = point.x;
        const double y = point.y;
        const double z = point.z;
        point.x = m[0][0] * x + m[0][1] * y + m[0][2] * z + m[0][3];
        point.y = m[1][0] * x + m[1][1] * y + m[1][2] * z + m[1][3];
        point.z = m[2][0] * x + m[2][1] * y + m[2][2] * z + m[2][3];
    }
}

Turn turnAbout(double angle, double pivotX, double pivotY) {
    return {std::cos(angle), std::sin(angle), pivotX, pivotY};
}

void rotateCloud(std::span<PointRecord> points, double angle, double pivotX, double pivotY) {
    const Turn turn = turnAbout(angle, pivotX, pivotY);
    for (PointRecord& point : points) {
        const double x = point.x;
        const double y = point.y;
        point.x = turnedX(turn, x, y);
        point.y = turnedY(turn, x, y);
    }
}

void rotatedCopy(std::span<const PointRecord> source, double angle, double pivotX, double pivotY,
                 Cloud& copy) {
    copy.resize(source.size());
    const Turn turn = turnAbout(angle, pivotX, pivotY);
    for (std::size_t i = 0; i < source.size(); ++i) {
        copy[i].x = turnedX(turn, source[i].x, source[i].y);
        copy[i].y = turnedY(turn, source[i].x, source[i].y);
        copy[i].z = source[i].z;
    }
}

}  // namespace sorvek
