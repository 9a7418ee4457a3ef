// Per-stage timings of the pair engine on realistic synthetic pairs: two neighbouring
// scans of a generated street, 100k, 1M and 3M points per cloud. Each stage reports its
// time per call and the points it handles per second.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench_support.h"
#include "output/overlap_image.h"
#include "output/png_image.h"
#include "output/report_measure.h"
#include "points/binary_reader.h"
#include "points/cube_grid.h"
#include "points/cube_sort.h"
#include "points/transforms.h"
#include "points/work_cloud.h"
#include "registration/pair_rms.h"
#include "registration/rotation_estimator.h"
#include "run/quiet_console.h"
#include "synth/synth.h"

namespace {

using namespace sorvek;

// One pair in every state the stages start from, built once before timing.
struct BenchPair {
    std::int64_t pointsPerCloud = 0;  // points in each cloud
    Run run;                          // default options: 1 m cubes, NUMPPC 10
    ScanMatrix firstMatrix;           // scanner frame to survey frame, database heading
    ScanMatrix secondMatrix;
    double pivotX = 0.0;  // the first scanner's position, for the estimator
    double pivotY = 0.0;
    Cloud firstRaw;  // scanner frame, scan order
    Cloud first;     // survey frame, scan order
    Cloud second;
    CloudBounds overlap;  // the box both clouds share
    Cloud firstSorted;    // assigned and sorted on the pair's grid
    Cloud secondSorted;
    WorkCloud firstWork;  // the sorted clouds as the walk reads them
    WorkCloud secondWork;
    std::filesystem::path bxyzPath;  // the first cloud as a .bxyz file
};

ScanMatrix databaseMatrix(const synth::ScanPose& pose) {
    return composeScanMatrix(pose.rotXDeg * degToRad, pose.rotYDeg * degToRad,
                             (pose.trueHeadingDeg + pose.headingErrorDeg) * degToRad, 1.0, pose.x,
                             pose.y, pose.z);
}

void writeBxyz(const std::filesystem::path& path, const Cloud& cloud) {
    FileHandle file = openFile(path.string(), "wb");
    if (file) std::fwrite(cloud.data(), sizeof(PointRecord), cloud.size(), file.get());
}

std::unique_ptr<BenchPair> makePair(std::int64_t pointsPerCloud) {
    auto pair = std::make_unique<BenchPair>();
    pair->pointsPerCloud = pointsPerCloud;
    bench::StreetScans scans = bench::sampleStreetPair(pointsPerCloud);
    const std::vector<synth::ScanPose>& poses = scans.poses;
    pair->firstMatrix = databaseMatrix(poses[0]);
    pair->secondMatrix = databaseMatrix(poses[1]);
    pair->pivotX = poses[0].x;
    pair->pivotY = poses[0].y;
    pair->firstRaw = std::move(scans.clouds[0]);
    pair->first = pair->firstRaw;
    pair->second = std::move(scans.clouds[1]);
    applyMatrix(pair->first, pair->firstMatrix);
    applyMatrix(pair->second, pair->secondMatrix);
    pair->overlap = overlapOf(computeBounds(pair->first), computeBounds(pair->second));
    pair->firstSorted = pair->first;
    pair->secondSorted = pair->second;
    const double zMin = pair->run.options.ZMIN;
    assignCubes(pair->run, pair->firstSorted, pair->overlap, zMin);
    assignCubes(pair->run, pair->secondSorted, pair->overlap, zMin);
    sortByCube(pair->run, pair->firstSorted);
    sortByCube(pair->run, pair->secondSorted);
    copySorted(pair->run, pair->firstSorted, pair->run.state.cubeCount, pair->firstWork);
    copySorted(pair->run, pair->secondSorted, pair->run.state.cubeCount, pair->secondWork);
    pair->bxyzPath = std::filesystem::temp_directory_path() /
                     ("sorvek-bench-" + std::to_string(pointsPerCloud) + ".bxyz");
    writeBxyz(pair->bxyzPath, pair->firstRaw);
    return pair;
}

void countPoints(benchmark::State& state, std::size_t pointsPerCall) {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pointsPerCall));
}

void benchRead(benchmark::State& state, BenchPair& pair) {
    Cloud cloud;
    {
        const QuietConsole quiet;
        readBinaryPoints(pair.bxyzPath.string(), cloud);  // the cloud's pages, touched once
        for (auto _ : state) {
            readBinaryPoints(pair.bxyzPath.string(), cloud);
            benchmark::DoNotOptimize(cloud.data());
        }
    }
    countPoints(state, cloud.size());
}

void benchTransform(benchmark::State& state, BenchPair& pair) {
    Cloud cloud = pair.firstRaw;
    for (auto _ : state) {
        // Turning the same cloud again and again only moves it further; the cost is alike.
        applyMatrix(cloud, pair.firstMatrix);
        benchmark::DoNotOptimize(cloud.data());
    }
    countPoints(state, cloud.size());
}

void benchRotatedCopy(benchmark::State& state, BenchPair& pair) {
    Cloud copy;
    rotatedCopy(pair.firstSorted, 0.001, pair.pivotX, pair.pivotY, copy);  // warm, as in a solver
    for (auto _ : state) {
        rotatedCopy(pair.firstSorted, 0.001, pair.pivotX, pair.pivotY, copy);
        benchmark::DoNotOptimize(copy.data());
    }
    countPoints(state, copy.size());
}

void benchBounds(benchmark::State& state, BenchPair& pair) {
    for (auto _ : state) benchmark::DoNotOptimize(computeBounds(pair.first));
    countPoints(state, pair.first.size());
}

void benchAssign(benchmark::State& state, BenchPair& pair) {
    Cloud cloud = pair.first;
    for (auto _ : state) {
        assignCubes(pair.run, cloud, pair.overlap, pair.run.options.ZMIN);
        benchmark::DoNotOptimize(cloud.data());
    }
    countPoints(state, cloud.size());
}

// Sorting starts from scan order every time, as it does after loading a scan.
void benchSort(benchmark::State& state, BenchPair& pair, bool alsoAssign) {
    Cloud assigned = pair.first;
    assignCubes(pair.run, assigned, pair.overlap, pair.run.options.ZMIN);
    Cloud cloud = assigned;
    for (auto _ : state) {
        state.PauseTiming();
        std::copy(assigned.begin(), assigned.end(), cloud.begin());
        state.ResumeTiming();
        if (alsoAssign) assignCubes(pair.run, cloud, pair.overlap, pair.run.options.ZMIN);
        sortByCube(pair.run, cloud);
        benchmark::DoNotOptimize(cloud.data());
    }
    countPoints(state, cloud.size());
}

// A solver's pass over the second cloud: the turn, its bounds and cubes under the last
// grid, then the turned points placed in cube order.
void benchTurnAndPlace(benchmark::State& state, BenchPair& pair, bool alsoPlace) {
    const Turn turn = turnAbout(0.001, pair.pivotX, pair.pivotY);
    const CubeGrid grid = layCubeGrid(pair.run.options, pair.overlap, pair.run.options.ZMIN);
    CubeOrderScratch scratch;
    WorkCloud cloud;
    CloudCoordinates source;
    splitCoordinates(pair.run, pair.second, source);
    turnedBounds(pair.run, source, turn, grid, scratch);
    placeTurned(pair.run, source, turn, grid, scratch, cloud);  // warm, as in a solver
    for (auto _ : state) {
        benchmark::DoNotOptimize(turnedBounds(pair.run, source, turn, grid, scratch));
        if (alsoPlace) placeTurned(pair.run, source, turn, grid, scratch, cloud);
        benchmark::DoNotOptimize(cloud.x.data());
    }
    countPoints(state, pair.second.size());
}

void benchMeasure(benchmark::State& state, BenchPair& pair) {
    std::int32_t accepted = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(measurePairRms(pair.run, pair.secondWork, pair.firstWork,
                                                pair.run.options.MAXDISTINITIAL, accepted,
                                                pair.run.options.ZMIN));
    }
    countPoints(state, pair.secondSorted.size());
    state.counters["accepted"] = accepted;
}

void benchEstimate(benchmark::State& state, BenchPair& pair) {
    std::int32_t accepted = 0;
    double rotation = 0.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(estimateRotation(
            pair.run, pair.secondWork, pair.firstWork, pair.run.options.MAXDISTINITIAL, 0.0,
            accepted, rotation, pair.pivotX, pair.pivotY, pair.run.options.ZMIN));
    }
    countPoints(state, pair.secondSorted.size());
    state.counters["accepted"] = accepted;
}

// One overlap picture of the report: both clouds drawn over the pair's common box and
// packed as a PNG.
void benchPicture(benchmark::State& state, BenchPair& pair) {
    const PlanWindow window = planWindowOver(pair.overlap, overlapPictureSide);
    std::size_t pngBytes = 0;
    for (auto _ : state) {
        const std::string png = encodePng(drawOverlap(pair.first, pair.second, window));
        pngBytes = png.size();
        benchmark::DoNotOptimize(png.data());
    }
    countPoints(state, pair.first.size() + pair.second.size());
    state.counters["pngBytes"] = static_cast<double>(pngBytes);
}

void registerStages(BenchPair& pair) {
    const std::string size = "/" + std::to_string(pair.pointsPerCloud);
    const auto add = [&](const std::string& stage, auto function) {
        benchmark::RegisterBenchmark((stage + size).c_str(), function, std::ref(pair))
            ->Unit(benchmark::kMillisecond)
            ->MinTime(0.3);
    };
    add("read", benchRead);
    add("transform", benchTransform);
    add("rotatedCopy", benchRotatedCopy);
    add("bounds", benchBounds);
    add("assign", benchAssign);
    add("sort", [](benchmark::State& state, BenchPair& p) { benchSort(state, p, false); });
    add("assign+sort", [](benchmark::State& state, BenchPair& p) { benchSort(state, p, true); });
    add("turnedBounds",
        [](benchmark::State& state, BenchPair& p) { benchTurnAndPlace(state, p, false); });
    add("turnedBounds+place",
        [](benchmark::State& state, BenchPair& p) { benchTurnAndPlace(state, p, true); });
    add("measure", benchMeasure);
    add("estimate", benchEstimate);
    add("picture", benchPicture);
}

}  // namespace

int main(int argc, char** argv) {
    const auto removeFiles = [](const BenchPair& pair) { std::filesystem::remove(pair.bxyzPath); };
    return bench::runOnPairs(argc, argv, {100000, 1000000, 3000000}, makePair, registerStages,
                             removeFiles);
}
