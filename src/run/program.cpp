#include "run/program.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <new>

#include "run/console.h"
#include "run/entry.h"

namespace {

void printUsage() {
    std::printf(
        "usage: sorvek [SURVEY_DATABASE.txt|.csv]\n"
        "       sorvek DATASET1 DATASET2        (mode 5: RMS of two point files)\n"
        "\n"
        "Aligns the overlapping point clouds of a laser-scan survey by one rotation per\n"
        "scan about the vertical axis through its GPS position. The options are read\n"
        "from sorvek.txt beside the program; the mode is chosen at the menu:\n"
        "  1 register a line   2 rotate scans   3 RMS of a line   4 run all\n"
        "  5 RMS of two data sets   6 register a site   7 RMS of a site\n"
        "  8 transform matrices   9 geo-referenced text clouds   0 quit\n"
        "Without a database argument the database is test.txt in the working directory.\n");
}

}  // namespace

namespace sorvek {

int runProgram(int argc, char** argv, void (*spreadPass)(Run& run, const std::string& path)) {
    // A file-size limit must look like a full disk: the write fails with EFBIG and the
    // run says which file, instead of the signal ending the process without a word.
    std::signal(SIGXFSZ, SIG_IGN);
    if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
        printUsage();
        return 0;
    }
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::printf("sorvek %s\n", SORVEK_VERSION);
        return 0;
    }
    // --resume before the other arguments; the program's own path moves up in its place.
    const bool resumesResults = argc >= 2 && std::strcmp(argv[1], "--resume") == 0;
    if (resumesResults) {
        argv[1] = argv[0];
        --argc;
        ++argv;
    }
    try {
        return runEntry(argc, argv, resumesResults, spreadPass);
    } catch (const std::bad_alloc&) {
        reportOutOfMemory();
        return 1;
    }
}

}  // namespace sorvek
