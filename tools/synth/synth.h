#pragma once
// Synthetic survey jobs with a known truth: a structured street or site scene, scanner
// positions along a line or scattered over a site, each scan sampled in its scanner frame,
// and the database heading carrying a seeded error against the true heading.

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
    double spacing = 15.0;            // metres between neighbouring scans (line), or site scale
    double errorDeg = 0.5;            // largest heading error; each scan gets one within +-errorDeg
    double noise = 0.003;             // range noise, metres
    std::uint64_t seed = 1;           // every random choice derives from it
    std::string name = "survey";      // database file name stem
    bool text = false;                // also write text point files
    double tiltDeg = 0.0;             // largest tilt about X and Y, degrees
    double offsetX = 0.0;             // added to every survey X (large survey coordinates)
    double offsetY = 0.0;             // added to every survey Y
    bool occlusion = true;            // solid objects hide what lies behind them
    double rangeLimit = 60.0;         // metres; the scanner records nothing farther away
};

// One scanner set-up: the truth, and what the database row says.
struct ScanPose {
    double x = 0.0;                   // survey X of the scanner, offset included
    double y = 0.0;                   // survey Y of the scanner, offset included
    double z = 0.0;                   // survey Z of the scanner (database Z + 0.29)
    double rotXDeg = 0.0;             // tilt about X, degrees (true and in the database)
    double rotYDeg = 0.0;             // tilt about Y, degrees (true and in the database)
    double trueHeadingDeg = 0.0;      // true rotation about Z, degrees
    double headingErrorDeg = 0.0;     // database heading minus true heading, degrees
    std::int32_t scanId = 0;          // first id of the database row
    std::int32_t subId = 0;           // second id of the database row
    std::string name;                 // name column of the database row
};

struct Scene;  // the surfaces of the survey area; built by makeScene

struct SceneHandle {
    std::shared_ptr<const Scene> scene;
};

// The scanner set-ups of the job, in table order.
std::vector<ScanPose> planScans(const SurveySpec& spec);

// The scene that covers every set-up of `poses`.
SceneHandle makeScene(const SurveySpec& spec, const std::vector<ScanPose>& poses);

// The points one scanner at `pose` sees, in its scanner frame (the true pose applied to
// them gives survey coordinates less the database translation). Deterministic for a
// (spec, pose) pair.
Cloud sampleScan(const SceneHandle& scene, const ScanPose& pose, const SurveySpec& spec);

// Writes the whole job into `outDir` (created if missing): database, .bxyz files, text
// files when asked, truth CSV and option file. Returns false with `error` set on failure.
bool writeSurvey(const SurveySpec& spec, const std::filesystem::path& outDir, std::string& error);

}  // namespace sorvek::synth
