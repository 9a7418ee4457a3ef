// Loading one scan through the point file door, file by file kind: .bxyz records, LAS in
// three layouts, binary PLY in three, and text for comparison. The scan is the first of a
// generated street pair (seed 7) in the survey frame, 1M and 3M points; every file is read
// from the page cache into a cloud that keeps its capacity, with a scanner position and
// the default filters, exactly as pair preparation loads it in mode 1.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench_support.h"
#include "points/point_loading.h"
#include "points/transforms.h"
#include "run/quiet_console.h"
#include "synth/exchange_writer.h"
#include "synth/survey_writer.h"

namespace {

using namespace sorvek;
namespace fs = std::filesystem;

struct ScanFile {
    std::string label;
    fs::path path;
};

struct ScanFiles {
    std::int64_t points = 0;
    Point3 scanner;  // the first set-up, for the range filter and Cliff Distance
    std::vector<ScanFile> files;
};

fs::path benchPath(std::int64_t points, const std::string& label) {
    return fs::temp_directory_path() / ("sorvek-bench-" + std::to_string(points) + "-" + label);
}

synth::LasLayout lasLayout(std::uint32_t minor, std::uint32_t format) {
    synth::LasLayout layout;
    layout.versionMinor = minor;
    layout.pointFormat = format;
    layout.scale = 0.0001;
    return layout;
}

synth::PlyLayout plyLayout(const char* format, bool isDouble, synth::PlyExtras extras) {
    synth::PlyLayout layout;
    layout.format = format;
    layout.isDouble = isDouble;
    layout.extras = extras;
    return layout;
}

std::unique_ptr<ScanFiles> makeFiles(std::int64_t points) {
    auto scan = std::make_unique<ScanFiles>();
    scan->points = points;
    bench::StreetScans street = bench::sampleStreetPair(points);
    const synth::ScanPose& pose = street.poses[0];
    Cloud cloud = std::move(street.clouds[0]);
    applyMatrix(cloud, composeScanMatrix(pose.rotXDeg * degToRad, pose.rotYDeg * degToRad,
                                         (pose.trueHeadingDeg + pose.headingErrorDeg) * degToRad,
                                         1.0, pose.x, pose.y, pose.z));
    scan->scanner = Point3{pose.x, pose.y, pose.z};
    const auto add = [&](const std::string& label,
                         const std::function<bool(const fs::path&)>& write) {
        const fs::path path = benchPath(points, label);
        if (write(path))
            scan->files.push_back({label, path});
        else
            std::fprintf(stderr, "could not write %s\n", path.string().c_str());
    };
    add("bxyz", [&](const fs::path& path) { return synth::writeBinaryPoints(path, cloud); });
    add("las1.2-format0",
        [&](const fs::path& path) { return synth::writeLasPoints(path, cloud, lasLayout(2, 0)); });
    add("las1.2-format3",
        [&](const fs::path& path) { return synth::writeLasPoints(path, cloud, lasLayout(2, 3)); });
    add("las1.4-format6",
        [&](const fs::path& path) { return synth::writeLasPoints(path, cloud, lasLayout(4, 6)); });
    add("ply-little-float", [&](const fs::path& path) {
        return synth::writePlyPoints(
            path, cloud, plyLayout("binary_little_endian", false, synth::PlyExtras::none));
    });
    add("ply-big-double", [&](const fs::path& path) {
        return synth::writePlyPoints(path, cloud,
                                     plyLayout("binary_big_endian", true, synth::PlyExtras::none));
    });
    add("ply-little-float-extras", [&](const fs::path& path) {
        return synth::writePlyPoints(
            path, cloud, plyLayout("binary_little_endian", false, synth::PlyExtras::properties));
    });
    if (points <= 1000000)
        add("text", [&](const fs::path& path) { return synth::writeTextPoints(path, cloud); });
    return scan;
}

void benchLoad(benchmark::State& state, const ScanFiles& scan, const ScanFile& file) {
    Run run;
    Cloud cloud;
    CloudBounds bounds;
    const QuietConsole quiet;
    loadPointFile(run, file.path.string(), scan.scanner, cloud, bounds,
                  true);  // warm pages and cache
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            loadPointFile(run, file.path.string(), scan.scanner, cloud, bounds, true));
        benchmark::DoNotOptimize(cloud.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(cloud.size()));
    state.counters["MB"] = static_cast<double>(fs::file_size(file.path)) / 1.0e6;
}

void registerLoads(ScanFiles& scan) {
    for (const ScanFile& file : scan.files) {
        const std::string name = "load/" + file.label + "/" + std::to_string(scan.points);
        benchmark::RegisterBenchmark(name.c_str(), benchLoad, std::cref(scan), std::cref(file))
            ->Unit(benchmark::kMillisecond)
            ->MinTime(0.3);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const auto removeFiles = [](const ScanFiles& scan) {
        for (const ScanFile& file : scan.files) fs::remove(file.path);
    };
    return bench::runOnPairs(argc, argv, {1000000, 3000000}, makeFiles, registerLoads, removeFiles);
}
