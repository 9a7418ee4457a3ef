#include "batch/result_rows.h"

#include <charconv>

#include "run/console.h"

namespace sorvek {

const char* headLineOf(ResultFileKind kind) {
    switch (kind) {
    case ResultFileKind::registration:
        return "scan1,rotation2,scan2,rotation2,rms,numpts,num_iters \n";
    case ResultFileKind::lineRms:
        return "scan1,scan2,rms12,np12,rms21,np21,rmswave,spacing,range \n";
    case ResultFileKind::siteRms: break;
    }
    return "scan1,scan2,rms12,np12,rms21,np21,rmswave,spacing,range,num_iters \n";
}

std::size_t secondIdFieldOf(ResultFileKind kind) {
    return kind == ResultFileKind::registration ? 2 : 1;
}

std::optional<std::int32_t> parseRowId(std::string_view field) {
    std::int32_t id = 0;
    const char* const end = field.data() + field.size();
    const auto [stop, error] = std::from_chars(field.data(), end, id);
    if (error != std::errc() || stop != end) return std::nullopt;
    return id;
}

void endRunWithoutResultFile(const std::string& path) {
    std::printf("Unable to create ouput file %s \n", path.c_str());
    std::printf("Please verify that the path exists. \n");
    endRun(exitStageStopped);
}

OutputFile createResultFile(const std::string& path, ResultFileKind kind, std::FILE* log) {
    OutputFile file = openInPlace(path, "w", log);
    if (!file.file) endRunWithoutResultFile(path);
    requirePrinted(std::fprintf(file.file.get(), "%s", headLineOf(kind)), file);
    flushRow(file);
    return file;
}

void writeRegistrationRow(OutputFile& file, const RegistrationRow& row) {
    int printedCount = 0;
    if (static_cast<double>(row.initialRms) > row.solverRms) {
        printedCount = std::fprintf(file.file.get(), "%i,%lf,%i,%lf,%lf,%i,%i\n", row.firstId,
                                    row.firstRotationDeg, row.secondId, row.secondRotationDeg,
                                    row.solverRms, row.pointCount, row.iterationCount);
    } else {
        printedCount = std::fprintf(file.file.get(), "%i,0.000000,%i,0.000000,%lf,%i,%i\n",
                                    row.firstId, row.secondId, static_cast<double>(row.initialRms),
                                    row.pointCount, row.iterationCount);
    }
    requirePrinted(printedCount, file);
    flushRow(file);
}

void writeRmsRow(OutputFile& file, const RmsRow& row) {
    requirePrinted(std::fprintf(file.file.get(), "%i,%i,%lf,%i,%lf,%i,%lf,%lf,%lf\n", row.firstId,
                                row.secondId, row.rms12, row.np12, row.rms21, row.np21, row.rmswave,
                                row.spacing, row.range),
                   file);
    flushRow(file);
}

}  // namespace sorvek
