#include "synth/scan_plan.h"

#include <cmath>
#include <cstdio>

#include "synth/random.h"
#include "synth/synth.h"

namespace sorvek::synth {
namespace {

// Instrument height of a tripod set-up above the ground, metres.
constexpr double lowestInstrument = 1.45;
constexpr double highestInstrument = 1.85;

struct PlanPosition {
    double x = 0.0;  // survey frame, offsets not yet added
    double y = 0.0;
};

// Along the line in table order, each step the spacing give or take 10 %, a little off
// the street's axis as a surveyor's set-ups are.
PlanPosition linePosition(const SurveySpec& surveySpec, std::int32_t index, Rng& rng) {
    const PlanDirection along = lineDirection(surveySpec);
    const double stepJitter = index == 0 ? 0.0 : uniformIn(rng, -0.1, 0.1) * surveySpec.spacing;
    const double distance = (static_cast<double>(index) * surveySpec.spacing) + stepJitter;
    const double aside = uniformIn(rng, -0.8, 0.8);
    return {(along.x * distance) - (along.y * aside), (along.y * distance) + (along.x * aside)};
}

// A square-ish grid of cells of the spacing, filled row by row, each set-up moved up to a
// fifth of the spacing from the cell's corner.
PlanPosition sitePosition(const SurveySpec& surveySpec, std::int32_t index, Rng& rng) {
    std::int32_t columns = 1;
    while (columns * columns < surveySpec.scans) ++columns;
    const double column = static_cast<double>(index % columns);
    const double row = static_cast<double>(index / columns);
    const double jitterX = uniformIn(rng, -0.2, 0.2) * surveySpec.spacing;
    const double jitterY = uniformIn(rng, -0.2, 0.2) * surveySpec.spacing;
    return {(column * surveySpec.spacing) + jitterX, (row * surveySpec.spacing) + jitterY};
}

ScanPose planOne(const SurveySpec& surveySpec, const GroundModel& ground, std::int32_t index,
                 Rng& rng) {
    const PlanPosition plan = surveySpec.layout == "site" ? sitePosition(surveySpec, index, rng)
                                                          : linePosition(surveySpec, index, rng);
    ScanPose pose;
    pose.x = quantizeMicro(plan.x + translationX(surveySpec));
    pose.y = quantizeMicro(plan.y + translationY(surveySpec));
    // The scanner stands where the program will put it: survey X less TRANSX.
    const double gpsX = pose.x - translationX(surveySpec);
    const double gpsY = pose.y - translationY(surveySpec);
    const double instrument = uniformIn(rng, lowestInstrument, highestInstrument);
    const double databaseZ =
        quantizeMicro((groundHeight(ground, gpsX, gpsY) + instrument) - scannerHeight);
    pose.z = databaseZ + scannerHeight;
    pose.trueHeadingDeg = quantizeMicro(uniformIn(rng, 0.0, 360.0));
    pose.headingErrorDeg = quantizeMicro(uniformIn(rng, -surveySpec.errorDeg, surveySpec.errorDeg));
    pose.rotXDeg = quantizeMicro(uniformIn(rng, -surveySpec.tiltDeg, surveySpec.tiltDeg));
    pose.rotYDeg = quantizeMicro(uniformIn(rng, -surveySpec.tiltDeg, surveySpec.tiltDeg));
    pose.scanId = index + 1;
    pose.subId = 1;
    char name[16];
    std::snprintf(name, sizeof name, "S%03d", static_cast<int>(index + 1));
    pose.name = name;
    return pose;
}

}  // namespace

double quantizeMicro(double value) { return std::round(value * 1.0e6) / 1.0e6; }

double databaseHeadingDeg(const ScanPose& pose) {
    return quantizeMicro(pose.trueHeadingDeg + pose.headingErrorDeg);
}

double translationX(const SurveySpec& surveySpec) { return quantizeMicro(surveySpec.offsetX); }
double translationY(const SurveySpec& surveySpec) { return quantizeMicro(surveySpec.offsetY); }

GroundModel makeGround(const SurveySpec& surveySpec) {
    Rng rng = makeRng(surveySpec.seed, groundStream);
    GroundModel ground;
    ground.baseZ = uniformIn(rng, 30.0, 80.0);
    const double grade = uniformIn(rng, 0.004, 0.02);  // 0.4 to 2 % fall
    const double bearing = uniformIn(rng, 0.0, 6.283185307179586);
    ground.slopeX = grade * std::cos(bearing);
    ground.slopeY = grade * std::sin(bearing);
    ground.latticeSeed = nextBits(rng);
    return ground;
}

PlanDirection lineDirection(const SurveySpec& surveySpec) {
    if (surveySpec.direction == "south") return {0.0, -1.0};
    if (surveySpec.direction == "east") return {1.0, 0.0};
    if (surveySpec.direction == "west") return {-1.0, 0.0};
    return {0.0, 1.0};
}

std::vector<ScanPose> planScans(const SurveySpec& surveySpec) {
    const GroundModel ground = makeGround(surveySpec);
    Rng rng = makeRng(surveySpec.seed, planStream);
    std::vector<ScanPose> poses;
    for (std::int32_t index = 0; index < surveySpec.scans; ++index) {
        poses.push_back(planOne(surveySpec, ground, index, rng));
    }
    return poses;
}

ScanRecord scanRecordOf(const ScanPose& pose, double headingErrorDeg, const std::string& fileName) {
    ScanRecord scan;
    scan.gpsX = pose.x;
    scan.gpsY = pose.y;
    scan.gpsZ = pose.z;
    scan.rotX = pose.rotXDeg * degToRad;
    scan.rotY = pose.rotYDeg * degToRad;
    scan.rotZ = (pose.trueHeadingDeg + headingErrorDeg) * degToRad;
    scan.scanId = pose.scanId;
    scan.subId = pose.subId;
    scan.fileName = fileName;
    return scan;
}

}  // namespace sorvek::synth
