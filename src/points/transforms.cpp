#include "points/transforms.h"

// Placeholder until the real implementation lands.
namespace sorvek {

ScanMatrix composeScanMatrix(double, double, double, double, double, double, double) { return {}; }
ScanMatrix buildScanMatrix(double, double, double, double, double, double, double) { return {}; }
void writeMatrixRows(std::FILE*, const ScanMatrix&) {}
void applyMatrix(std::span<PointRecord>, const ScanMatrix&) {}
void rotateCloud(std::span<PointRecord>, double, double, double) {}
void rotatedCopy(std::span<const PointRecord> source, double, double, double, Cloud& copy) {
    copy.assign(source.begin(), source.end());
}

}  // namespace sorvek
