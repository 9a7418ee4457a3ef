#pragma once
// The records every stage shares: one run context holding the options, the run-wide
// state and the pair in hand, plus the point and scan records that meet the files.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "config/run_options.h"
#include "run/command_line.h"
#include "run/large_array.h"

namespace sorvek {

struct Run;
struct WorkerPool;
struct EngineScratch;

inline constexpr double radToDeg =
    180.0 / 3.14159265;                        // 57.29577957855229, the short pi of degToRad
inline constexpr double scannerHeight = 0.29;  // added to every database Z
inline constexpr double noRotation = -9999.9;  // rotation field not yet registered
inline constexpr float noInitialRms = 999.0F;  // start of the three initial RMS fields

// A registered rotation is a few radians at most, so a rotation field below this still
// holds noRotation. NaN is not below it and so counts as registered.
inline constexpr double unregisteredBelow = -99.0;
inline bool isUnregistered(double rotationRad) { return unregisteredBelow > rotationRad; }

// One point, byte for byte as it lies in a .bxyz file, so a cloud loads with one fread.
struct PointRecord {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    std::uint32_t cube = 0;   // grid index; cubeCount when the point is outside the grid
    std::uint32_t spare = 0;  // carried with the record, never read
};
static_assert(sizeof(PointRecord) == 32 && offsetof(PointRecord, cube) == 24);
static_assert(std::endian::native == std::endian::little);

// A cloud's length is its vector's size; CloudBounds::count carries the same number.
using Cloud = LargeArray<PointRecord>;

struct CloudBounds {
    std::int32_t count = 0;  // number of points
    double minX = 0.0;       // least X
    double maxX = 0.0;       // greatest X
    double minY = 0.0;       // least Y
    double maxY = 0.0;       // greatest Y
    double minZ = 0.0;       // least Z
    double maxZ = 0.0;       // greatest Z
};

struct ScanRecord {
    double gpsX = 0.0;           // survey X minus TRANSX; set by the database reader
    double gpsY = 0.0;           // survey Y minus TRANSY; set by the database reader
    double gpsZ = 0.0;           // survey Z plus scannerHeight; set by the database reader
    double rotX = 0.0;           // radians; set by the database reader
    double rotY = 0.0;           // radians; set by the database reader
    double rotZ = 0.0;           // radians; set by the database reader
    std::int32_t scanId = 0;     // id shown in every message and result file
    std::int32_t subId = 0;      // second id, part of the file name only
    std::string fileName;        // composed point file path; set by the database reader
    double northDist = 0.0;      // plan distance to northScan, or GPSMAXDIST; set by neighbours
    double southDist = 0.0;      // plan distance to southScan, or GPSMAXDIST; set by neighbours
    std::int32_t northScan = 0;  // table index of the north (east) neighbour, -1 if none
    std::int32_t southScan = 0;  // table index of the south (west) neighbour, -1 if none
    double northRotation = noRotation;  // radians from the north pair; set by drivers and solvers
    double southRotation = noRotation;  // radians from the south pair; set by drivers and solvers
    std::int32_t northPoints = 0;       // point count of the north pair; set by the linear driver
    std::int32_t southPoints = 0;       // point count of the south pair; set by the linear driver
};

// A scan's rotation as the adjustment over all pairs gives it, in place of the mean.
struct ScanRotation {
    std::int32_t scanId = 0;   // scanId of the scan
    double rotationDeg = 0.0;  // degrees
};

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

inline FileHandle openFile(const std::string& path, const char* mode) {
    return FileHandle(std::fopen(path.c_str(), mode));  // empty handle when it fails
}

// A solver's working copy of a cloud: the points in cube order, their coordinates in
// three arrays so that the walk reads a cube's points as runs of doubles.
struct WorkCloud {
    UnfilledArray<double> x;  // coordinates, in cube order
    UnfilledArray<double> y;
    UnfilledArray<double> z;
    UnfilledArray<std::uint32_t> cube;  // ascending over the first inGridCount points; the
                                        // out-of-grid index for the rest
    std::size_t inGridCount = 0;        // points inside the grid, which come first
    std::uint64_t stamp = 0;            // new whenever the points change, never repeated;
                                        // 0 for a cloud made by hand: nothing kept of it
};

struct PairState {
    std::int32_t firstIndex = 0;        // table index of the first scan; set by the drivers
    std::int32_t secondIndex = 0;       // table index of the second scan, -1 for none; drivers
    std::int32_t firstId = 0;           // scanId of the first scan, for RMS rows; drivers
    std::int32_t secondId = 0;          // scanId of the second scan, for RMS rows; drivers
    std::string firstPath;              // file loaded as the first cloud; drivers, entry, stages
    std::string secondPath;             // file loaded as the second cloud; drivers, entry
    Cloud firstCloud;                   // loaded, transformed and sorted; pair preparation
    Cloud secondCloud;                  // likewise for the second scan
    WorkCloud firstWork;                // turned working copy of firstCloud; solvers
    WorkCloud secondWork;               // turned working copy of secondCloud; solvers
    CloudBounds firstBounds;            // bounds of the first cloud; preparation and solvers
    CloudBounds secondBounds;           // bounds of the second cloud; preparation and solvers
    CloudBounds overlapBounds;          // box common to both clouds, grid of the pair
    float initialRms21 = noInitialRms;  // second against first; preparation in modes 1, 5, 6
    float initialRms12 = noInitialRms;  // first against second; preparation in modes 1, 5, 6
    float initialRms = noInitialRms;    // mean of the two; a solver must beat it
    double meanCliffDistance = 0.0;     // half the sum of the clouds' Cliff Distances; preparation
    std::shared_ptr<EngineScratch> scratch;  // reused scratch of ordering and walk, kept
                                             // from pair to pair; see engineScratch
};

struct RunState {
    std::int32_t runMode = 1;        // operating mode 0 to 9; set by the menu
    bool rmsPhase = false;           // false registering or rotating, true evaluating; entry only
    std::vector<ScanRecord> scans;   // the scan table; prepareScans
    std::int32_t progressScans = 0;  // size of scans, divisor of progress figures; prepareScans
    std::int32_t pairsDone = 0;      // pairs finished by the drivers, never reset
    double percentDone = 0.0;        // progress figure a solver last printed
    double percentStep = 1.0;        // 100 / (MAXITER * progressScans); prepareScans
    std::int32_t cubeCount = 0;      // cubes of the last grid, also the out-of-grid index
    std::vector<ScanRotation> adjustedRotations;  // one per scan; rotateScans with ROTADJUST on
    FileHandle logFile;                           // the log, open from preparation to the closing
    std::string optionPath;                       // option file; entry
    std::string databasePath;                     // survey database; entry
    std::string databaseStem;  // databasePath less its extension; empty until derived
    std::string regPath;       // registration result file
    std::string rotPath;       // rotation result file
    std::string rmsPath;       // RMS result file
    std::string adjPath;       // rotation adjustment file, written only with ROTADJUST
    std::string logPath;       // log file
    // sorvek-mpi sets this: runs a site pass or a line's RMS pass over the processes of the
    // job instead of in this one; nullptr in sorvek.
    void (*spreadPass)(Run& run, const std::string& path) = nullptr;
    std::shared_ptr<WorkerPool> workers;  // threads of the pair engine; none: the calling
                                          // thread alone. Made by the entry
    CommandLine commandLine;              // what the flags before the arguments said; entry
    FileHandle menuInput;                 // the menu's answer while --yes keeps keys away; else
                                          // empty, and the menu reads standard input; entry
};

// The single run context: every stage receives it by reference.
struct Run {
    RunOptions options;
    RunState state;
    PairState pair;
};

}  // namespace sorvek
