#pragma once
// What both benchmark programs share: the street pair they time, and a main that builds
// one synthetic pair per size before it runs the benchmarks registered for them. Stage
// messages are kept out of the report with QuietConsole while a pair is prepared or timed.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <vector>

#include "synth/synth.h"

namespace sorvek::bench {

// Two neighbouring scans of a generated street, 15 m apart, the same scene in every run:
// their set-ups and their clouds in the scanner frame.
struct StreetScans {
    std::vector<synth::ScanPose> poses;
    Cloud clouds[2];
};

inline StreetScans sampleStreetPair(std::int64_t pointsPerCloud) {
    synth::SurveySpec surveySpec;
    surveySpec.scans = 2;
    surveySpec.points = pointsPerCloud;
    surveySpec.spacing = 15.0;
    surveySpec.seed = 7;
    StreetScans scans;
    scans.poses = synth::planScans(surveySpec);
    const synth::SceneHandle scene = synth::makeScene(surveySpec, scans.poses);
    for (std::size_t k = 0; k < 2; ++k)
        scans.clouds[k] = synth::sampleScan(scene, scans.poses[k], surveySpec);
    return scans;
}

// makePair(points) gives a std::unique_ptr to a pair, registerFor(pair) registers its
// benchmarks, and removeFiles(pair) deletes what the pair wrote once all have run.
template <typename MakePair, typename RegisterFor, typename RemoveFiles>
int runOnPairs(int argc, char** argv, std::initializer_list<std::int64_t> pointCounts,
               MakePair makePair, RegisterFor registerFor, RemoveFiles removeFiles) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    std::vector<decltype(makePair(std::int64_t{}))> pairs;
    for (const std::int64_t points : pointCounts) {
        std::fprintf(stderr, "generating a street pair of %lld points per cloud\n",
                     static_cast<long long>(points));
        pairs.push_back(makePair(points));
        registerFor(*pairs.back());
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    for (const auto& pair : pairs) removeFiles(*pair);
    return 0;
}

}  // namespace sorvek::bench
