#include "output/scan_rotation.h"

// The stage streams points and never builds a cloud from a text file: it holds one line
// at a time, and of a LAS or PLY file one chunk of points. A .bxyz scan is loaded whole
// and written back as a drop-in text replacement in the frame of its own file, so that an
// RMS pass that applies the scan transform as pair preparation always does sees the
// rotated scan.

#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "batch/wall_clock.h"
#include "output/adjusted_rotations.h"
#include "output/rotation_table.h"
#include "points/binary_reader.h"
#include "points/exchange_points.h"
#include "points/point_file_kind.h"
#include "points/point_filter.h"
#include "points/text_reader.h"
#include "points/transforms.h"
#include "run/console.h"
#include "run/int32_arithmetic.h"
#include "run/output_file.h"
#include "survey/file_names.h"

namespace sorvek {
namespace {

constexpr std::size_t linePieceLimit = 255;  // characters one read of a line takes at most

// The scan's rotation and the turn it gives; a rotation of exactly 0.0 turns nothing.
struct ScanTurn {
    bool hasRotation = false;
    double rotationDeg = 0.0;        // the mean of the scan's rotations, or their adjustment
    std::int32_t rotationCount = 0;  // how many rotations the mean was taken over
    double rotationSpreadDeg = 0.0;  // their spread
    double cosTheta = 1.0;
    double sinTheta = 0.0;
};

// The stage's output for the scan in hand.
struct ScanOutput {
    OutputFile* rotFile = nullptr;      // the rotation result file
    std::string path;                   // the rotated point file's final name
    OutputFile pointFile;               // the rotated point file
    std::int32_t pointsWritten = 0;     // NumpointsED
    std::optional<PointFilter> filter;  // with APPLYFILTER on, what a written point passes
};

// One read of a line as a 256-byte buffer takes it: up to and including the line end, or
// 255 characters of a longer line, whose rest comes as the next piece. False at the end.
bool readLinePiece(std::FILE* file, std::string& piece) {
    piece.clear();
    while (piece.size() < linePieceLimit) {
        const int c = std::fgetc(file);
        if (c == EOF) break;
        piece.push_back(static_cast<char>(c));
        if (c == '\n') break;
    }
    return !piece.empty();
}

// The text of a comment line without its line end, CR LF included.
std::string commentText(std::string piece) {
    if (!piece.empty() && piece.back() == '\n') piece.pop_back();
    if (!piece.empty() && piece.back() == '\r') piece.pop_back();
    return piece;
}

template <typename Number>
bool extract(std::istream& in, Number& field) {
    Number value{};
    if (!(in >> value)) return false;
    field = value;
    return true;
}

// The loading's box and range, applied to the points as they will be written. The range is
// always taken from the scanner here, whatever the run mode; ZMIN is the lower Z limit.
PointFilter outputFilterOf(const Run& run, const ScanRecord& scan) {
    PointFilter filter = pointFilterFor(run, run.options.ZMIN, scannerOf(scan));
    filter.hasScanner = true;
    return filter;
}

// The turn about the scanner's vertical axis, from the offsets of a point to it.
void turnAboutScanner(const ScanTurn& turn, const ScanRecord& scan, double dx, double dy, double& x,
                      double& y) {
    x = ((dx * turn.cosTheta) - (dy * turn.sinTheta)) + scan.gpsX;
    y = ((dy * turn.cosTheta) + (dx * turn.sinTheta)) + scan.gpsY;
}

// Takes the scan's mean, or its adjusted rotation when the run adjusts over all pairs (the
// list is empty otherwise), and announces it. Count and spread are the entries' either way.
ScanTurn chooseTurn(const Run& run, std::span<const RotationEntry> table, const ScanRecord& scan,
                    std::int32_t pointCount) {
    ScanTurn turn;
    const double meanDeg =
        averageRotation(table, scan.scanId, turn.rotationCount, turn.rotationSpreadDeg);
    turn.rotationDeg = adjustedRotation(run.state.adjustedRotations, scan.scanId, meanDeg);
    if (turn.rotationDeg == 0.0) {
        std::printf("No rotation values found !=0 for %i so %i points will not be rotated.  \n",
                    scan.scanId, pointCount);
        return turn;
    }
    std::printf("Rotating %i Points in %i by %f degrees \n", pointCount, scan.scanId,
                turn.rotationDeg);
    const double thetaRad = turn.rotationDeg * degToRad;
    turn.hasRotation = true;
    turn.cosTheta = std::cos(thetaRad);
    turn.sinTheta = std::sin(thetaRad);
    return turn;
}

// The scan's row goes out whole once its rotated file stands complete under its final
// name, so that a run that fails in between leaves neither half a row nor a row that
// promises a file that is not there.
void writeRotationRow(OutputFile& rotFile, const ScanRecord& scan, const ScanTurn& turn,
                      std::int32_t pointCount, std::int32_t pointsWritten) {
    std::FILE* file = rotFile.file.get();
    requirePrinted(turn.hasRotation
                       ? std::fprintf(file, "%i,%f,%i,%f", scan.scanId, turn.rotationDeg,
                                      turn.rotationCount, turn.rotationSpreadDeg)
                       : std::fprintf(file, "%i,0.000000,0,0.0", scan.scanId),
                   rotFile);
    requirePrinted(std::fprintf(file, ",%i,%i \n", pointCount, pointsWritten), rotFile);
    flushRow(rotFile);
}

// The point file takes its final name, then the scan's row and the closing lines follow.
void finishScan(ScanOutput& output, const ScanRecord& scan, const ScanTurn& turn,
                std::int32_t pointCount) {
    commitWholeFile(output.pointFile);
    writeRotationRow(*output.rotFile, scan, turn, pointCount, output.pointsWritten);
    std::printf("Output of %i points \n", output.pointsWritten);
    std::printf("\n");
}

// Comment and data lines of a text point file, each read as the stage reads it.
struct LineCounts {
    std::int32_t commentLines = 0;
    std::int32_t dataLines = 0;
};

LineCounts countTextLines(const std::string& path) {
    LineCounts counts;
    FileHandle in = openFile(path, "r");
    if (!in) {
        std::printf("UNABLE TO OPEN FILE %s \n", path.c_str());
        return counts;
    }
    std::string piece;
    while (readLinePiece(in.get(), piece)) {
        // Counts stop at the largest 32-bit number rather than wrap.
        saturatingIncrement(isCommentLine(piece) ? counts.commentLines : counts.dataLines);
    }
    return counts;
}

void writeTextPoint(const RunOptions& options, const ScanRecord& scan, const ScanTurn& turn,
                    const TextPointLine& point, ScanOutput& output) {
    double x = 0.0;
    double y = 0.0;
    if (turn.hasRotation) {
        const double dx = point.x - (options.TRANSX + scan.gpsX);
        const double dy = point.y - (options.TRANSY + scan.gpsY);
        turnAboutScanner(turn, scan, dx, dy, x, y);
    } else {
        x = point.x - options.TRANSX;
        y = point.y - options.TRANSY;
    }
    const double z = point.z;
    if (output.filter && !passesBoxAndRange(*output.filter, x, y, z)) return;
    requirePrinted(
        std::fprintf(output.pointFile.file.get(), "%lf %lf %lf %i %i %i %i \n", x, y, z,
                     point.carried1, point.carried2, point.carried3, cutTowardZero(point.carried4)),
        output.pointFile);
    ++output.pointsWritten;
}

void announceFiles(const std::string& inputPath, const ScanOutput& output) {
    std::printf("Loading data from file %s \n", inputPath.c_str());
    std::printf("Output to file: %s \n", output.path.c_str());
}

// An input that could not be read: two log lines, its output file left empty and its scan
// without a row.
void giveUpUnreadableInput(const Run& run, const std::string& path, ScanOutput& output) {
    if (std::FILE* log = run.state.logFile.get()) {
        const bool isWritten =
            std::fprintf(log, "Unable to open files: %s .", path.c_str()) >= 0 &&
            std::fprintf(log, "Please check your input file for an error here. \n") >= 0 &&
            std::fflush(log) == 0;
        requireLogWritten(isWritten, run.state);
    }
    commitWholeFile(output.pointFile);
}

// A text scan, from its first pass on. Comment lines are kept where they stand; a data
// line without three numbers writes nothing but still counts in Numpoints.
void rotateTextScan(const Run& run, const ScanRecord& scan, const std::string& path,
                    std::span<const RotationEntry> table, ScanOutput& output) {
    const LineCounts counts = countTextLines(path);
    FileHandle in = openFile(path, "r");
    if (!in) {
        std::printf("Unable to open data file at %s \n", path.c_str());
        giveUpUnreadableInput(run, path, output);
        return;
    }
    announceFiles(path, output);
    const ScanTurn turn = chooseTurn(run, table, scan, counts.dataLines);
    std::string piece;
    while (readLinePiece(in.get(), piece)) {
        if (isCommentLine(piece)) {
            requirePrinted(
                std::fprintf(output.pointFile.file.get(), "%s \n", commentText(piece).c_str()),
                output.pointFile);
            continue;
        }
        const TextPointLine point = parseTextPointLine(piece);
        if (point.hasPoint) writeTextPoint(run.options, scan, turn, point, output);
    }
    in.reset();
    finishScan(output, scan, turn, counts.dataLines);
}

// A LAS or PLY scan takes the text path, each point as if it were the line "x y z". A file
// refused on opening is given up like an input that does not open.
void rotateExchangeScan(const Run& run, const ScanRecord& scan, const std::string& path,
                        PointFileKind kind, std::span<const RotationEntry> table,
                        ScanOutput& output) {
    ExchangePoints points;
    if (!openExchangePoints(path, kind, points)) {
        giveUpUnreadableInput(run, path, output);
        return;
    }
    announceFiles(path, output);
    const ScanTurn turn = chooseTurn(run, table, scan, points.pointCount);
    for (auto chunk = nextExchangeChunk(points); !chunk.empty();
         chunk = nextExchangeChunk(points)) {
        for (const Point3& raw : chunk) {
            const TextPointLine point = textPointLineOf(raw.x, raw.y, raw.z);
            if (point.hasPoint) writeTextPoint(run.options, scan, turn, point, output);
        }
    }
    finishScan(output, scan, turn, points.pointCount);
}

// The written point of a binary scan: back through the scan transform when it was
// applied, so that the file keeps the frame of the scan's own file. Component i is the
// sum over k of R[k][i] * (p[k] - t[k]), k in order.
void writeBinaryPoint(const std::optional<ScanMatrix>& matrix, const std::array<double, 3>& p,
                      OutputFile& pointFile) {
    std::array<double, 3> point = p;
    if (matrix) {
        const auto& m = matrix->m;
        const std::array<double, 3> offset = {p[0] - m[0][3], p[1] - m[1][3], p[2] - m[2][3]};
        for (std::size_t i = 0; i < 3; ++i) {
            point[i] = ((m[0][i] * offset[0]) + (m[1][i] * offset[1])) + (m[2][i] * offset[2]);
        }
    }
    requirePrinted(
        std::fprintf(pointFile.file.get(), "%lf %lf %lf 0 0 0 0 \n", point[0], point[1], point[2]),
        pointFile);
}

void rotateBinaryScan(const Run& run, const ScanRecord& scan, const std::string& path,
                      std::span<const RotationEntry> table, ScanOutput& output, Cloud& cloud) {
    announceFiles(path, output);
    const std::int32_t pointCount = countAsInt32(cloud.size());
    const ScanTurn turn = chooseTurn(run, table, scan, pointCount);
    std::optional<ScanMatrix> matrix;
    if (run.options.SCANTRANSFORM == 0) {
        matrix =
            buildScanMatrix(scan.rotX, scan.rotY, scan.rotZ, 1.0, scan.gpsX, scan.gpsY, scan.gpsZ);
        applyMatrix(cloud, *matrix);
    }
    for (const PointRecord& record : cloud) {
        std::array<double, 3> p = {record.x, record.y, record.z};
        if (turn.hasRotation) {
            turnAboutScanner(turn, scan, record.x - scan.gpsX, record.y - scan.gpsY, p[0], p[1]);
        }
        if (output.filter && !passesBoxAndRange(*output.filter, p[0], p[1], p[2])) continue;
        writeBinaryPoint(matrix, p, output.pointFile);
        ++output.pointsWritten;
    }
    finishScan(output, scan, turn, pointCount);
}

// One scan: its output file, then text, binary, LAS or PLY by what the file holds. The
// output is named after the composed name even when a .las or .ply file stands in for it.
void rotateScan(const Run& run, const ScanRecord& scan, std::span<const RotationEntry> table,
                OutputFile& rotFile, Cloud& cloud) {
    const std::string path = scanPointFile(scan.fileName);
    ScanOutput output;
    output.rotFile = &rotFile;
    output.path = rotatedOutputFileName(scan.fileName);
    if (run.options.APPLYFILTER != 0) output.filter = outputFilterOf(run, scan);
    output.pointFile = createWholeFile(output.path, run.state.logFile.get());
    if (!output.pointFile.file) {
        std::printf("Unable to create %s \n", output.path.c_str());
        if (std::FILE* log = run.state.logFile.get()) {
            const bool isWritten =
                std::fprintf(log, "Unable to create %s \n", output.path.c_str()) >= 0 &&
                std::fflush(log) == 0;
            requireLogWritten(isWritten, run.state);
        }
        return;
    }
    const PointFileKind kind = pointFileKindOf(path);
    if (isExchangeKind(kind)) {
        rotateExchangeScan(run, scan, path, kind, table, output);
        return;
    }
    if (kind == PointFileKind::binary) {
        readBinaryPoints(path, cloud);
        if (!cloud.empty()) {
            rotateBinaryScan(run, scan, path, table, output, cloud);
            return;
        }
    }
    rotateTextScan(run, scan, path, table, output);
}

OutputFile createRotationResultFile(const std::string& path, std::FILE* log) {
    OutputFile file = openInPlace(path, "w", log);
    if (!file.file) {
        endRunOnUncreatableFile(path);
    }
    requirePrinted(
        std::fprintf(file.file.get(),
                     "ID,rotation(degrees),numRotVals,RotSpread(Degrees),Numpoints,NumpointsED \n"),
        file);
    flushRow(file);
    return file;
}

}  // namespace

TextPointLine parseTextPointLine(std::string_view line) {
    std::istringstream in{std::string(line)};
    TextPointLine point;
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    if (!extract(in, x) || !extract(in, y) || !extract(in, z)) return point;
    point.hasPoint = true;
    point.x = x;
    point.y = y;
    point.z = z;
    if (extract(in, point.carried1) && extract(in, point.carried2) && extract(in, point.carried3)) {
        extract(in, point.carried4);
    }
    return point;
}

TextPointLine textPointLineOf(double x, double y, double z) {
    TextPointLine point;
    point.hasPoint = std::isfinite(x) && std::isfinite(y) && std::isfinite(z);
    point.x = x;
    point.y = y;
    point.z = z;
    return point;
}

std::int32_t cutTowardZero(float value) {
    // Converting a float that int32 cannot hold is undefined behaviour, so the range test
    // comes first; NaN fails both comparisons.
    if (std::isnan(value)) return 0;
    if (value >= 2147483648.0F) return std::numeric_limits<std::int32_t>::max();
    if (value < -2147483648.0F) return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(value);  // truncates toward zero
}

void rotateScans(Run& run) {
    const std::time_t start = wallClockNow();
    const std::size_t scanCount = run.state.scans.size();
    const std::int32_t scanTotal = countAsInt32(scanCount);
    const float progressFactor = static_cast<float>(100.0 / static_cast<double>(scanTotal));
    OutputFile rotFile = createRotationResultFile(run.state.rotPath, run.state.logFile.get());
    const std::int32_t entryCount = countRotationRows(run.state.regPath);
    const std::vector<RegistrationPair> pairs =
        loadRegistrationPairs(run.state.regPath, entryCount);
    const std::vector<RotationEntry> table = rotationEntriesOf(pairs);
    if (run.options.ROTADJUST != 0) run.state.adjustedRotations = adjustScanRotations(run, pairs);
    Cloud cloud;
    for (std::size_t scanIndex = 0; scanIndex < scanCount; ++scanIndex) {
        const float percent = static_cast<float>(countAsInt32(scanIndex)) * progressFactor;
        std::printf("Percent complete........%i \n", cutTowardZero(percent));
        rotateScan(run, run.state.scans[scanIndex], table, rotFile, cloud);
    }
    closeInPlace(rotFile);
    std::printf("Total Time for rotations of %i files is %i seconds \n", scanTotal,
                secondsSince(start));
}

}  // namespace sorvek
