#include "registration/pair_rms.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "registration/cube_walk.h"
#include "registration/engine_scratch.h"
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

}  // namespace

double measurePairRms(Run& run, const WorkCloud& subject, const WorkCloud& reference,
                      double maxDistance, std::int32_t& acceptedCount, double zMin) {
    acceptedCount = 0;
    const bool isModeFive = run.state.runMode == 5;
    Diagnostics files;
    if (isModeFive) files = openDiagnostics(run.state.logFile.get());
    SampleRule rule;
    // An unnamed metric is measured point to plane.
    rule.isPointToPoint = errorMetricOf(run.options) == ErrorMetric::pointToPoint;
    rule.needsPartner = isModeFive;
    rule.maxDistance = maxDistance;
    rule.minDistance = -std::numeric_limits<double>::infinity();  // no lower limit here
    WalkScratch& walk = engineScratch(run).walk;
    walkCubes(run, inGridRuns(subject), inGridRuns(reference), zMin, rule, walk);
    // The sum is formed here, one accepted sample after the other in walk order.
    double sum = 0.0;
    std::int32_t count = 0;
    for (const WalkPart& part : walk.parts) {
        for (const SampleOutcome& outcome : part.accepted) {
            if (isModeFive)
                writeDiagnostics(files, outcome.distance, outcome.sample, outcome.partner);
            sum += rule.isPointToPoint ? outcome.distance : outcome.distance * outcome.distance;
            ++count;
        }
        if (part.hasTooManyPoints) stopForTooManyPoints();
    }
    acceptedCount = count;
    // With MINNUMPTS of 0 and nothing accepted this is 0 / 0, not a number, on purpose.
    const double rms =
        count >= run.options.MINNUMPTS ? std::sqrt(sum / static_cast<double>(count)) : 999.0;
    closeDiagnostics(files);
    return rms;
}

}  // namespace sorvek
