#pragma once
// Synthetic survey jobs with a known truth: a structured street or site scene, scanner
// positions along a line or scattered over a site, each scan sampled in its scanner frame,
// and the database heading carrying a seeded error against the true heading.
//
// Coordinate contract. A scan's points p are in its scanner frame: the program's scan
// transform, buildScanMatrix(rotXDeg*degToRad, rotYDeg*degToRad, headingDeg*degToRad, 1.0,
// gpsX, gpsY, gpsZ) applied to p with gpsX = x - TRANSX, gpsY = y - TRANSY and gpsZ =
// database Z + 0.29 = z, gives the true surfaces when headingDeg is the true heading.
// The database row carries heading = true heading + error (degrees), so the scan as the
// program loads it is the true scan turned by the error about the vertical through
// (gpsX, gpsY); registering it must find a rotation of minus the error. Every position
// and angle is a multiple of 1e-6, so the database text (%.6f, %.9f) reads back exactly.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "run/records.h"

namespace sorvek::synth {

struct SurveySpec {
    std::string layout = "line";      // "line" or "site"
    std::string direction = "north";  // line only: north, south, east or west in table order
    std::int32_t scans = 6;           // number of scans
    std::int64_t points = 200000;     // points per scan
    double spacing = 15.0;            // metres between neighbouring scans (line), or site grid cell
    double errorDeg = 0.5;            // largest heading error; each scan gets one within +-errorDeg
    double noise = 0.003;             // range noise along the beam, metres (standard deviation)
    std::uint64_t seed = 1;           // every random choice derives from it
    std::string name = "survey";      // database file name stem
    bool text = false;                // also write text point files (scanner frame, like .bxyz)
    std::string format = "bxyz";      // each scan's point file: bxyz, text, las or ply
    double tiltDeg = 0.0;             // largest tilt about X and Y, degrees
    double offsetX = 0.0;             // added to every survey X (large survey coordinates); TRANSX
    double offsetY = 0.0;             // added to every survey Y; TRANSY
    bool occlusion = true;            // solid objects hide what lies behind them
    double rangeLimit = 60.0;         // metres; the scanner records nothing farther away
};

// One scanner set-up: the truth, and what the database row says.
struct ScanPose {
    double x = 0.0;                // survey X of the scanner, offset included
    double y = 0.0;                // survey Y of the scanner, offset included
    double z = 0.0;                // survey Z of the scanner (database Z + 0.29)
    double rotXDeg = 0.0;          // tilt about X, degrees (true and in the database)
    double rotYDeg = 0.0;          // tilt about Y, degrees (true and in the database)
    double trueHeadingDeg = 0.0;   // true rotation about Z, degrees
    double headingErrorDeg = 0.0;  // database heading minus true heading, degrees
    std::int32_t scanId = 0;       // first id of the database row
    std::int32_t subId = 0;        // second id of the database row
    std::string name;              // name column of the database row
};

struct Scene;  // the surfaces of the survey area; built by makeScene

struct SceneHandle {
    std::shared_ptr<const Scene> scene;
};

// The scanner set-ups of the job, in table order.
std::vector<ScanPose> planScans(const SurveySpec& surveySpec);

// The scene that covers every set-up of `poses`.
SceneHandle makeScene(const SurveySpec& surveySpec, const std::vector<ScanPose>& poses);

// The points one scanner at `pose` sees, in its scanner frame (the true pose applied to
// them gives survey coordinates less the database translation). Exactly surveySpec.points of
// them unless the scene offers too little within range. Deterministic for a (surveySpec, pose)
// pair: the random stream follows from the seed and the pose's ids.
Cloud sampleScan(const SceneHandle& scene, const ScanPose& pose, const SurveySpec& surveySpec);

// The scan row as the program loads it from the database (radians, no translation
// option), but with `headingErrorDeg` in place of the pose's own error: 0 gives the true
// pose. gpsZ is the scanner's Z.
ScanRecord scanRecordOf(const ScanPose& pose, double headingErrorDeg, const std::string& fileName);

// Writes the whole job into `outDir` (created if missing): database, point files in
// surveySpec.format, text files when asked, truth CSV and option file. Returns false with
// `error` set on failure.
bool writeSurvey(const SurveySpec& surveySpec, const std::filesystem::path& outDir,
                 std::string& error);

}  // namespace sorvek::synth
