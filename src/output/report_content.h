#pragma once
// Everything the report shows, gathered once the stages are over. The page is drawn from
// this record alone, so that the same run always gives the same page.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "output/report_measure.h"
#include "output/report_pairs.h"
#include "output/rotation_table.h"
#include "run/records.h"

namespace sorvek {

struct ReportScan {
    std::int32_t scanId = 0;  // id shown everywhere
    double x = 0.0;           // gpsX: survey X less TRANSX
    double y = 0.0;           // gpsY: survey Y less TRANSY
    double headingRad = 0.0;  // rotZ of the database row, radians
    RotationStats rotation;   // its registered rotations; count 0 when it has none
};

struct ReportPairView {
    ReportPair pair;              // the scans and the result rows as written
    PairMeasurement measurement;  // the report's own measures and pictures
    bool isMissingRow = false;    // the run wrote no row for it: its files could not be read
};

// One file the run read or wrote, as it stands when the report is written.
struct FileNote {
    std::string path;             // as the run named it
    std::string role;             // what it is to the run
    std::int64_t byteCount = -1;  // its size; -1 when it is not there
};

struct ReportContent {
    std::string databasePath;       // the survey database
    std::int32_t runMode = 0;       // the mode that ran
    bool isLine = true;             // a line job (modes 1, 3, 4) rather than a site
    bool didRegister = false;       // the run wrote a registration result file
    bool didEvaluate = false;       // the run wrote an RMS result file
    bool isAdjusted = false;        // the rotation stage applied rotations adjusted over all pairs
    AfterPlan afterPlan;            // where the pairs after alignment come from
    std::string regPath;            // the registration result file the rows come from
    std::string rmsPath;            // the RMS result file the rows come from
    std::vector<ReportScan> scans;  // table order
    std::vector<ReportPairView> pairs;  // in the order of the RMS pass, then the rest
    std::int32_t unattachedRows = 0;    // result rows that named no pair of the job
    RunOptions options;
    std::string optionPath;              // the option file
    bool isOptionFileRead = false;       // it existed; else the defaults ran
    std::vector<FileNote> filesRead;     // the run's inputs
    std::vector<FileNote> filesWritten;  // the run's outputs, the report itself last
    std::string logText;                 // the whole log file
    std::string runTimeLine;             // the one line that changes from run to run
};

// The RMS after alignment of a pair as the report shows it: the RMS row's rmswave as
// written, or the report's own measure with six decimals. nullopt when there is none.
std::optional<std::string> afterRmsText(const ReportPairView& view);

// The number behind a text of a result file; NaN when the text is none.
double rmsValueOf(const std::optional<std::string>& text);

// True for an RMS that stands for no measure: 999.0 (too few samples) or not a number.
bool isUnusableRms(double rms);

}  // namespace sorvek
