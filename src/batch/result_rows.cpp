#include "batch/result_rows.h"

#include "run/console.h"

namespace sorvek {

const char* headLineOf(ResultFileKind kind) {
    switch (kind) {
    case ResultFileKind::registration:
        return "scan1,rotation2,scan2,rotation2,rms,numpts,num_iters \n";
    case ResultFileKind::lineRms:
        return "scan1,scan2,rms12,np12,rms21,np21,rmswave,spacing,range \n";
    case ResultFileKind::siteRms:
        break;
    }
    return "scan1,scan2,rms12,np12,rms21,np21,rmswave,spacing,range,num_iters \n";
}

FileHandle createResultFile(const std::string& path, ResultFileKind kind) {
    FileHandle file = openFile(path, "w");
    if (!file) {
        std::printf("Unable to create ouput file %s \n", path.c_str());
        std::printf("Please verify that the path exists. \n");
        endRun(0);
    }
    std::fputs(headLineOf(kind), file.get());
    std::fflush(file.get());
    return file;
}

void writeRegistrationRow(std::FILE* file, const RegistrationRow& row) {
    if (static_cast<double>(row.initialRms) > row.solverRms) {
        std::fprintf(file, "%i,%lf,%i,%lf,%lf,%i,%i\n", row.firstId, row.firstRotationDeg,
                     row.secondId, row.secondRotationDeg, row.solverRms, row.pointCount,
                     row.iterationCount);
    } else {
        std::fprintf(file, "%i,0.000000,%i,0.000000,%lf,%i,%i\n", row.firstId, row.secondId,
                     static_cast<double>(row.initialRms), row.pointCount, row.iterationCount);
    }
    std::fflush(file);
}

void writeRmsRow(std::FILE* file, const RmsRow& row) {
    std::fprintf(file, "%i,%i,%lf,%i,%lf,%i,%lf,%lf,%lf\n", row.firstId, row.secondId, row.rms12,
                 row.np12, row.rms21, row.np21, row.rmswave, row.spacing, row.range);
    std::fflush(file);
}

}  // namespace sorvek
