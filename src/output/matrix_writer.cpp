#include "output/matrix_writer.h"

#include <cstdio>

#include "points/transforms.h"
#include "run/int32_arithmetic.h"
#include "run/output_file.h"
#include "survey/file_names.h"

// The matrix files are written from the survey database alone: the angles and positions
// of the scan table, not registration results, so that another program can move each
// raw scan into the survey frame the same way the export does.
namespace sorvek {

void writeTransformMatrices(Run& run) {
    std::printf("Writing Transform Matricies for %i scans....\n",
                countAsInt32(run.state.scans.size()));
    for (const ScanRecord& scan : run.state.scans) {
        const std::string path = matrixFileName(scan.fileName);
        const ScanMatrix matrix = composeScanMatrix(scan.rotX, scan.rotY, scan.rotZ, 1.0, scan.gpsX,
                                                    scan.gpsY, scan.gpsZ);
        OutputFile file = createWholeFile(path, run.state.logFile.get());
        if (!file.file) {
            std::printf("Unable to create %s \n", path.c_str());
            continue;
        }
        requireWritten(writeMatrixRows(file.file.get(), matrix), file);
        commitWholeFile(file);
    }
}

}  // namespace sorvek
