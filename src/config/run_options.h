#pragma once
// The tuning of one run: one field per option-file key, under the key's own name, and
// the two search angles in the radians the solvers work in.

#include <cstdint>

namespace sorvek {

// The short pi is deliberate: every stored angle of a survey was converted with it.
inline constexpr double degToRad = 3.14159265 / 180.0;  // 0.017453292500000002

struct RunOptions {
    double GPSMINDIST = 0.0;         // least plan distance of a pair, survey units
    double GPSMAXDIST = 200.0;       // greatest plan distance of a pair, survey units
    std::int32_t DATADIR = 0;        // 0: line runs north-south; other: east-west
    double TRANSX = 0.0;             // subtracted from survey and point X
    double TRANSY = 0.0;             // subtracted from survey and point Y
    std::int32_t SCANTRANSFORM = 0;  // 0: pair preparation moves clouds by the scan matrix
    std::int32_t ZEROPAD = 1;        // exactly 1: ids below 100 padded to three digits
    std::int32_t FILEEXT = 0;        // 0: RMS stage reads the rotated text files
    std::int32_t APPLYFILTER = 0;    // not 0: the rotation stage filters its output
    double MINRANGE = 0.0;           // least range of a point from its scanner
    double MAXRANGE = 999999999.0;   // greatest range of a point from its scanner
    double XMIN = -10000000000.0;    // box filter, inclusive
    double XMAX = 10000000000.0;
    double YMIN = -10000000000.0;
    double YMAX = 10000000000.0;
    double ZMIN = -10000000000.0;  // also limits the cube grid and the sampled points
    double ZMAX = 10000000000.0;
    double dCX = 1.0;                // cube edge in X, survey units
    double dCY = 1.0;                // cube edge in Y
    double dCZ = 1.0;                // cube edge in Z
    std::int32_t NUMPPC = 10;        // samples per cube, and least points a cube must hold
    std::int32_t MINNUMPTS = 1000;   // least accepted samples behind a valid RMS
    double MINDISTINITIAL = 0.0;     // lower pair-distance limit, first cycle or iteration
    double MINDISTFINAL = 0.0;       // lower pair-distance limit, last cycle or iteration
    double MAXDISTINITIAL = 0.5;     // upper limit, first cycle; also the initial RMS limit
    double MAXDISTFINAL = 0.1;       // upper limit, last cycle; also the evaluation limit
    std::int32_t REGMODE = 1;        // 0 point to point, 1 point to plane
    std::int32_t REGSOL = 0;         // 0 partial least squares, 1 iterative search, else ping pong
    std::int32_t MAXREPEAT = 3;      // repeat cycles
    std::int32_t MAXITER = 5;        // iterations per cycle
    double ALPHATHRESH = 0.0000175;  // degrees: a solver stops on steps below it
    double RMSTHRESH = 0.04;         // RMS below which a solver stops
    double ALPHA = 2.0;              // greatest search angle, degrees
    std::int32_t ALPHAINC = 5;       // parts into which the search angle is divided
    std::int32_t ROTADJUST = 0;      // not 0: the rotation stage applies adjusted rotations
    double alphaRad = 0.0;           // ALPHA in radians, set once the menu is past
    double alphaThreshRad = 0.0;     // ALPHATHRESH in radians, set with alphaRad
};

// The solvers' angles from the option file's degrees, by the one product each that the
// numbers of every run depend on.
inline void setSearchAnglesInRadians(RunOptions& options) {
    options.alphaRad = options.ALPHA * degToRad;
    options.alphaThreshRad = options.ALPHATHRESH * degToRad;
}

// REGMODE read as an error metric: 0 point to point, 1 point to plane, any other value
// neither. The RMS measure takes such a value as point to plane, the estimator fits
// nothing with it, and the summary names no metric for it.
enum class ErrorMetric { pointToPoint, pointToPlane, unnamed };

inline ErrorMetric errorMetricOf(const RunOptions& options) {
    if (options.REGMODE == 0) return ErrorMetric::pointToPoint;
    if (options.REGMODE == 1) return ErrorMetric::pointToPlane;
    return ErrorMetric::unnamed;
}

// REGSOL read as a solver: 0 partial least squares, 1 iterative search, any other value
// Ping Pong.
enum class SolverChoice { partialLeastSquares, iterativeSearch, pingPong };

inline SolverChoice solverChoiceOf(const RunOptions& options) {
    if (options.REGSOL == 0) return SolverChoice::partialLeastSquares;
    if (options.REGSOL == 1) return SolverChoice::iterativeSearch;
    return SolverChoice::pingPong;
}

}  // namespace sorvek
