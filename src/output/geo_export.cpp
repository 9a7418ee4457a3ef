#include "output/geo_export.h"

#include <cstdio>
#include <span>
#include <string>

#include "points/point_file_kind.h"
#include "points/point_loading.h"
#include "points/transforms.h"
#include "run/output_file.h"

// Every scan's cloud moved into the survey frame by its own scan matrix and written as
// text. The registration results play no part, and neither does SCANTRANSFORM: an
// exported cloud is always transformed. A .bxyz file is read as it lies, with no text
// reader after an empty one; text, LAS and PLY files take the text reader's course.
namespace sorvek {
namespace {

// "name.bxyz" becomes "name._adj.txt": four characters go, so the dot of ".bxyz" stays.
std::string exportedFileName(const std::string& fileName) {
    constexpr std::size_t cut = 4;
    const std::size_t kept = fileName.size() >= cut ? fileName.size() - cut : 0;
    return fileName.substr(0, kept) + "_adj.txt";
}

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
    if (run.state.scanCount < 1) return;
    PairState& pair = run.pair;
    for (const ScanRecord& scan : run.state.scans) {
        pair.firstPath = exportedFileName(scan.fileName);
        CloudBounds bounds;
        const Point3 scanner{scan.gpsX, scan.gpsY, scan.gpsZ};
        loadPointFile(run, scanPointFile(scan.fileName), scanner, pair.firstCloud, bounds, false);
        if (!pair.firstCloud.empty()) {
            const ScanMatrix matrix = buildScanMatrix(scan.rotX, scan.rotY, scan.rotZ, 1.0,
                                                      scan.gpsX, scan.gpsY, scan.gpsZ);
            applyMatrix(pair.firstCloud, matrix);
        }
        writeExportedCloud(pair.firstPath, pair.firstCloud, run.state.logFile.get());
    }
}

}  // namespace sorvek
