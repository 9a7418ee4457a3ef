#include "survey/database_reader.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "run/console.h"
#include "survey/database_rows.h"
#include "survey/file_names.h"

// Both passes read the database as a stream of rows and refuse, with the line where the
// trouble starts, any file that cannot be read that way, so that no row is ever stored
// from a half-read value and the first pass always comes to an end.
namespace sorvek {
namespace {

constexpr const char* valueNames[] = {"X position",       "Y position",       "Z position",
                                      "rotation about X", "rotation about Y", "rotation about Z",
                                      "first id",         "second id",        "name"};

std::string describeFault(const RowRead& read) {
    const int index = std::clamp(read.faultValue, 1, 9) - 1;
    const std::string valueName = valueNames[index];
    switch (read.fault) {
    case RowFault::notANumber: return "the " + valueName + " is not a number";
    case RowFault::notAnId: return "the " + valueName + " is not a whole number within 32 bits";
    case RowFault::cutOff: return "the file ends before the row is complete";
    case RowFault::nameTooLong: return "the name is longer than 15 characters";
    case RowFault::nameEmpty: return "the name begins with a zero byte";
    case RowFault::none: break;
    }
    return "the row cannot be read";
}

[[noreturn]] void refuseRow(const std::string& path, const RowRead& read) {
    if (read.outcome == RowOutcome::end) {
        std::printf(
            "Unable to read data file %s: it ends on line %lld with fewer rows than were counted, "
            "so it changed while being read. Please try again. \n",
            path.c_str(), static_cast<long long>(read.startLine));
    } else {
        std::printf(
            "Unable to read data file %s: in the row starting on line %lld, %s. Please correct the "
            "file and try again. \n",
            path.c_str(), static_cast<long long>(read.startLine), describeFault(read).c_str());
    }
    endRun(exitFailed);
}

void echoHeader(FormatCursor& cursor, const std::string& path) {
    const ScannedText header = readDatabaseHeader(cursor);
    std::printf("%s\n", header.text.c_str());
    if (header.isTooLong) {
        std::printf(
            "Unable to read data file %s: the header on line 1 is longer than 255 characters. "
            "Please shorten it and try again. \n",
            path.c_str());
        endRun(exitFailed);
    }
}

std::string idPadding(std::int32_t zeroPad, std::int32_t id) {
    if (zeroPad != 1) return "";
    if (id < 10) return "00";  // a negative id as well: the test is on the number
    if (id < 100) return "0";
    return "";
}

void fillScanRecord(ScanRecord& scan, const DatabaseRow& row, const Run& run) {
    const std::string fileName = composeScanFileName(run.state.databaseStem, run.options.ZEROPAD,
                                                     row.scanId, row.subId, row.name);
    scan.gpsX = row.values[0] - run.options.TRANSX;
    scan.gpsY = row.values[1] - run.options.TRANSY;
    scan.gpsZ = row.values[2] + scannerHeight;
    scan.rotX = row.values[3] * degToRad;
    scan.rotY = row.values[4] * degToRad;
    scan.rotZ = row.values[5] * degToRad;
    scan.scanId = row.scanId;
    scan.subId = row.subId;
    std::printf("%i %i\n", scan.scanId, scan.subId);
    scan.fileName = fileName;
    std::printf("%s \n", scan.fileName.c_str());
    scan.northRotation = noRotation;
    scan.southRotation = noRotation;
    scan.northScan = 0;
    scan.southScan = 0;
    scan.northPoints = 0;
    scan.southPoints = 0;
}

}  // namespace

std::int32_t countScans(const std::string& path) {
    const FileHandle file = openFile(path, "r");
    if (!file) {
        std::printf("Unable to open data file at %s \n", path.c_str());
        return 0;
    }
    FormatCursor cursor{file.get()};
    echoHeader(cursor, path);
    std::int32_t count = 0;
    for (RowRead read = readDatabaseRow(cursor); read.outcome != RowOutcome::end;
         read = readDatabaseRow(cursor)) {
        if (read.outcome == RowOutcome::fault) refuseRow(path, read);
        if (count == INT32_MAX) {
            std::printf("Unable to read data file %s: it holds more than %i rows. \n", path.c_str(),
                        INT32_MAX);
            endRun(exitFailed);
        }
        ++count;
    }
    return count;
}

std::vector<ScanRecord> loadScanDatabase(const Run& run, std::int32_t scanCount) {
    const std::string& path = run.state.databasePath;
    const FileHandle file = openFile(path, "r");
    std::vector<ScanRecord> scans(static_cast<std::size_t>(std::max(scanCount, 0)));
    std::printf("Loading GPS points from file %s \n", path.c_str());
    std::printf("\n");
    std::printf("Files to be processed:  \n");
    std::printf("\n");
    if (!file) {
        std::printf("Unable to open data file at %s \n", path.c_str());
        std::printf("Please verify the location of the file and try again. \n");
        endRun(exitFailed);
    }
    FormatCursor cursor{file.get()};
    echoHeader(cursor, path);
    for (ScanRecord& scan : scans) {
        const RowRead read = readDatabaseRow(cursor);
        if (read.outcome != RowOutcome::row) refuseRow(path, read);
        const DatabaseRow& row = read.row;
        std::printf("%lf %lf %lf %lf %lf %lf %i %i %s\n", row.values[0], row.values[1],
                    row.values[2], row.values[3], row.values[4], row.values[5], row.scanId,
                    row.subId, row.name.c_str());
        fillScanRecord(scan, row, run);
    }
    return scans;
}

std::string composeScanFileName(const std::string& databaseStem, std::int32_t zeroPad,
                                std::int32_t scanId, std::int32_t subId, const std::string& name) {
    return databaseStem + "_" + idPadding(zeroPad, scanId) + std::to_string(scanId) + "_" +
           idPadding(zeroPad, subId) + std::to_string(subId) + "_" + name +
           std::string(scanFileEnding);
}

}  // namespace sorvek
