#include "synth/ray_hits.h"

#include <algorithm>
#include <cmath>

namespace sorvek::synth {
namespace {

// Directions closer to a slab than this are treated as parallel to it.
constexpr double parallelLimit = 1.0e-15;

// Clips [tNear, tFar] to the slab low <= origin + t*dir <= high. False when it empties.
bool clipSlab(double origin, double dir, double low, double high, double& tNear, double& tFar) {
    if (std::abs(dir) < parallelLimit) return origin >= low && origin <= high;
    double tLow = (low - origin) / dir;
    double tHigh = (high - origin) / dir;
    if (tLow > tHigh) std::swap(tLow, tHigh);
    tNear = std::max(tNear, tLow);
    tFar = std::min(tFar, tHigh);
    return tNear <= tFar;
}

double enterBox(const Solid& box, const Ray& ray) {
    const double fx = ray.originX - box.centerX;
    const double fy = ray.originY - box.centerY;
    const double localX = (fx * box.yawCos) + (fy * box.yawSin);
    const double localY = (fy * box.yawCos) - (fx * box.yawSin);
    const double dirX = (ray.dirX * box.yawCos) + (ray.dirY * box.yawSin);
    const double dirY = (ray.dirY * box.yawCos) - (ray.dirX * box.yawSin);
    double tNear = -noHit;
    double tFar = noHit;
    if (!clipSlab(localX, dirX, -box.halfLength, box.halfLength, tNear, tFar)) return noHit;
    if (!clipSlab(localY, dirY, -box.halfWidth, box.halfWidth, tNear, tFar)) return noHit;
    if (!clipSlab(ray.originZ, ray.dirZ, box.bottomZ, box.topZ, tNear, tFar)) return noHit;
    return tNear > 0.0 ? tNear : noHit;
}

// The flat top of a cylinder, met from above.
double enterCap(const Solid& cylinder, const Ray& ray) {
    if (!(ray.dirZ < 0.0) || !(ray.originZ > cylinder.topZ)) return noHit;
    const double t = (cylinder.topZ - ray.originZ) / ray.dirZ;
    const double dx = (ray.originX + (ray.dirX * t)) - cylinder.centerX;
    const double dy = (ray.originY + (ray.dirY * t)) - cylinder.centerY;
    return ((dx * dx) + (dy * dy)) <= (cylinder.radius * cylinder.radius) ? t : noHit;
}

double enterCylinder(const Solid& cylinder, const Ray& ray) {
    const double fx = ray.originX - cylinder.centerX;
    const double fy = ray.originY - cylinder.centerY;
    const double a = (ray.dirX * ray.dirX) + (ray.dirY * ray.dirY);
    const double c = ((fx * fx) + (fy * fy)) - (cylinder.radius * cylinder.radius);
    if (c < 0.0) return noHit;  // standing inside the plan circle
    if (a < parallelLimit) return enterCap(cylinder, ray);
    const double halfB = (fx * ray.dirX) + (fy * ray.dirY);
    const double discriminant = (halfB * halfB) - (a * c);
    if (discriminant < 0.0) return noHit;
    const double t = (-halfB - std::sqrt(discriminant)) / a;
    if (!(t > 0.0)) return noHit;
    const double z = ray.originZ + (ray.dirZ * t);
    if (z > cylinder.topZ) return enterCap(cylinder, ray);
    return z >= cylinder.bottomZ ? t : noHit;
}

double enterSphere(const Solid& sphere, const Ray& ray) {
    const double fx = ray.originX - sphere.centerX;
    const double fy = ray.originY - sphere.centerY;
    const double fz = ray.originZ - sphere.centerZ;
    const double c = (((fx * fx) + (fy * fy)) + (fz * fz)) - (sphere.radius * sphere.radius);
    if (c < 0.0) return noHit;
    const double halfB = ((fx * ray.dirX) + (fy * ray.dirY)) + (fz * ray.dirZ);
    const double discriminant = (halfB * halfB) - c;
    if (discriminant < 0.0) return noHit;
    const double t = -halfB - std::sqrt(discriminant);
    return t > 0.0 ? t : noHit;
}

// Height of the ray above the ground at distance t, and its rate of change.
struct Clearance {
    double height = 0.0;
    double rate = 0.0;
};

Clearance clearanceAt(const GroundModel& ground, const Ray& ray, double t) {
    const GroundSample below =
        sampleGround(ground, ray.originX + (ray.dirX * t), ray.originY + (ray.dirY * t));
    Clearance result;
    result.height = (ray.originZ + (ray.dirZ * t)) - below.z;
    result.rate = ray.dirZ - ((below.dzdx * ray.dirX) + (below.dzdy * ray.dirY));
    return result;
}

}  // namespace

double enterSolid(const Solid& solid, const Ray& ray) {
    switch (solid.kind) {
    case SolidKind::box: return enterBox(solid, ray);
    case SolidKind::cylinder: return enterCylinder(solid, ray);
    case SolidKind::sphere: return enterSphere(solid, ray);
    }
    return noHit;
}

double reachGround(const GroundModel& ground, const Ray& ray, double maxDistance) {
    const double planeHeight = ray.originZ - ((ground.baseZ + (ground.slopeX * ray.originX)) +
                                              (ground.slopeY * ray.originY));
    const double descent = ((ground.slopeX * ray.dirX) + (ground.slopeY * ray.dirY)) - ray.dirZ;
    const double bound = roughnessBound(ground);
    if (!(descent > 0.0)) return noHit;
    double low = std::max(0.0, (planeHeight - bound) / descent);
    double high = (planeHeight + bound) / descent;
    // Starting below the lowest the ground can be, the ray meets no ground ahead; the
    // bracket is then empty, which the clamp below may not be given.
    if (high < low) return noHit;
    if (low > maxDistance) return noHit;
    // The roughness bound puts a sign change inside [low, high]; Newton steps that leave
    // the shrinking bracket fall back to halving it.
    double t = std::clamp(planeHeight / descent, low, high);
    bool isOnGround = false;
    for (int step = 0; step < 80 && !isOnGround; ++step) {
        const Clearance here = clearanceAt(ground, ray, t);
        isOnGround = std::abs(here.height) < 1.0e-10;
        if (isOnGround) break;
        if (here.height > 0.0) {
            low = t;
        } else {
            high = t;
        }
        double next = t - (here.height / here.rate);
        if (!(here.rate < 0.0) || !(next > low && next < high)) next = (low + high) * 0.5;
        t = next;
    }
    // A bracket without a sign change (the scanner below ground) ends far from the ground.
    if (!isOnGround) isOnGround = std::abs(clearanceAt(ground, ray, t).height) < 1.0e-7;
    return isOnGround && t <= maxDistance ? t : noHit;
}

}  // namespace sorvek::synth
