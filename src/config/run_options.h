#pragma once
// The tuning of one run: one field per option-file key, under the key's own name.

#include <cstdint>

namespace sorvek {

struct RunOptions {
    double GPSMINDIST = 0.0;             // least plan distance of a pair, survey units
    double GPSMAXDIST = 200.0;           // greatest plan distance of a pair, survey units
    std::int32_t DATADIR = 0;            // 0: line runs north-south; other: east-west
    double TRANSX = 0.0;                 // subtracted from survey and point X
    double TRANSY = 0.0;                 // subtracted from survey and point Y
    std::int32_t SCANTRANSFORM = 0;      // 0: pair preparation moves clouds by the scan matrix
    std::int32_t ZEROPAD = 1;            // exactly 1: ids below 100 padded to three digits
    std::int32_t FILEEXT = 0;            // 0: RMS stage reads the rotated text files
    std::int32_t APPLYFILTER = 0;        // not 0: the rotation stage filters its output
    double MINRANGE = 0.0;               // least range of a point from its scanner
    double MAXRANGE = 999999999.0;       // greatest range of a point from its scanner
    double XMIN = -10000000000.0;        // box filter, inclusive
    double XMAX = 10000000000.0;
    double YMIN = -10000000000.0;
    double YMAX = 10000000000.0;
    double ZMIN = -10000000000.0;        // also limits the cube grid and the sampled points
    double ZMAX = 10000000000.0;
    double dCX = 1.0;                    // cube edge in X, survey units
    double dCY = 1.0;                    // cube edge in Y
    double dCZ = 1.0;                    // cube edge in Z
    std::int32_t NUMPPC = 10;            // samples per cube, and least points a cube must hold
    std::int32_t MINNUMPTS = 1000;       // least accepted samples behind a valid RMS
    double MINDISTINITIAL = 0.0;         // lower pair-distance limit, first cycle or iteration
    double MINDISTFINAL = 0.0;           // lower pair-distance limit, last cycle or iteration
    double MAXDISTINITIAL = 0.5;         // upper limit, first cycle; also the initial RMS limit
    double MAXDISTFINAL = 0.1;           // upper limit, last cycle; also the evaluation limit
    std::int32_t REGMODE = 1;            // 0 point to point, 1 point to plane
    std::int32_t REGSOL = 0;             // 0 partial least squares, 1 iterative search, else ping pong
    std::int32_t MAXREPEAT = 3;          // repeat cycles
    std::int32_t MAXITER = 5;            // iterations per cycle
    double ALPHATHRESH = 0.0000175;      // degrees in the file; radians once the menu is past
    double RMSTHRESH = 0.04;             // RMS below which a solver stops
    double ALPHA = 2.0;                  // greatest search angle; degrees, then radians after the menu
    std::int32_t ALPHAINC = 5;           // parts into which the search angle is divided
    std::int32_t ROTADJUST = 0;          // not 0: the rotation stage applies adjusted rotations
};

}  // namespace sorvek
