#pragma once
// The surfaces of a synthetic survey area, in the program's survey frame (survey X and Y
// less TRANSX and TRANSY): a gently sloping rough ground and solids standing on it.

#include <cstdint>
#include <vector>

#include "synth/synth.h"

namespace sorvek::synth {

// z = baseZ + slopeX*x + slopeY*y + roughness(x, y). The roughness is smooth value noise
// of two octaves, so the ground has a gradient everywhere and a bounded height.
struct GroundModel {
    double baseZ = 50.0;            // metres at x = y = 0
    double slopeX = 0.0;            // rise per metre in X
    double slopeY = 0.0;            // rise per metre in Y
    double coarseAmplitude = 0.02;  // metres, largest deviation of the coarse octave
    double coarseCell = 4.0;        // metres between lattice nodes of the coarse octave
    double fineAmplitude = 0.004;   // metres, fine octave
    double fineCell = 0.9;          // metres, fine octave
    std::uint64_t latticeSeed = 0;  // hash seed of the lattice values
};

enum class SolidKind { box, cylinder, sphere };

// One solid. A box is upright and turned about the vertical; a cylinder is vertical.
struct Solid {
    SolidKind kind = SolidKind::box;  // which of the fields below apply
    double centerX = 0.0;             // plan centre, metres
    double centerY = 0.0;             // plan centre, metres
    double centerZ = 0.0;             // sphere centre height; unused otherwise
    double halfLength = 0.0;          // box half extent along its own x axis
    double halfWidth = 0.0;           // box half extent along its own y axis
    double yawCos = 1.0;              // box axes: cosine of the turn from survey X
    double yawSin = 0.0;              // box axes: sine of the turn from survey X
    double radius = 0.0;              // cylinder and sphere
    double bottomZ = 0.0;             // box and cylinder; below the ground so no gap shows
    double topZ = 0.0;                // box and cylinder
    double planRadius = 0.0;          // radius of a plan circle about the centre holding it all
};

struct Scene {
    GroundModel ground;
    std::vector<Solid> solids;
};

double groundHeight(const GroundModel& ground, double x, double y);

// Height and its two partial derivatives at (x, y).
struct GroundSample {
    double z = 0.0;
    double dzdx = 0.0;
    double dzdy = 0.0;
};
GroundSample sampleGround(const GroundModel& ground, double x, double y);

// Largest amount the roughness can add to or take from the sloping plane.
double roughnessBound(const GroundModel& ground);

}  // namespace sorvek::synth
