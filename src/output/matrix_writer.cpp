#include "output/matrix_writer.h"

#include <cstdio>

#include "points/transforms.h"
#include "run/output_file.h"

// The matrix files are written from the survey database alone: the angles and positions
// of the scan table, not registration results, so that another program can move each
// raw scan into the survey frame the same way the export does.
namespace sorvek {
namespace {

// The point file's ".bxyz" becomes "s.dat" in the name held in memory, which keeps its
// length; the point file on disk is untouched. A name too short for that, which the
// database reader never composes, is replaced whole.
void renameToMatrixFile(std::string& fileName) {
    constexpr std::size_t replaced = 5;
    const std::size_t kept = fileName.size() >= replaced ? fileName.size() - replaced : 0;
    fileName.replace(kept, std::string::npos, "s.dat");
}

}  // namespace

void writeTransformMatrices(Run& run) {
    std::printf("Writing Transform Matricies for %i scans....\n", run.state.scanCount);
    for (ScanRecord& scan : run.state.scans) {
        renameToMatrixFile(scan.fileName);
        const ScanMatrix matrix = composeScanMatrix(scan.rotX, scan.rotY, scan.rotZ, 1.0,
                                                    scan.gpsX, scan.gpsY, scan.gpsZ);
        OutputFile file = createWholeFile(scan.fileName, run.state.logFile.get());
        if (!file.file) {
            std::printf("Unable to create %s \n", scan.fileName.c_str());
            continue;
        }
        requireWritten(writeMatrixRows(file.file.get(), matrix), file);
        commitWholeFile(file);
    }
}

}  // namespace sorvek
