#include "output/geo_export.h"

#include <cstdio>
#include <span>
#include <string>

#include "points/point_file_kind.h"
#include "points/point_loading.h"
#include "points/transforms.h"
#include "run/output_file.h"
#include "survey/file_names.h"

// Every scan's cloud moved into the survey frame by its own scan matrix and written as
// text. The registration results play no part, and neither does SCANTRANSFORM: an
// exported cloud is always transformed. A .bxyz file is read as it lies, with no text
// reader after an empty one; text, LAS and PLY files take the text reader's course.
namespace sorvek {
namespace {

// The header line comes even for a scan without points, so that every scan leaves a file.
void writeExportedCloud(const std::string& path, std::span<const PointRecord> points,
                        std::FILE* log) {
    OutputFile file = createWholeFile(path, log);
    if (!file.file) {
        std::printf("Unable to create %s \n", path.c_str());
        return;
    }
    std::FILE* out = file.file.get();
    requirePrinted(std::fprintf(out, "#X,Y,Z\n"), file);
    for (const PointRecord& point : points) {
        requirePrinted(std::fprintf(out, "%lf %lf %lf\n", point.x, point.y, point.z), file);
    }
    commitWholeFile(file);
}

}  // namespace

void exportScans(Run& run) {
    std::printf("Preparing data for export.... \n");
    Cloud cloud;  // one buffer for every scan, kept at the largest cloud's size
    for (const ScanRecord& scan : run.state.scans) {
        CloudBounds bounds;
        loadPointFile(run, scanPointFile(scan.fileName), scannerOf(scan), cloud, bounds, false);
        if (!cloud.empty()) {
            const ScanMatrix matrix = buildScanMatrix(scan.rotX, scan.rotY, scan.rotZ, 1.0,
                                                      scan.gpsX, scan.gpsY, scan.gpsZ);
            applyMatrix(cloud, matrix);
        }
        writeExportedCloud(exportedFileName(scan.fileName), cloud, run.state.logFile.get());
    }
}

}  // namespace sorvek
