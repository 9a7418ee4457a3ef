#include "output/report_measure.h"

#include <algorithm>

#include "batch/batch_pair.h"
#include "batch/rotated_file_name.h"
#include "output/png_image.h"
#include "points/pair_preparation.h"
#include "points/transforms.h"
#include "run/quiet_console.h"

// The pair goes through prepareScanPair and evaluatePreparedPair, the same gate and the
// same measure as an RMS pass, so that "before" and "after" differ only in the files.
namespace sorvek {
namespace {

constexpr std::int32_t evaluationMode = 3;  // prepares without an initial RMS or diagnostics

const ScanRecord& scanAt(const Run& run, std::int32_t index) {
    return run.state.scans[static_cast<std::size_t>(index)];
}

bool preparePair(Run& measuring, const ReportPair& pair, const std::string& firstPath,
                 const std::string& secondPath, bool rmsPhase) {
    measuring.pair.firstIndex = pair.firstIndex;
    measuring.pair.secondIndex = pair.secondIndex;
    measuring.pair.firstPath = firstPath;
    measuring.pair.secondPath = secondPath;
    measuring.state.rmsPhase = rmsPhase;
    const QuietConsole quiet;
    return prepareScanPair(measuring) != 0;
}

RmsRow evaluateQuietly(Run& measuring, double spacing) {
    const QuietConsole quiet;
    return evaluatePreparedPair(measuring, spacing);
}

// The part of the overlap around the two scanners, where both scans are dense and a
// misfit is wide enough to see: a square about the midpoint of their positions, twice
// their spacing and 10 units more on a side but from 20 to 80 units, cut to the box.
CloudBounds pictureBoxOf(const Run& measuring, const ReportPair& pair) {
    const ScanRecord& first = scanAt(measuring, pair.firstIndex);
    const ScanRecord& second = scanAt(measuring, pair.secondIndex);
    const double half = std::clamp((2.0 * pair.spacing) + 10.0, 20.0, 80.0) * 0.5;
    const double midX = (first.gpsX + second.gpsX) * 0.5;
    const double midY = (first.gpsY + second.gpsY) * 0.5;
    CloudBounds box = measuring.pair.overlapBounds;
    box.minX = std::max(box.minX, midX - half);
    box.maxX = std::min(box.maxX, midX + half);
    box.minY = std::max(box.minY, midY - half);
    box.maxY = std::min(box.maxY, midY + half);
    return box;
}

std::string pictureOf(const Run& measuring, const PlanWindow& window) {
    return encodePng(drawOverlap(measuring.pair.firstCloud, measuring.pair.secondCloud, window));
}

// As the rotation stage applies a mean: about the scan's GPS position, and not at all
// when the mean is exactly 0.0.
void turnCloud(Cloud& cloud, const ScanRecord& scan, double turnDeg) {
    if (turnDeg == 0.0) return;
    rotateCloud(cloud, turnDeg * degToRad, scan.gpsX, scan.gpsY);
}

void turnPair(Run& measuring, const ReportPair& pair, std::span<const double> turnsDeg) {
    turnCloud(measuring.pair.firstCloud, scanAt(measuring, pair.firstIndex),
              turnsDeg[static_cast<std::size_t>(pair.firstIndex)]);
    turnCloud(measuring.pair.secondCloud, scanAt(measuring, pair.secondIndex),
              turnsDeg[static_cast<std::size_t>(pair.secondIndex)]);
}

// The turned pair measured as an RMS pass measures: new bounds, box and grid first.
RmsRow measureTurnedPair(Run& measuring, const ReportPair& pair) {
    {
        const QuietConsole quiet;
        gridPairOnOverlap(measuring);
    }
    return evaluateQuietly(measuring, pair.spacing);
}

// The files of the pair as the run's RMS pass read them.
bool prepareEvaluatedFiles(Run& measuring, const ReportPair& pair, bool isLine) {
    const std::int32_t fileExt = measuring.options.FILEEXT;
    const std::string& first = scanAt(measuring, pair.firstIndex).fileName;
    const std::string& second = scanAt(measuring, pair.secondIndex).fileName;
    if (!isLine) return preparePair(measuring, pair, first, second, true);
    return preparePair(measuring, pair, lineRmsPassFileName(fileExt, first),
                       lineRmsPassFileName(fileExt, second), true);
}

}  // namespace

Run measuringRunOf(const Run& run) {
    Run measuring;
    measuring.options = run.options;
    measuring.state.scans = run.state.scans;
    measuring.state.scanCount = run.state.scanCount;
    measuring.state.runMode = evaluationMode;
    measuring.state.workers = run.state.workers;  // the same split, so the same numbers
    return measuring;
}

PairMeasurement measureReportPair(Run& measuring, const ReportPair& pair, const AfterPlan& plan,
                                  std::span<const double> turnsDeg) {
    PairMeasurement measurement;
    const std::string& first = scanAt(measuring, pair.firstIndex).fileName;
    const std::string& second = scanAt(measuring, pair.secondIndex).fileName;
    measurement.isBeforeRead = preparePair(measuring, pair, first, second, false);
    if (measurement.isBeforeRead) {
        measurement.before = evaluateQuietly(measuring, pair.spacing);
        measurement.window = planWindowOver(pictureBoxOf(measuring, pair), overlapPictureSide);
        measurement.beforePng = pictureOf(measuring, measurement.window);
    }
    if (plan.turnsScans) {
        if (!measurement.isBeforeRead) return measurement;
        turnPair(measuring, pair, turnsDeg);
        if (plan.measures) {
            measurement.after = measureTurnedPair(measuring, pair);
            measurement.isAfterMeasured = true;
        }
    } else if (prepareEvaluatedFiles(measuring, pair, plan.isLine)) {
        if (!measurement.isBeforeRead) {
            measurement.window = planWindowOver(pictureBoxOf(measuring, pair), overlapPictureSide);
        }
    } else {
        return measurement;
    }
    measurement.afterPng = pictureOf(measuring, measurement.window);
    return measurement;
}

}  // namespace sorvek
