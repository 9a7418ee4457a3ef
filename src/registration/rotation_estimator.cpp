#include "registration/rotation_estimator.h"

#include <cmath>
#include <vector>

#include "registration/cube_walk.h"
#include "registration/engine_scratch.h"
#include "registration/surface_geometry.h"

// The measuring walk with a rotation fit added: every accepted sample s is paired with
// its foot f on the reference surface, and the angle about a vertical axis through the
// pivot that best turns the feet onto the samples comes out in closed form.
namespace sorvek {
namespace {

// Running sums of the accepted pairs; only x and y of sample and foot enter the fit.
struct FitSums {
    double squares = 0.0;  // squared distances, for the RMS
    double Ssx = 0.0;
    double Ssy = 0.0;
    double Sfx = 0.0;
    double Sfy = 0.0;
    double Sfxsx = 0.0;
    double Sfysy = 0.0;
    double Sfxsy = 0.0;
    double Sfysx = 0.0;
    std::int32_t acceptedCount = 0;
};

// Point to point gives an RMS but no rotation: the eight fit sums stay 0.
void addToFit(const SampleOutcome& outcome, bool isPointToPoint, FitSums& sums) {
    if (isPointToPoint) {
        sums.squares += outcome.distance;
        ++sums.acceptedCount;
        return;
    }
    const double d = outcome.distance;
    const Point3& s = outcome.sample;
    const Point3& f = outcome.partner;
    sums.squares += d * d;
    sums.Ssx += s.x;
    sums.Ssy += s.y;
    sums.Sfx += f.x;
    sums.Sfy += f.y;
    sums.Sfxsx += f.x * s.x;
    sums.Sfysy += f.y * s.y;
    sums.Sfxsy += f.x * s.y;
    sums.Sfysx += f.y * s.x;
    ++sums.acceptedCount;
}

// The sums of dot and cross products of the pivot-relative pairs, expanded so that one
// pass suffices; -atan2(Y, X) turns the reference onto the subject.
double rotationFromSums(const FitSums& sums, double px, double py) {
    const double n = static_cast<double>(sums.acceptedCount);
    const double X = ((sums.Sfysy + sums.Sfxsx) - (sums.Sfy + sums.Ssy) * py) -
                     (sums.Sfx + sums.Ssx) * px + (px * px + py * py) * n;
    const double Y =
        sums.Sfysx - sums.Ssx * py - sums.Sfxsy + sums.Sfx * py + sums.Ssy * px - sums.Sfy * px;
    return -std::atan2(Y, X);
}

}  // namespace

double estimateRotation(Run& run, const WorkCloud& subject, const WorkCloud& reference,
                        double maxDistance, double minDistance, std::int32_t& acceptedCount,
                        double& rotationOut, double pivotX, double pivotY, double zMin) {
    acceptedCount = 0;
    const ErrorMetric metric = errorMetricOf(run.options);
    SampleRule rule;
    rule.isPointToPoint = metric == ErrorMetric::pointToPoint;
    rule.measuresNothing = metric == ErrorMetric::unnamed;  // only the two metrics are fitted
    rule.needsPartner = !rule.isPointToPoint;               // the foot on the plane
    rule.maxDistance = maxDistance;
    rule.minDistance = minDistance;
    WalkScratch& walk = engineScratch(run).walk;
    walkCubes(run, inGridRuns(subject), inGridRuns(reference), zMin, rule, walk);
    // Every sum is formed here, one accepted sample after the other in walk order.
    FitSums sums;
    for (const WalkPart& part : walk.parts) {
        for (const SampleOutcome& outcome : part.accepted)
            addToFit(outcome, rule.isPointToPoint, sums);
        if (part.hasTooManyPoints) stopForTooManyPoints();
    }
    acceptedCount = sums.acceptedCount;
    if (sums.acceptedCount < run.options.MINNUMPTS) return 999.0;
    rotationOut = rotationFromSums(sums, pivotX, pivotY);
    return std::sqrt(sums.squares / static_cast<double>(sums.acceptedCount));
}

}  // namespace sorvek
