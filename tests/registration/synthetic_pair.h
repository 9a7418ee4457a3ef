#pragma once
// Two neighbouring scans of a generated street scene, written as .bxyz files and made
// ready by prepareScanPair, with heading errors of our choosing in the scan table. A
// heading error e turns a scan's cloud by e about its own pivot, so the rotations that
// undo the errors are -e for each scan, and their difference first minus second is
// (second error - first error).

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "points/pair_preparation.h"
#include "run/records.h"
#include "support/sorvek_session.h"
#include "synth/synth.h"

namespace sorvek::synthetic {

struct PairSpec {
    std::string label;           // scratch folder name
    std::int64_t points = 60000;  // per scan
    double spacing = 15.0;        // metres between the two set-ups
    double firstErrorDeg = 0.0;   // heading error written for the first scan
    double secondErrorDeg = 0.5;  // heading error written for the second scan
    std::uint64_t seed = 3;
};

inline void writeBxyz(const std::filesystem::path& path, const Cloud& cloud) {
    const FileHandle file = openFile(path.string(), "wb");
    ASSERT_TRUE(file) << path;
    ASSERT_EQ(std::fwrite(cloud.data(), sizeof(PointRecord), cloud.size(), file.get()),
              cloud.size());
}

// Fills the scan table and the pair's paths the way a driver does and prepares the
// pair in run mode 1, with the options already in radians. The console text of the
// preparation is swallowed.
inline void prepareSyntheticPair(Run& run, const PairSpec& surveySpec) {
    synth::SurveySpec survey;
    survey.scans = 2;
    survey.points = surveySpec.points;
    survey.spacing = surveySpec.spacing;
    survey.seed = surveySpec.seed;
    const std::vector<synth::ScanPose> poses = synth::planScans(survey);
    ASSERT_EQ(poses.size(), 2U);
    const synth::SceneHandle scene = synth::makeScene(survey, poses);
    const std::filesystem::path dir = testing::makeScratchDir(surveySpec.label);
    const double errorsDeg[] = {surveySpec.firstErrorDeg, surveySpec.secondErrorDeg};
    run.state.scans.clear();
    for (std::size_t k = 0; k < 2; ++k) {
        const std::filesystem::path file = dir / ("scan" + std::to_string(k + 1) + ".bxyz");
        writeBxyz(file, synth::sampleScan(scene, poses[k], survey));
        run.state.scans.push_back(synth::scanRecordOf(poses[k], errorsDeg[k], file.string()));
    }
    run.state.scanCount = 2;
    run.state.progressScans = 2;
    run.state.runMode = 1;
    run.pair.firstIndex = 0;
    run.pair.secondIndex = 1;
    run.pair.firstPath = run.state.scans[0].fileName;
    run.pair.secondPath = run.state.scans[1].fileName;
    ::testing::internal::CaptureStdout();
    const std::int32_t prepared = prepareScanPair(run);
    ::testing::internal::GetCapturedStdout();
    ASSERT_EQ(prepared, 1);
    ASSERT_LT(run.pair.initialRms, 999.0F);
}

// Solver results in degrees, as the drivers receive them.
struct SolvedPair {
    double rms = 0.0;
    double firstRotationDeg = 0.0;
    double secondRotationDeg = 0.0;
    std::int32_t pointCount = 0;
    std::int32_t iterationCount = 0;
    std::string printed;
};

}  // namespace sorvek::synthetic
