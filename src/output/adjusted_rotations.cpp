#include "output/adjusted_rotations.h"

// What the user sees of the adjustment: its console lines and the file at adjPath.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "run/console.h"

namespace sorvek {
namespace {

// The rejected column: why a pair gives the adjustment nothing.
constexpr int pairAccepted = 0;
constexpr int pairRejected = 1;  // set aside by the robust loop
constexpr int pairRefused = 2;   // a rotation beyond a half turn, or an unusable RMS

template <typename... Values>
void appendLine(std::string& text, const char* format, Values... values) {
    const int length = std::snprintf(nullptr, 0, format, values...);
    if (length <= 0) return;
    std::string line(static_cast<std::size_t>(length) + 1, '\0');
    std::snprintf(line.data(), line.size(), format, values...);
    line.pop_back();  // the terminator snprintf needs
    text += line;
}

void reportPair(const AdjustedPair& pair) {
    switch (pair.status) {
    case PairStatus::accepted:
        break;
    case PairStatus::refused:
        std::printf("Pair %i-%i refused: a rotation beyond 180 degrees or an unusable RMS \n", pair.firstId,
                    pair.secondId);
        break;
    case PairStatus::relativeRejected:
        std::printf("Pair %i-%i rejected: its relative heading misses the adjustment by %f degrees \n",
                    pair.firstId, pair.secondId, pair.missDeg);
        break;
    case PairStatus::firstRotationRejected:
    case PairStatus::secondRotationRejected: {
        const std::int32_t scanId =
            pair.status == PairStatus::firstRotationRejected ? pair.firstId : pair.secondId;
        std::printf("Pair %i-%i rejected: its rotation of scan %i misses the adjustment by %f degrees \n",
                    pair.firstId, pair.secondId, scanId, pair.missDeg);
        break;
    }
    }
}

void reportAdjustment(const HeadingAdjustment& adjustment) {
    // Both counts fit: the scans are the 32-bit scan table's, the pairs at most half the
    // 32-bit entry count of the registration file.
    std::printf("Adjusting rotations over %i pairs of %i scans \n", static_cast<int>(adjustment.pairs.size()),
                static_cast<int>(adjustment.scans.size()));
    if (!adjustment.isSolved) {
        std::printf("The rotations could not be adjusted, so every scan keeps the mean of its rotations \n");
    }
    for (const AdjustedPair& pair : adjustment.pairs) reportPair(pair);
    for (const AdjustedScan& scan : adjustment.scans) {
        if (scan.isReached) continue;
        std::printf("Scan %i is reached by no accepted pair and keeps the mean of its rotations \n",
                    scan.scanId);
    }
}

// A failed write ends the run: the user is told which file and why, and no part of the
// file is left under either name.
[[noreturn]] void failAdjustmentFile(const std::string& path, const std::string& partPath, int error) {
    std::printf("Unable to write %s: %s \n", path.c_str(), std::strerror(error == 0 ? EIO : error));
    std::remove(partPath.c_str());
    endRun(1);
}

// The first error of the write, the flush and the close, or 0 when all three succeed.
int writeWhole(FileHandle file, const std::string& text) {
    errno = 0;
    int error = 0;
    if (std::fwrite(text.data(), 1, text.size(), file.get()) != text.size()) error = errno == 0 ? EIO : errno;
    if (std::fflush(file.get()) != 0 && error == 0) error = errno == 0 ? EIO : errno;
    if (std::fclose(file.release()) != 0 && error == 0) error = errno == 0 ? EIO : errno;
    return error;
}

// Written under a temporary name and renamed when complete, so that a stopped run never
// leaves part of the file under its final name.
void writeAdjustmentFile(const std::string& path, const std::string& text) {
    const std::string partPath = path + ".part";
    FileHandle file = openFile(partPath, "w");
    if (!file) {
        std::printf("Unable to create %s \n", path.c_str());
        std::printf("Please verify that the path exists. \n");
        endRun(1);
    }
    const int error = writeWhole(std::move(file), text);
    if (error != 0) failAdjustmentFile(path, partPath, error);
    if (std::rename(partPath.c_str(), path.c_str()) != 0) failAdjustmentFile(path, partPath, errno);
}

}  // namespace

std::string adjustmentFileText(const HeadingAdjustment& adjustment) {
    std::string text = "ID,rotation(degrees),stddev(degrees),mean(degrees),numPairs\n";
    for (const AdjustedScan& scan : adjustment.scans) {
        if (scan.isReached) {
            appendLine(text, "%i,%f,%f,%f,%i\n", scan.scanId, scan.rotationDeg, scan.sigmaDeg, scan.meanDeg,
                       scan.pairsUsed);
        } else {
            appendLine(text, "%i,%f,,%f,0\n", scan.scanId, scan.rotationDeg, scan.meanDeg);
        }
    }
    text += "scan1,scan2,relative(degrees),residual(degrees),weight,rejected\n";
    for (const AdjustedPair& pair : adjustment.pairs) {
        const int status = pair.status == PairStatus::accepted  ? pairAccepted
                           : pair.status == PairStatus::refused ? pairRefused
                                                                : pairRejected;
        appendLine(text, "%i,%i,%f,%f,%f,%i\n", pair.firstId, pair.secondId, pair.relativeDeg, pair.residualDeg,
                   pair.weight, status);
    }
    return text;
}

std::vector<ScanRotation> adjustScanRotations(const Run& run, std::span<const RegistrationPair> pairs) {
    std::vector<std::int32_t> scanIds;
    for (const ScanRecord& scan : run.state.scans) scanIds.push_back(scan.scanId);
    const HeadingAdjustment adjustment = adjustHeadings(scanIds, pairs);
    reportAdjustment(adjustment);
    writeAdjustmentFile(run.state.adjPath, adjustmentFileText(adjustment));
    std::printf("Adjusted rotations written to %s \n", run.state.adjPath.c_str());
    std::vector<ScanRotation> rotations;
    for (const AdjustedScan& scan : adjustment.scans) rotations.push_back({scan.scanId, scan.rotationDeg});
    return rotations;
}

double adjustedRotation(std::span<const ScanRotation> rotations, std::int32_t scanId, double meanDeg) {
    for (const ScanRotation& rotation : rotations) {
        if (rotation.scanId == scanId) return rotation.rotationDeg;
    }
    return meanDeg;
}

}  // namespace sorvek
