// The point file door: LAS and PLY coordinates take exactly the text reader's course, and a
// missing .bxyz file is stood in for by a .las or .ply file of the same name.
#include "points/point_loading.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "points/point_file_kind.h"
#include "support/scratch_dir.h"
#include "support/sorvek_session.h"
#include "synth/exchange_writer.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;

struct Loaded {
    Cloud cloud;
    CloudBounds bounds;
    double cliffDistance = 0.0;
    std::string out;  // standard output, the file's path written as @
};

Loaded load(const Run& run, const fs::path& path, const Point3& scan) {
    Loaded loaded;
    ::testing::internal::CaptureStdout();
    loaded.cliffDistance = loadPointFile(run, path.string(), scan, loaded.cloud, loaded.bounds, true);
    loaded.out = ::testing::internal::GetCapturedStdout();
    for (auto at = loaded.out.find(path.string()); at != std::string::npos; at = loaded.out.find(path.string())) {
        loaded.out.replace(at, path.string().size(), "@");
    }
    return loaded;
}

// Bit for bit: the stored coordinates, all seven bounds and the Cliff Distance (NaN too).
void expectSameLoad(const Loaded& got, const Loaded& want) {
    EXPECT_EQ(got.out, want.out);
    ASSERT_EQ(got.cloud.size(), want.cloud.size());
    for (std::size_t i = 0; i < got.cloud.size(); ++i) {
        EXPECT_EQ(std::memcmp(&got.cloud[i], &want.cloud[i], 24), 0) << i;
    }
    EXPECT_EQ(std::memcmp(&got.bounds, &want.bounds, sizeof got.bounds), 0);
    EXPECT_EQ(std::memcmp(&got.cliffDistance, &want.cliffDistance, sizeof(double)), 0);
}

// The coordinates as a text point file, every double in the digits that give it back.
void writeAsText(const fs::path& path, const Cloud& cloud) {
    std::string text;
    for (const PointRecord& p : cloud) {
        char line[100];
        std::snprintf(line, sizeof line, "%.17g,%.17g,%.17g\n", p.x, p.y, p.z);
        text += line;
    }
    testing::writeFile(path, text);
}

// Seven points about a scanner at survey (512010, 4200005, 52): the first lies beyond
// XMAX but still seeds the bounds, one lies on XMAX, one beyond MAXRANGE, one below the
// translation's origin, and one is not a number (PLY only; LAS stores integers).
Cloud pointsAboutAScanner(bool withNan) {
    Cloud cloud = {{512030.0, 4200000.0, 50.0, 0, 0},       {512001.2345, 4200003.5, 50.25, 0, 0},
                   {511998.75, 4199999.125, 49.5, 0, 0},     {512025.0, 4200010.0, 51.0, 0, 0},
                   {512010.0, 4200005.0, 92.0, 0, 0},        {512002.0, 4200006.5, 49.0, 0, 0}};
    if (withNan) cloud.push_back({512003.0, std::nan(""), 50.0, 0, 0});
    return cloud;
}

// In the registration phase (translated, range from the scanner), in the RMS phase (not
// translated, so that every point misses the box) and in mode 5 (no scanner); and a file
// with no points at all.
TEST(PointLoading, LasAndPlyLoadExactlyAsTheTextReaderLoadsTheSameCoordinates) {
    const testing::ScratchDir scratch("point-loading");
    const fs::path& dir = scratch.path;
    const Cloud plain = pointsAboutAScanner(true);
    Cloud quantised = pointsAboutAScanner(false);
    for (PointRecord& p : quantised) {
        p = {synth::lasQuantised(p.x, 0.001, 512000.0), synth::lasQuantised(p.y, 0.001, 4200000.0),
             synth::lasQuantised(p.z, 0.001, 0.0), 0, 0};
    }
    ASSERT_TRUE(synth::writeLasPoints(dir / "scan.las", pointsAboutAScanner(false),
                                      {.pointFormat = 1, .scale = 0.001, .offsetX = 512000.0, .offsetY = 4200000.0}));
    ASSERT_TRUE(synth::writePlyPoints(dir / "big.ply", plain, {.format = "binary_big_endian", .extras = synth::PlyExtras::lists}));
    ASSERT_TRUE(synth::writePlyPoints(dir / "text.ply", plain, {.format = "ascii", .extras = synth::PlyExtras::properties}));
    writeAsText(dir / "las.txt", quantised);
    writeAsText(dir / "ply.txt", plain);
    sorvek::Run run;
    run.options.TRANSX = 512000.0, run.options.TRANSY = 4200000.0;
    run.options.XMAX = 25.0, run.options.MAXRANGE = 30.0, run.options.ZMIN = 0.0;
    const Point3 scanner{10.0, 5.0, 52.0};
    for (const char* phase : {"registration", "rms", "mode 5"}) {
        SCOPED_TRACE(phase);
        run.state.rmsPhase = std::string(phase) == "rms";
        run.state.runMode = std::string(phase) == "mode 5" ? 5 : 1;
        const Loaded fromText = load(run, dir / "las.txt", scanner);
        expectSameLoad(load(run, dir / "scan.las", scanner), fromText);
        for (const char* ply : {"big.ply", "text.ply"}) {
            SCOPED_TRACE(ply);
            expectSameLoad(load(run, dir / ply, scanner), load(run, dir / "ply.txt", scanner));
        }
        if (run.state.runMode == 1 && !run.state.rmsPhase) {
            EXPECT_EQ(fromText.out, "Loading 6 points from file @ \nCliff Distance 3.858581 \nFinished loading 4 points\n");
        }
    }
    // A LAS file without points says so as a text file without point lines does.
    ASSERT_TRUE(synth::writeLasPoints(dir / "empty.las", {}, {}));
    testing::writeFile(dir / "empty.txt", "#X,Y,Z\n# no points at all in this file\n");
    const Loaded empty = load(sorvek::Run{}, dir / "empty.las", {});
    expectSameLoad(empty, load(sorvek::Run{}, dir / "empty.txt", {}));
    EXPECT_EQ(empty.out, "NO POINTS in file!!!!!  \nCliff Distance -nan \nFinished loading 0 points\n");
}

TEST(ScanPointFile, StandsInALasThenAPlyFileForAMissingBxyzFile) {
    const testing::ScratchDir scratch("scan-point-file");
    const fs::path& dir = scratch.path;
    struct Case { const char* name; std::vector<const char*> present; const char* used; };
    const Case cases[] = {{"a.bxyz", {"a.bxyz", "a.las"}, "a.bxyz"}, {"a.bxyz", {"a.las", "a.ply"}, "a.las"},
                          {"a.bxyz", {"a.ply"}, "a.ply"},            {"a.bxyz", {"a.LAS", "a.txt"}, "a.bxyz"},
                          {"a_rot.txt", {"a_rot.las"}, "a_rot.txt"},  {"a.bxyz.las", {"a.bxyz"}, "a.bxyz.las"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name + std::string(" among ") + std::to_string(c.present.size()));
        fs::remove_all(dir);
        fs::create_directory(dir);
        for (const char* name : c.present) testing::writeFile(dir / name, "");
        EXPECT_EQ(scanPointFile((dir / c.name).string()), (dir / c.used).string());
    }
}

}  // namespace
}  // namespace sorvek
