// One whole registration per solver on synthetic street pairs of 100k and 1M points per
// cloud, the second scan's heading written 0.5 degrees wrong. Each run reports its wall
// time, the estimates or measures it made and their rate, and the rotation it found
// against the truth.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "batch/batch_pair.h"
#include "bench_support.h"
#include "points/pair_preparation.h"
#include "registration/measure_calls.h"
#include "run/quiet_console.h"
#include "synth/synth.h"

namespace {

using namespace sorvek;

constexpr double headingErrorDeg = 0.5;  // written into the second scan's row

// One prepared pair, ready for any solver.
struct BenchPair {
    std::int64_t pointsPerCloud = 0;
    Run run;
    std::filesystem::path dir;  // the two .bxyz files
};

std::unique_ptr<BenchPair> makePair(std::int64_t pointsPerCloud) {
    auto pair = std::make_unique<BenchPair>();
    pair->pointsPerCloud = pointsPerCloud;
    const bench::StreetScans scans = bench::sampleStreetPair(pointsPerCloud);
    pair->dir = std::filesystem::temp_directory_path() /
                ("sorvek-solver-bench-" + std::to_string(pointsPerCloud));
    std::filesystem::create_directories(pair->dir);
    Run& run = pair->run;
    for (std::size_t k = 0; k < 2; ++k) {
        const std::string file = (pair->dir / ("scan" + std::to_string(k + 1) + ".bxyz")).string();
        const Cloud& cloud = scans.clouds[k];
        const FileHandle out = openFile(file, "wb");
        if (out) std::fwrite(cloud.data(), sizeof(PointRecord), cloud.size(), out.get());
        run.state.scans.push_back(
            synth::scanRecordOf(scans.poses[k], k == 1 ? headingErrorDeg : 0.0, file));
    }
    // The options as the menu leaves them: angles in radians.
    setSearchAnglesInRadians(run.options);
    run.state.progressScans = 2;
    run.state.percentStep = 100.0 / (run.options.MAXITER * 2.0);
    run.pair.firstIndex = 0;
    run.pair.secondIndex = 1;
    run.pair.firstPath = run.state.scans[0].fileName;
    run.pair.secondPath = run.state.scans[1].fileName;
    {
        const QuietConsole quiet;
        prepareScanPair(run);
    }
    return pair;
}

// The real measuring passes, counted.
struct CountedMeasures {
    std::int64_t measures = 0;
    std::int64_t estimates = 0;

    MeasureCalls calls() {
        const MeasureCalls real = standardMeasureCalls();
        MeasureCalls counted;
        counted.measure = [this, real](Run& run, const WorkCloud& subject,
                                       const WorkCloud& reference, double maxDistance,
                                       std::int32_t& accepted, double zMin) {
            ++measures;
            return real.measure(run, subject, reference, maxDistance, accepted, zMin);
        };
        counted.estimate = [this, real](
                               Run& run, const WorkCloud& subject, const WorkCloud& reference,
                               double maxDistance, double minDistance, std::int32_t& accepted,
                               double& rotationOut, double pivotX, double pivotY, double zMin) {
            ++estimates;
            return real.estimate(run, subject, reference, maxDistance, minDistance, accepted,
                                 rotationOut, pivotX, pivotY, zMin);
        };
        return counted;
    }
};

// The solver that a REGSOL value chooses, as a run would choose it.
double solveAs(std::int32_t regSol, Run& run, const MeasureCalls& calls, double& firstDeg,
               double& secondDeg) {
    run.options.REGSOL = regSol;
    SolverOutputs outputs;
    const double rms = solvePreparedPair(run, calls, outputs);
    firstDeg = outputs.firstRotationDeg;
    secondDeg = outputs.secondRotationDeg;
    return rms;
}

void benchSolver(benchmark::State& state, BenchPair& pair, std::int32_t regSol) {
    CountedMeasures counter;
    const MeasureCalls calls = counter.calls();
    double rms = 0.0;
    double firstDeg = 0.0;
    double secondDeg = 0.0;
    for (auto _ : state) {
        state.PauseTiming();
        // Ping Pong starts from stored rotations and stores its own: start every run clean.
        for (ScanRecord& scan : pair.run.state.scans) {
            scan.northRotation = noRotation;
            scan.southRotation = noRotation;
        }
        {
            const QuietConsole quiet;
            state.ResumeTiming();
            rms = solveAs(regSol, pair.run, calls, firstDeg, secondDeg);
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
    const double calls_made = static_cast<double>(counter.measures + counter.estimates);
    state.counters["estimates"] = static_cast<double>(counter.estimates);
    state.counters["measures"] = static_cast<double>(counter.measures);
    state.counters["calls/s"] = benchmark::Counter(calls_made, benchmark::Counter::kIsRate);
    state.counters["initialRms"] = static_cast<double>(pair.run.pair.initialRms);
    state.counters["rms"] = rms;
    state.counters["firstDeg"] = firstDeg;
    state.counters["secondDeg"] = secondDeg;
    // The truth: first minus second undoes (second error - first error).
    state.counters["errorDeg"] = (firstDeg - secondDeg) - headingErrorDeg;
}

void registerSolvers(BenchPair& pair) {
    const std::string size = "/" + std::to_string(pair.pointsPerCloud);
    const auto add = [&](const std::string& name, std::int32_t regSol) {
        benchmark::RegisterBenchmark((name + size).c_str(), benchSolver, std::ref(pair), regSol)
            ->Unit(benchmark::kSecond)
            ->Iterations(1)
            ->UseRealTime();
    };
    add("pingPong", 2);
    add("partialLeastSquares", 0);
    add("iterativeSearch", 1);
}

}  // namespace

int main(int argc, char** argv) {
    const auto removeFiles = [](const BenchPair& pair) { std::filesystem::remove_all(pair.dir); };
    return bench::runOnPairs(argc, argv, {100000, 1000000}, makePair, registerSolvers, removeFiles);
}
