// sampleScan: a jittered azimuth/elevation grid of rays from the scanner, sized so that
// the hits come to the requested count, thinned evenly to exactly that count.

#include "synth/scan_sampler.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "points/transforms.h"
#include "synth/random.h"
#include "synth/scan_plan.h"

namespace sorvek::synth {
namespace {

constexpr double lowestElevationDeg = -60.0;  // below this the tripod hides the ground
constexpr double highestElevationDeg = 75.0;
constexpr double elevationSpanDeg = highestElevationDeg - lowestElevationDeg;
constexpr double pilotRayCount = 20000.0;
constexpr double jitterShare = 0.35;  // of a grid step, either way
constexpr double radPerDeg = 0.017453292519943295;

// The grid is sized from doubles; a size beyond any sensible scan is refused.
std::optional<std::int64_t> gridCount(double value) {
    const double whole = std::ceil(value);
    if (!(whole >= 1.0 && whole <= 1.0e9)) return std::nullopt;
    return static_cast<std::int64_t>(whole);
}

struct Scanner {
    Ray origin;           // position in the survey frame; the direction is set per ray
    ScanMatrix rotation;  // scanner frame to survey frame, true heading; translation unused
};

struct Grid {
    std::int64_t columns = 0;  // azimuth steps over a full turn
    std::int64_t rows = 0;     // elevation steps from lowest to highest
};

// cos and sin of (angle + offset) from those of the angle, for an offset below a few
// hundredths of a radian: a short series keeps the inner loop free of library calls.
void turnBy(double cosAngle, double sinAngle, double offset, double& cosOut, double& sinOut) {
    const double square = offset * offset;
    const double cosOffset = 1.0 - ((square * 0.5) * (1.0 - (square / 12.0)));
    const double sinOffset = offset * (1.0 - ((square / 6.0) * (1.0 - (square / 20.0))));
    cosOut = (cosAngle * cosOffset) - (sinAngle * sinOffset);
    sinOut = (sinAngle * cosOffset) + (cosAngle * sinOffset);
}

struct HitSink {
    Cloud* cloud = nullptr;  // receives points when set; else hits are only counted
    std::int64_t hitCount = 0;
    double noise = 0.0;
};

void recordHit(HitSink& sink, const double (&scanDir)[3], double distance, Rng& rng) {
    ++sink.hitCount;
    if (sink.cloud == nullptr) return;
    // Range noise acts along the beam, as a time-of-flight error does.
    const double measured = distance + (sink.noise * unitNoise(rng));
    PointRecord point;
    point.x = scanDir[0] * measured;
    point.y = scanDir[1] * measured;
    point.z = scanDir[2] * measured;
    sink.cloud->push_back(point);
}

void castOne(const Scene& scene, const SolidsByAzimuth& solids, const Scanner& scanner,
             const SurveySpec& surveySpec, const double (&scanDir)[3], HitSink& sink, Rng& rng,
             std::vector<double>& distances) {
    Ray ray = scanner.origin;
    const auto& r = scanner.rotation.m;
    ray.dirX = ((r[0][0] * scanDir[0]) + (r[0][1] * scanDir[1])) + (r[0][2] * scanDir[2]);
    ray.dirY = ((r[1][0] * scanDir[0]) + (r[1][1] * scanDir[1])) + (r[1][2] * scanDir[2]);
    ray.dirZ = ((r[2][0] * scanDir[0]) + (r[2][1] * scanDir[1])) + (r[2][2] * scanDir[2]);
    if (surveySpec.occlusion) {
        const double distance = castRay(scene, solids, ray, surveySpec.rangeLimit);
        if (distance < noHit) recordHit(sink, scanDir, distance, rng);
        return;
    }
    distances.clear();
    castRayThrough(scene, solids, ray, surveySpec.rangeLimit, distances);
    for (const double distance : distances) recordHit(sink, scanDir, distance, rng);
}

// All rays of the grid, column by column; the same grid and stream give the same points.
void castGrid(const Scene& scene, const SolidsByAzimuth& solids, const Scanner& scanner,
              const SurveySpec& surveySpec, const Grid& grid, std::uint64_t stream, HitSink& sink) {
    Rng rng = makeRng(surveySpec.seed, stream);
    const double azimuthStep = (360.0 / static_cast<double>(grid.columns)) * radPerDeg;
    const double elevationStep = (elevationSpanDeg / static_cast<double>(grid.rows)) * radPerDeg;
    std::vector<double> rowCos(static_cast<std::size_t>(grid.rows));
    std::vector<double> rowSin(static_cast<std::size_t>(grid.rows));
    for (std::int64_t row = 0; row < grid.rows; ++row) {
        const double elevation =
            (lowestElevationDeg * radPerDeg) + ((static_cast<double>(row) + 0.5) * elevationStep);
        rowCos[static_cast<std::size_t>(row)] = std::cos(elevation);
        rowSin[static_cast<std::size_t>(row)] = std::sin(elevation);
    }
    std::vector<double> distances;
    for (std::int64_t column = 0; column < grid.columns; ++column) {
        const double azimuth = (static_cast<double>(column) + 0.5) * azimuthStep;
        const double columnCos = std::cos(azimuth);
        const double columnSin = std::sin(azimuth);
        for (std::int64_t row = 0; row < grid.rows; ++row) {
            double cosAz = 0.0;
            double sinAz = 0.0;
            double cosEl = 0.0;
            double sinEl = 0.0;
            turnBy(columnCos, columnSin, uniformIn(rng, -jitterShare, jitterShare) * azimuthStep,
                   cosAz, sinAz);
            turnBy(rowCos[static_cast<std::size_t>(row)], rowSin[static_cast<std::size_t>(row)],
                   uniformIn(rng, -jitterShare, jitterShare) * elevationStep, cosEl, sinEl);
            const double scanDir[3] = {cosEl * cosAz, cosEl * sinAz, sinEl};
            castOne(scene, solids, scanner, surveySpec, scanDir, sink, rng, distances);
        }
    }
}

// A grid of about `rayCount` rays with square steps in angle.
std::optional<Grid> gridFor(double rayCount) {
    const double stepDeg = std::sqrt((360.0 * elevationSpanDeg) / rayCount);
    const std::optional<std::int64_t> columns = gridCount(360.0 / stepDeg);
    const std::optional<std::int64_t> rows = gridCount(elevationSpanDeg / stepDeg);
    if (!columns || !rows || *columns * *rows > 2000000000) return std::nullopt;
    return Grid{std::max<std::int64_t>(*columns, 4), std::max<std::int64_t>(*rows, 2)};
}

// Keeps exactly `wanted` of the points, spread evenly over the order they were cast in.
void thinTo(Cloud& cloud, std::int64_t wanted) {
    const std::int64_t total = static_cast<std::int64_t>(cloud.size());
    if (total <= wanted) return;
    std::size_t kept = 0;
    for (std::int64_t index = 0; index < total; ++index) {
        if (((index + 1) * wanted) / total > (index * wanted) / total) {
            cloud[kept++] = cloud[static_cast<std::size_t>(index)];
        }
    }
    cloud.resize(kept);
}

}  // namespace

Cloud sampleScan(const SceneHandle& handle, const ScanPose& pose, const SurveySpec& surveySpec) {
    Cloud cloud;
    if (!handle.scene || surveySpec.points <= 0) return cloud;
    const Scene& scene = *handle.scene;
    Scanner scanner;
    scanner.origin.originX = pose.x - translationX(surveySpec);
    scanner.origin.originY = pose.y - translationY(surveySpec);
    scanner.origin.originZ = pose.z;
    // The program's own matrix, so that its scan transform undoes the sampling exactly.
    scanner.rotation = composeScanMatrix(pose.rotXDeg * degToRad, pose.rotYDeg * degToRad,
                                         pose.trueHeadingDeg * degToRad, 1.0, 0.0, 0.0, 0.0);
    const SolidsByAzimuth solids =
        binSolids(scene, scanner.origin.originX, scanner.origin.originY, surveySpec.rangeLimit);
    const std::uint64_t stream =
        scanStreamBase + mixBits(static_cast<std::uint64_t>(pose.scanId) * 65537ULL +
                                 static_cast<std::uint64_t>(pose.subId));
    // A coarse pilot grid tells what share of the rays meet something within range.
    HitSink pilot;
    const std::optional<Grid> pilotGrid = gridFor(pilotRayCount);
    if (!pilotGrid) return cloud;
    castGrid(scene, solids, scanner, surveySpec, *pilotGrid, stream, pilot);
    const double pilotRays = static_cast<double>(pilotGrid->columns * pilotGrid->rows);
    double hitShare = std::max(static_cast<double>(pilot.hitCount) / pilotRays, 0.002);
    const double wanted = static_cast<double>(surveySpec.points);
    for (int attempt = 0; attempt < 4; ++attempt) {
        const std::optional<Grid> grid = gridFor((wanted / hitShare) * 1.04);
        if (!grid) break;
        cloud.clear();
        cloud.reserve(static_cast<std::size_t>(surveySpec.points + (surveySpec.points / 8)));
        HitSink sink{&cloud, 0, surveySpec.noise};
        castGrid(scene, solids, scanner, surveySpec, *grid, stream, sink);
        if (sink.hitCount >= surveySpec.points) break;
        // Short of the count: widen the grid by the shortfall and cast again.
        hitShare = hitShare * (static_cast<double>(sink.hitCount) / wanted) * 0.97;
        if (!(hitShare > 1.0e-6)) break;
    }
    thinTo(cloud, surveySpec.points);
    return cloud;
}

}  // namespace sorvek::synth
