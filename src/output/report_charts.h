#pragma once
// The report's drawings, as inline SVG: the plan of the scans and their pairs, the RMS of
// each pair before and after alignment, and the rotation of each scan.

#include <string>

#include "output/report_content.h"

namespace sorvek {

// The top of the colour scale of pair RMS: half of MAXDISTFINAL. No accepted distance
// exceeds MAXDISTFINAL, so a pair that does not fit at all measures about that much or
// a little more, and a pair at the top of the scale is as bad as the limit lets it look.
double rmsScaleTop(const RunOptions& options);

// "#rrggbb" from green (0) through amber to red (`top` and above).
std::string rmsColour(double rms, double top);

// North up, equal scale on both axes: each scan with its id and an arrow along its
// heading, each pair a line in the colour of its RMS after alignment, a failed pair
// dashed grey with a cross.
std::string planViewSvg(const ReportContent& content);

// One row per pair: the RMS before and after alignment as bars, with their values.
std::string rmsChartSvg(const ReportContent& content);

// One row per scan: its mean rotation as a bar from 0, its least to greatest entry as a
// whisker.
std::string rotationChartSvg(const ReportContent& content);

}  // namespace sorvek
