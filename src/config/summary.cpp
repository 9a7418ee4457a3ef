#include "config/summary.h"

#include <optional>

#include "run/console.h"

namespace sorvek {
namespace {

void printDataProperties(const Run& run) {
    const RunOptions& o = run.options;
    const RunState& s = run.state;
    std::printf(" DATA PROPERTIES: \n");
    std::printf("   GPS file name: %s \n", s.databasePath.c_str());
    if (o.FILEEXT == 0) {
        std::printf("   Assumed filename extention for rms check: _rot.txt (ROTATED FILE)\n");
    } else {
        std::printf("   Assumed filename extension for rms check: .txt (ORIGINAL)\n");
    }
    std::printf("   %f < distance between scans for comparison < %f \n", o.GPSMINDIST,
                o.GPSMAXDIST);
    if (o.DATADIR == 0) {
        std::printf("   Data is principally in a North South Orientation \n");
    } else {
        std::printf("   Data is principally in a East West Orientation \n");
    }
    std::printf("   Scan database name: %s \n", s.databaseStem.c_str());
    if (o.ZEROPAD == 0) {
        std::printf("   Scan IDs will NOT be padded with zeroes \n");
    } else {
        std::printf("   Scan IDs will be padded with zeroes \n");
    }
    std::printf("   Translation of data in X: %lf \n", o.TRANSX);
    std::printf("   Translation of data in Y: %lf \n", o.TRANSY);
    std::printf("   Points will be filtered to the following: \n");
    std::printf("     %lf < range < %lf \n", o.MINRANGE, o.MAXRANGE);
    std::printf("     %lf < x < %lf \n", o.XMIN, o.XMAX);
    std::printf("     %lf < y < %lf \n", o.YMIN, o.YMAX);
    std::printf("     %lf < z < %lf \n", o.ZMIN, o.ZMAX);
}

void printProgramOptions(const RunOptions& o) {
    std::printf(" PROGRAM OPTIONS:  \n");
    std::printf("   Cube Dimensions \n");
    std::printf("       dx = %lf, dy = %lf, dz = %lf \n", o.dCX, o.dCY, o.dCZ);
    std::printf("       Points per cube for registration: %i \n", o.NUMPPC);
    std::printf("   Minimum number of points to use for RMS calculation: %i \n", o.MINNUMPTS);
    std::printf("   Max distance between point clouds for comparison:  %lf \n", o.MAXDISTINITIAL);
    switch (errorMetricOf(o)) {
    case ErrorMetric::pointToPoint:
        std::printf("   Error metric regmode:  Point to Point \n");
        break;
    case ErrorMetric::pointToPlane:
        std::printf("   Error metric regmode:  Point to Plane \n");
        break;
    case ErrorMetric::unnamed: break;
    }
    std::printf("   Point pairs will be updated \n");
    switch (solverChoiceOf(o)) {
    case SolverChoice::iterativeSearch:
        std::printf("   Iterative Search Method will be used \n");
        break;
    case SolverChoice::partialLeastSquares:
        std::printf("   Partial Least Squares Solution Method will be used\n");
        break;
    case SolverChoice::pingPong:
        std::printf("  Ping Pong Least Squares Method will be used\n");  // two blanks, as ever
        break;
    }
    if (o.ROTADJUST != 0) std::printf("   Rotations will be adjusted over all pairs \n");
    std::printf("   Number of iterations for rotations:  %i \n", o.MAXITER);
    std::printf("   Number of Repeat Cycles:  %i \n", o.MAXREPEAT);
    std::printf("   Max search angle(degrees): %lf \n", o.ALPHA);
    std::printf("   Search angle incriment: %i \n", o.ALPHAINC);
    std::printf("   Alpha threshold = %lf \n", o.ALPHATHRESH);
    std::printf("   RMS threshold = %lf \n", o.RMSTHRESH);
}

void printOutputFilesAndMenu(const RunOptions& o, const RunState& s) {
    std::printf(" OUTPUT DATAFILES \n");
    std::printf("   Sorvek output file name: %s \n", s.regPath.c_str());
    std::printf("   Tavrin output file name: %s \n", s.rotPath.c_str());
    if (o.ROTADJUST != 0) std::printf("   Adjustment output file name: %s \n", s.adjPath.c_str());
    std::printf("   Meldor output file name: %s \n", s.rmsPath.c_str());
    std::printf("   Log output file name: %s \n", s.logPath.c_str());
    std::printf(" \n");
    std::printf(" \n");
    std::printf("OUTPUT FILES WILL BE OVERWRITTEN IF THEY EXIST! \n");
    std::printf(" \n");
    std::printf("Please verify that options are correct \n");
    std::printf("and enter regmode of operation\n");
    std::printf("1 = Register point clouds (LINEAR SEQUENCE)\n");
    std::printf("2 = Rotate point clouds\n");
    std::printf("3 = Batch Evaluate RMS of point clouds (LINEAR SEQUENCE)\n");
    std::printf("4 = Run ALL\n");
    std::printf("5 = Evalulate RMS of 2 datasets\n");
    std::printf("6 = Register point clouds (SITE)\n");
    std::printf("7 = Batch Evaluate RMS of point clouds  (SITE)\n");
    std::printf("8 = Write Rotation and Translation Matricies for scans\n");
    std::printf("9 = Export geo-referenced scans as text files\n");
    std::printf("0 = quit and reformat your input file, \n");
}

}  // namespace

void printSummary(const Run& run) {
    std::printf("Input file Summary:  \n");
    std::printf(" \n");
    printDataProperties(run);
    std::printf(" \n");
    printProgramOptions(run.options);
    std::printf(" \n");
    printOutputFilesAndMenu(run.options, run.state);
}

std::int32_t readModeNumber(std::FILE* input, std::int32_t startValue) {
    int mode = startValue;
    if (std::fscanf(input, "%i", &mode) != 1) mode = startValue;
    std::fgetc(input);  // normally the line end
    return mode;
}

// With --mode the answer is printed where the user's own would have been typed, so
// that the console text of an unattended run shows what was chosen.
void printSummaryAndChooseMode(Run& run) {
    printSummary(run);
    const std::optional<std::int32_t>& modeAnswer = run.state.commandLine.mode;
    if (modeAnswer) {
        run.state.runMode = *modeAnswer;
        std::printf("%i\n", run.state.runMode);
    } else {
        std::fflush(stdout);
        std::FILE* input = run.state.menuInput ? run.state.menuInput.get() : stdin;
        run.state.runMode = readModeNumber(input, run.state.runMode);
        run.state.menuInput.reset();  // the only answer it was kept for
    }
    if (run.state.runMode == 0) leaveRun(exitQuit);
    std::printf("\n");
    setSearchAnglesInRadians(run.options);
}

}  // namespace sorvek
