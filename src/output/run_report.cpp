#include "output/run_report.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "batch/result_rows.h"
#include "batch/wall_clock.h"
#include "output/adjusted_rotations.h"
#include "output/report_content.h"
#include "output/report_page.h"
#include "output/report_text.h"
#include "output/rotation_table.h"
#include "points/point_file_kind.h"
#include "run/output_file.h"
#include "run/run_modes.h"
#include "survey/file_names.h"

// The report reads what the stages left on disk (the result files and the log) rather
// than anything they kept in memory, so that it shows the rows exactly as written.
namespace sorvek {
namespace {

bool isLineMode(RunMode mode) { return mode == 1 || mode == 3 || mode == 4; }
bool registers(RunMode mode) { return mode == 1 || mode == 4 || mode == 6; }
bool evaluates(RunMode mode) { return mode == 3 || mode == 4 || mode == 7; }

std::ifstream openText(const std::string& path) { return std::ifstream(path, std::ios::binary); }

std::string wholeText(const std::string& path) {
    std::ifstream in = openText(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<RotationEntry> registeredRotations(const std::string& regPath) {
    std::ifstream counting = openText(regPath);
    const std::int32_t entryCount = countRotationLines(counting);
    std::ifstream loading = openText(regPath);
    return rotationEntriesOf(readRegistrationPairs(loading, entryCount));
}

// The rotation stage keeps adjusted rotations only when ROTADJUST asked for them.
bool isAdjusted(const Run& run) { return !run.state.adjustedRotations.empty(); }

std::vector<ReportScan> reportScans(const Run& run, std::span<const RotationEntry> rotations) {
    std::vector<ReportScan> scans;
    for (const ScanRecord& record : run.state.scans) {
        ReportScan scan;
        scan.scanId = record.scanId;
        scan.x = record.gpsX;
        scan.y = record.gpsY;
        scan.headingRad = record.rotZ;
        scan.rotation = rotationStatsOf(rotations, record.scanId);
        // With ROTADJUST the rotation stage turned the scan by its adjusted rotation: the
        // report shows what was applied, beside the entries it came from.
        scan.rotation.meanDeg =
            adjustedRotation(run.state.adjustedRotations, record.scanId, scan.rotation.meanDeg);
        scans.push_back(scan);
    }
    return scans;
}

std::vector<ReportPair> pairsWithRows(const Run& run, const ReportContent& content,
                                      std::int32_t& unattachedRows) {
    std::span<const ScanRecord> scans = run.state.scans;
    std::vector<ReportPair> pairs =
        content.isLine ? linePairs(scans) : sitePairs(scans, run.options);
    unattachedRows = 0;
    if (content.didRegister) {
        std::ifstream in = openText(content.regPath);
        unattachedRows +=
            attachRows(pairs, scans, readResultRows(in),
                       secondIdFieldOf(ResultFileKind::registration), &ReportPair::registrationRow);
    }
    if (content.didEvaluate) {
        std::ifstream in = openText(content.rmsPath);
        unattachedRows += attachRows(pairs, scans, readResultRows(in),
                                     secondIdFieldOf(ResultFileKind::lineRms), &ReportPair::rmsRow);
    }
    return pairs;
}

// A pair the run should have written a row for, and did not: the driver logged it.
bool lacksItsRow(const ReportContent& content, const ReportPair& pair) {
    if (content.didRegister && pair.registrationRow.empty()) return true;
    return content.didEvaluate && pair.isEvaluatedPair && pair.rmsRow.empty();
}

void measurePairs(const Run& run, ReportContent& content) {
    std::vector<double> turnsDeg;
    for (const ReportScan& scan : content.scans) turnsDeg.push_back(scan.rotation.meanDeg);
    Run measuring = measuringRunOf(run);
    std::int32_t unattachedRows = 0;
    std::vector<ReportPair> pairs = pairsWithRows(run, content, unattachedRows);
    content.unattachedRows = unattachedRows;
    for (std::size_t k = 0; k < pairs.size(); ++k) {
        std::fprintf(stderr, "Report: measuring pair %zu of %zu \r", k + 1, pairs.size());
        std::fflush(stderr);
        ReportPairView view;
        view.measurement = measureReportPair(measuring, pairs[k], content.afterPlan, turnsDeg);
        view.isMissingRow = lacksItsRow(content, pairs[k]);
        view.pair = std::move(pairs[k]);
        content.pairs.push_back(std::move(view));
    }
}

FileNote noteOf(const std::string& path, const std::string& role) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    return {path, role, error ? -1 : static_cast<std::int64_t>(size)};
}

void listFiles(const Run& run, ReportContent& content) {
    const RunState& state = run.state;
    const RunMode mode = state.runMode;
    content.filesRead.push_back(noteOf(state.optionPath, "option file"));
    content.filesRead.push_back(noteOf(state.databasePath, "survey database"));
    for (const ScanRecord& scan : state.scans) {
        content.filesRead.push_back(noteOf(
            scanPointFile(scan.fileName), formatted("points of scan %i as surveyed", scan.scanId)));
        if (evaluates(mode) && content.isLine && run.options.FILEEXT == 0) {
            content.filesRead.push_back(
                noteOf(lineRmsPassFileName(0, scan.fileName),
                       formatted("rotated points of scan %i, for the RMS pass", scan.scanId)));
        }
    }
    if (registers(mode))
        content.filesWritten.push_back(noteOf(state.regPath, "registration result file"));
    if (mode == 4) {
        content.filesWritten.push_back(noteOf(state.rotPath, "rotation result file"));
        for (const ScanRecord& scan : state.scans) {
            content.filesWritten.push_back(
                noteOf(rotatedOutputFileName(scan.fileName),
                       formatted("rotated points of scan %i", scan.scanId)));
        }
    }
    if (evaluates(mode)) content.filesWritten.push_back(noteOf(state.rmsPath, "RMS result file"));
    content.filesWritten.push_back(noteOf(state.logPath, "log"));
}

std::string runTimeLine(std::time_t startTime) {
    const std::time_t now = wallClockNow();
    std::tm local{};
    char stamp[32] = "unknown time";
    if (localtime_r(&now, &local) != nullptr)
        std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);
    return formatted(
        "Run time %i seconds, from the start of the program to this report, written %s.",
        wholeSecondsBetween(startTime, now), stamp);
}

ReportContent gatherContent(const Run& run, std::time_t startTime) {
    ReportContent content;
    const RunState& state = run.state;
    content.databasePath = state.databasePath;
    content.runMode = state.runMode;
    content.isLine = isLineMode(state.runMode);
    content.didRegister = registers(state.runMode);
    content.didEvaluate = evaluates(state.runMode);
    content.isAdjusted = isAdjusted(run);
    // Turning the loaded scans costs far less than reading the rotated text files again.
    content.afterPlan = AfterPlan{content.didRegister, !content.didEvaluate, content.isLine};
    content.regPath = state.regPath;
    content.rmsPath = state.rmsPath;
    content.options = run.options;
    content.optionPath = state.optionPath;
    content.isOptionFileRead = openText(state.optionPath).is_open();
    std::vector<RotationEntry> rotations;
    if (content.didRegister) rotations = registeredRotations(state.regPath);
    content.scans = reportScans(run, rotations);
    measurePairs(run, content);
    listFiles(run, content);
    content.logText = wholeText(state.logPath);
    content.runTimeLine = runTimeLine(startTime);
    return content;
}

}  // namespace

void writeRunReport(const Run& run, std::time_t startTime) {
    const std::string& path = run.state.commandLine.reportPath;
    std::fflush(stdout);
    if (!modeWritesReport(run.state.runMode)) {
        std::fprintf(stderr, "Report: mode %i has no pairs to show, so %s was not written \n",
                     run.state.runMode, path.c_str());
        return;
    }
    const std::string page = reportPage(gatherContent(run, startTime));
    // The log is closed by now: a failure is told on the console alone.
    OutputFile file = createWholeFile(path, nullptr);
    if (!file.file) failOutput(file);
    requireWritten(std::fwrite(page.data(), 1, page.size(), file.file.get()) == page.size(), file);
    commitWholeFile(file);
    std::fprintf(stderr, "Report written to %s \n", path.c_str());
}

}  // namespace sorvek
