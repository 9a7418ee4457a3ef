#include "output/adjusted_rotations.h"

// What the user sees of the adjustment: its console lines and the file at adjPath.

#include <cstdio>

#include "output/report_text.h"
#include "run/console.h"
#include "run/output_file.h"

namespace sorvek {
namespace {

// The rejected column: why a pair gives the adjustment nothing.
constexpr int pairAccepted = 0;
constexpr int pairRejected = 1;  // set aside by the robust loop
constexpr int pairRefused = 2;   // a rotation beyond a half turn, or an unusable RMS

void reportPair(const AdjustedPair& pair) {
    switch (pair.status) {
    case PairStatus::accepted: break;
    case PairStatus::refused:
        std::printf("Pair %i-%i refused: a rotation beyond 180 degrees or an unusable RMS \n",
                    pair.firstId, pair.secondId);
        break;
    case PairStatus::relativeRejected:
        std::printf(
            "Pair %i-%i rejected: its relative heading misses the adjustment by %f degrees \n",
            pair.firstId, pair.secondId, pair.missDeg);
        break;
    case PairStatus::firstRotationRejected:
    case PairStatus::secondRotationRejected: {
        const std::int32_t scanId =
            pair.status == PairStatus::firstRotationRejected ? pair.firstId : pair.secondId;
        std::printf(
            "Pair %i-%i rejected: its rotation of scan %i misses the adjustment by %f degrees \n",
            pair.firstId, pair.secondId, scanId, pair.missDeg);
        break;
    }
    }
}

void reportAdjustment(const HeadingAdjustment& adjustment) {
    // Both counts fit: the scans are the 32-bit scan table's, the pairs at most half the
    // 32-bit entry count of the registration file.
    std::printf("Adjusting rotations over %i pairs of %i scans \n",
                static_cast<int>(adjustment.pairs.size()),
                static_cast<int>(adjustment.scans.size()));
    if (!adjustment.isSolved) {
        std::printf(
            "The rotations could not be adjusted, so every scan keeps the mean of its rotations "
            "\n");
    }
    for (const AdjustedPair& pair : adjustment.pairs) reportPair(pair);
    for (const AdjustedScan& scan : adjustment.scans) {
        if (scan.isReached) continue;
        std::printf("Scan %i is reached by no accepted pair and keeps the mean of its rotations \n",
                    scan.scanId);
    }
}

// Written whole, under its partial name until complete; a write that fails ends the run.
void writeAdjustmentFile(const Run& run, const std::string& text) {
    const std::string& path = run.state.adjPath;
    OutputFile output = createWholeFile(path, run.state.logFile.get());
    if (!output.file) {
        endRunOnUncreatableFile(path);
    }
    requireWritten(std::fwrite(text.data(), 1, text.size(), output.file.get()) == text.size(),
                   output);
    commitWholeFile(output);
}

}  // namespace

std::string adjustmentFileText(const HeadingAdjustment& adjustment) {
    std::string text = "ID,rotation(degrees),stddev(degrees),mean(degrees),numPairs\n";
    for (const AdjustedScan& scan : adjustment.scans) {
        if (scan.isReached) {
            text += formatted("%i,%f,%f,%f,%i\n", scan.scanId, scan.rotationDeg, scan.sigmaDeg,
                              scan.meanDeg, scan.pairsUsed);
        } else {
            text += formatted("%i,%f,,%f,0\n", scan.scanId, scan.rotationDeg, scan.meanDeg);
        }
    }
    text += "scan1,scan2,relative(degrees),residual(degrees),weight,rejected\n";
    for (const AdjustedPair& pair : adjustment.pairs) {
        const int status = pair.status == PairStatus::accepted  ? pairAccepted
                           : pair.status == PairStatus::refused ? pairRefused
                                                                : pairRejected;
        text += formatted("%i,%i,%f,%f,%f,%i\n", pair.firstId, pair.secondId, pair.relativeDeg,
                          pair.residualDeg, pair.weight, status);
    }
    return text;
}

std::vector<ScanRotation> adjustScanRotations(const Run& run,
                                              std::span<const RegistrationPair> pairs) {
    std::vector<std::int32_t> scanIds;
    for (const ScanRecord& scan : run.state.scans) scanIds.push_back(scan.scanId);
    const HeadingAdjustment adjustment = adjustHeadings(scanIds, pairs);
    reportAdjustment(adjustment);
    writeAdjustmentFile(run, adjustmentFileText(adjustment));
    std::printf("Adjusted rotations written to %s \n", run.state.adjPath.c_str());
    std::vector<ScanRotation> rotations;
    for (const AdjustedScan& scan : adjustment.scans)
        rotations.push_back({scan.scanId, scan.rotationDeg});
    return rotations;
}

double adjustedRotation(std::span<const ScanRotation> rotations, std::int32_t scanId,
                        double meanDeg) {
    for (const ScanRotation& rotation : rotations) {
        if (rotation.scanId == scanId) return rotation.rotationDeg;
    }
    return meanDeg;
}

}  // namespace sorvek
