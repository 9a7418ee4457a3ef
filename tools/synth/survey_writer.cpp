#include "synth/survey_writer.h"

#include <algorithm>
#include <system_error>

#include "points/transforms.h"
#include "survey/database_reader.h"
#include "survey/file_names.h"
#include "synth/command_line.h"
#include "synth/exchange_writer.h"
#include "synth/scan_plan.h"

namespace sorvek::synth {
namespace {

// Closes the file and reports whether every write on it went through.
bool finish(FileHandle& file) {
    const bool isWritten = std::ferror(file.get()) == 0;
    return (std::fclose(file.release()) == 0) && isWritten;
}

double gpsMaxDistance(const SurveySpec& surveySpec) {
    return surveySpec.spacing * 1.5;  // the nearest set-up on each side, never the one beyond it
}

// Text scans keep the composed .bxyz name, which the program reads by its content.
const char* pointFileEnding(const std::string& format) {
    if (format == "las") return ".las";
    if (format == "ply") return ".ply";
    return ".bxyz";
}

// The scan as scanner software exports it: in the survey frame, offset included, placed
// by the database row's own position and heading, heading error and all.
Cloud surveyFrameCloud(const Cloud& cloud, const ScanPose& pose) {
    Cloud moved = cloud;
    const ScanMatrix matrix =
        composeScanMatrix(pose.rotXDeg * degToRad, pose.rotYDeg * degToRad,
                          databaseHeadingDeg(pose) * degToRad, 1.0, pose.x, pose.y, pose.z);
    applyMatrix(moved, matrix);
    return moved;
}

bool writeScanPoints(const std::filesystem::path& path, const Cloud& cloud, const ScanPose& pose,
                     const SurveySpec& surveySpec) {
    if (surveySpec.format == "bxyz") return writeBinaryPoints(path, cloud);
    const Cloud moved = surveyFrameCloud(cloud, pose);
    if (surveySpec.format == "text") return writeTextPoints(path, moved);
    if (surveySpec.format == "ply") return writePlyPoints(path, moved, PlyLayout{});
    LasLayout layout;
    layout.offsetX = translationX(surveySpec);
    layout.offsetY = translationY(surveySpec);
    return writeLasPoints(path, moved, layout);
}

}  // namespace

std::string scanFileName(const std::string& stem, std::int32_t scanId, std::int32_t subId,
                         const std::string& name, const char* extension) {
    const std::string fileName = composeScanFileName(stem, 1, scanId, subId, name);
    return withEnding(fileName, scanFileEnding.size(), extension);
}

bool writeDatabase(const std::filesystem::path& path, const std::vector<ScanPose>& poses) {
    FileHandle file = openFile(path.string(), "w");
    if (!file) return false;
    std::fprintf(file.get(), "X,Y,Z,rotX,rotY,rotZ,id,subid,name\n");
    for (const ScanPose& pose : poses) {
        // Every value is a multiple of 1e-6, so these decimals carry it exactly.
        std::fprintf(file.get(), "%.6f,%.6f,%.6f,%.9f,%.9f,%.9f,%d,%d,%s\n", pose.x, pose.y,
                     pose.z - scannerHeight, pose.rotXDeg, pose.rotYDeg, databaseHeadingDeg(pose),
                     static_cast<int>(pose.scanId), static_cast<int>(pose.subId),
                     pose.name.c_str());
    }
    return finish(file);
}

bool writeBinaryPoints(const std::filesystem::path& path, const Cloud& cloud) {
    FileHandle file = openFile(path.string(), "wb");
    if (!file) return false;
    const std::size_t written =
        std::fwrite(cloud.data(), sizeof(PointRecord), cloud.size(), file.get());
    return finish(file) && written == cloud.size();
}

bool writeTextPoints(const std::filesystem::path& path, const Cloud& cloud) {
    FileHandle file = openFile(path.string(), "w");
    if (!file) return false;
    std::fprintf(file.get(), "#X,Y,Z\n");
    for (const PointRecord& point : cloud) {
        std::fprintf(file.get(), "%.6f,%.6f,%.6f\n", point.x, point.y, point.z);
    }
    return finish(file);
}

bool writeTruth(const std::filesystem::path& path, const std::vector<ScanPose>& poses) {
    FileHandle file = openFile(path.string(), "w");
    if (!file) return false;
    std::fprintf(file.get(),
                 "scanId,subId,name,trueHeadingDeg,headingErrorDeg,databaseHeadingDeg,"
                 "x,y,z,rotXDeg,rotYDeg\n");
    for (const ScanPose& pose : poses) {
        std::fprintf(file.get(), "%d,%d,%s,%.9f,%.9f,%.9f,%.6f,%.6f,%.6f,%.9f,%.9f\n",
                     static_cast<int>(pose.scanId), static_cast<int>(pose.subId), pose.name.c_str(),
                     pose.trueHeadingDeg, pose.headingErrorDeg, databaseHeadingDeg(pose), pose.x,
                     pose.y, pose.z, pose.rotXDeg, pose.rotYDeg);
    }
    return finish(file);
}

bool writeOptionFile(const std::filesystem::path& path, const SurveySpec& surveySpec) {
    FileHandle file = openFile(path.string(), "w");
    if (!file) return false;
    const bool isEastWest = surveySpec.layout == "line" &&
                            (surveySpec.direction == "east" || surveySpec.direction == "west");
    // Neighbours may differ by twice the largest error, so the search must reach that far.
    const double searchDeg = std::max(2.0, 2.5 * surveySpec.errorDeg);
    std::fprintf(file.get(), "# Options for the synthetic %s survey '%s': %d scans, %g m apart,\n",
                 surveySpec.layout.c_str(), surveySpec.name.c_str(),
                 static_cast<int>(surveySpec.scans), surveySpec.spacing);
    std::fprintf(file.get(),
                 "# heading errors within +-%g degrees, seed %llu. Put it beside the program.\n",
                 surveySpec.errorDeg, static_cast<unsigned long long>(surveySpec.seed));
    std::fprintf(file.get(), "GPSMINDIST 0.0\nGPSMAXDIST %.6f\nDATADIR %d\n",
                 gpsMaxDistance(surveySpec), isEastWest ? 1 : 0);
    std::fprintf(file.get(), "TRANSX %.6f\nTRANSY %.6f\nZEROPAD 1\n", translationX(surveySpec),
                 translationY(surveySpec));
    // No MINRANGE or MAXRANGE: the text reader measures range from the set-up to points it
    // takes to be in the survey frame, which the scanner-frame text files are not.
    std::fprintf(file.get(), "ALPHA %.6f\n", searchDeg);
    if (surveySpec.format != "bxyz") {
        std::fprintf(file.get(),
                     "# The point files lie in the survey frame already.\nSCANTRANSFORM 1\n");
    }
    return finish(file);
}

bool writeSurvey(const SurveySpec& surveySpec, const std::filesystem::path& outDir,
                 std::string& error) {
    return writeSurvey(surveySpec, outDir, error, nullptr);
}

bool writeSurvey(const SurveySpec& surveySpec, const std::filesystem::path& outDir,
                 std::string& error, std::FILE* progress) {
    error = checkSpec(surveySpec);
    if (!error.empty()) return false;
    std::error_code code;
    std::filesystem::create_directories(outDir, code);
    if (code) {
        error = "cannot create folder " + outDir.string() + ": " + code.message();
        return false;
    }
    const std::vector<ScanPose> poses = planScans(surveySpec);
    const SceneHandle scene = makeScene(surveySpec, poses);
    const auto fail = [&](const std::filesystem::path& path) {
        error = "cannot write " + path.string();
        return false;
    };
    if (!writeDatabase(outDir / (surveySpec.name + ".txt"), poses))
        return fail(outDir / (surveySpec.name + ".txt"));
    for (const ScanPose& pose : poses) {
        const Cloud cloud = sampleScan(scene, pose, surveySpec);
        const auto pointPath = outDir / scanFileName(surveySpec.name, pose.scanId, pose.subId,
                                                     pose.name, pointFileEnding(surveySpec.format));
        if (!writeScanPoints(pointPath, cloud, pose, surveySpec)) return fail(pointPath);
        const auto textPath =
            outDir / scanFileName(surveySpec.name, pose.scanId, pose.subId, pose.name, ".txt");
        if (surveySpec.text && !writeTextPoints(textPath, cloud)) return fail(textPath);
        if (progress != nullptr) {
            std::fprintf(progress, "scan %d: %zu points, %s\n", static_cast<int>(pose.scanId),
                         cloud.size(), pointPath.string().c_str());
            std::fflush(progress);
        }
    }
    if (!writeTruth(outDir / (surveySpec.name + "_truth.csv"), poses))
        return fail(outDir / (surveySpec.name + "_truth.csv"));
    if (!writeOptionFile(outDir / "sorvek.txt", surveySpec)) return fail(outDir / "sorvek.txt");
    return true;
}

}  // namespace sorvek::synth
