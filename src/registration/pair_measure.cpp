#include "registration/pair_measure.h"

#include <cmath>
#include <cstdio>

#include "registration/cube_walk.h"
#include "registration/surface_geometry.h"
#include "run/output_file.h"

// The RMS of one cloud against the surface of another, point to point (REGMODE 0) or
// point to plane (any other REGMODE). In run mode 5 every accepted pair is also written
// to three diagnostic files in the current directory.
namespace sorvek {
namespace {

// The diagnostic files of mode 5. A file that cannot be created is reported and left out;
// one that stops taking writes ends the run. RMSdistances.txt grows from run to run, so
// all three are written in place rather than under a partial name.
struct Diagnostics {
    OutputFile subjectPoints;    // PointsScan1.txt: the accepted samples
    OutputFile referencePoints;  // PointsScan2.txt: their nearest point or foot
    OutputFile distances;        // RMSdistances.txt: grows across calls and runs
};

OutputFile createDiagnostic(const char* name, const char* mode, const char* headLine,
                            std::FILE* log) {
    OutputFile file = openInPlace(name, mode, log);
    if (!file.file) {
        std::printf("Unable to create %s \n", name);
        return file;
    }
    requirePrinted(std::fprintf(file.file.get(), "%s", headLine), file);
    return file;
}

Diagnostics openDiagnostics(std::FILE* log) {
    Diagnostics files;
    files.subjectPoints = createDiagnostic("PointsScan1.txt", "w", "#X,Y,Z\n", log);
    files.referencePoints = createDiagnostic("PointsScan2.txt", "w", "#X,Y,Z\n", log);
    files.distances =
        createDiagnostic("RMSdistances.txt", "a", "#Distances for point pairs for Scanset\n", log);
    return files;
}

void closeDiagnostics(Diagnostics& files) {
    closeInPlace(files.distances);
    closeInPlace(files.subjectPoints);
    closeInPlace(files.referencePoints);
}

void writePoint(OutputFile& file, const Point3& point) {
    if (!file.file) return;
    requirePrinted(std::fprintf(file.file.get(), "%lf,%lf,%lf\n", point.x, point.y, point.z), file);
}

// `distance` is squared in point to point and plain in point to plane, as measured.
void writeDiagnostics(Diagnostics& files, double distance, const Point3& sample,
                      const Point3& partner) {
    if (files.distances.file) {
        requirePrinted(std::fprintf(files.distances.file.get(), "%lf\n", distance),
                       files.distances);
    }
    writePoint(files.subjectPoints, sample);
    writePoint(files.referencePoints, partner);
}

// What a measure gathers over the walk.
struct MeasureSums {
    double sum = 0.0;              // accepted squared distances
    std::int32_t acceptedCount = 0;
};

void measurePointToPoint(const CubeWalk& walk, const PointRecord& sample,
                         const NearestList& nearest, double maxDistance, MeasureSums& sums,
                         Diagnostics* files) {
    if (nearest.position[0] < 0) return;  // nothing came near enough to enter the list
    const double squared = nearest.squaredDistance[0];
    if (!(maxDistance * maxDistance >= squared)) return;
    if (files != nullptr) {
        const PointRecord& partner = walk.reference[static_cast<std::size_t>(nearest.position[0])];
        writeDiagnostics(*files, squared, pointOf(sample), pointOf(partner));
    }
    sums.sum += squared;
    ++sums.acceptedCount;
}

void measurePointToPlane(const CubeWalk& walk, const PointRecord& sample,
                         const NearestList& nearest, double maxDistance, MeasureSums& sums,
                         Diagnostics* files) {
    if (nearest.position[2] < 0) return;  // the plane needs all three places
    const Plane plane = planeOfNearest(walk, nearest);
    if (isDegenerate(plane)) return;
    const Point3 samplePoint = pointOf(sample);
    const double distance = distanceToPlane(plane, samplePoint);
    if (!(maxDistance >= distance)) return;
    if (files != nullptr) {
        writeDiagnostics(*files, distance, samplePoint, planeFoot(plane, distance, samplePoint));
    }
    sums.sum += distance * distance;
    ++sums.acceptedCount;
}

MeasureSums walkAndMeasure(Run& run, std::span<const PointRecord> subject,
                           std::span<const PointRecord> reference, double maxDistance, double zMin,
                           Diagnostics* files) {
    const bool isPointToPoint = run.options.REGMODE == 0;
    MeasureSums sums;
    CubeWalk walk = startCubeWalk(run, subject, reference, zMin);
    while (nextSampledCube(walk)) {
        for (std::int32_t k = 0; k < walk.samplesPerCube; ++k) {
            const PointRecord& sample = sampleOf(walk, k);
            const NearestList nearest = nearestInCube(walk, sample);
            if (isPointToPoint) {
                measurePointToPoint(walk, sample, nearest, maxDistance, sums, files);
            } else {
                measurePointToPlane(walk, sample, nearest, maxDistance, sums, files);
            }
        }
    }
    return sums;
}

}  // namespace

double measurePairRms(Run& run, std::span<const PointRecord> subject,
                      std::span<const PointRecord> reference, double maxDistance,
                      std::int32_t& acceptedCount, double zMin) {
    acceptedCount = 0;
    const bool isModeFive = run.state.runMode == 5;
    Diagnostics files;
    if (isModeFive) files = openDiagnostics(run.state.logFile.get());
    const MeasureSums sums =
        walkAndMeasure(run, subject, reference, maxDistance, zMin, isModeFive ? &files : nullptr);
    acceptedCount = sums.acceptedCount;
    // With MINNUMPTS of 0 and nothing accepted this is 0 / 0, not a number, on purpose.
    const double rms = sums.acceptedCount >= run.options.MINNUMPTS
                           ? std::sqrt(sums.sum / static_cast<double>(sums.acceptedCount))
                           : 999.0;
    closeDiagnostics(files);
    return rms;
}

}  // namespace sorvek
