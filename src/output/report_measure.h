#pragma once
// The report's own measures of a pair: the RMS before alignment, on the scans as
// surveyed, with the settings of the RMS evaluation, the RMS after alignment where the
// run measured none, and the overlap pictures. Everything here is silent: the engine's
// lines belong to the stages.

#include <span>
#include <string>

#include "batch/result_rows.h"
#include "output/overlap_image.h"
#include "output/report_pairs.h"
#include "run/records.h"

namespace sorvek {

// How the report takes a pair after alignment.
struct AfterPlan {
    bool turnsScans = false;  // the scans as surveyed, each turned by its mean rotation, as the
                              // run registered them; else the files the run's RMS pass read
    bool measures = false;    // no RMS pass ran, so the report measures the turned scans itself
    bool isLine = true;       // the RMS pass of a line reads lineRmsPassFileName
};

struct PairMeasurement {
    bool isBeforeRead = false;     // both files of the pair could be read as surveyed
    RmsRow before;                 // both ways on the scans as surveyed, MAXDISTFINAL
    bool isAfterMeasured = false;  // `after` was measured here (AfterPlan::measures)
    RmsRow after;                  // both ways on the turned scans
    PlanWindow window;             // the plan view of both pictures, about the two scanners
    std::string beforePng;         // PNG of the overlap as surveyed; empty when none
    std::string afterPng;          // PNG of the overlap after alignment; empty when none
};

// A run of its own for the report's measures: the job's options, scans and threads,
// prepared as an evaluation prepares a pair (no initial RMS, no diagnostic files).
Run measuringRunOf(const Run& run);

// The pixels of a picture's longer side.
inline constexpr std::int32_t overlapPictureSide = 480;

// Measures and draws `pair` with `measuring`. `turnsDeg` holds each scan's mean rotation
// in degrees, in table order.
PairMeasurement measureReportPair(Run& measuring, const ReportPair& pair, const AfterPlan& plan,
                                  std::span<const double> turnsDeg);

}  // namespace sorvek
