// sorvek: aligns the overlapping scans of a laser-scan survey.

#include <csignal>
#include <cstdio>
#include <cstring>
#include <new>

#include "run/command_line.h"
#include "run/entry.h"

namespace {

void printUsage() {
    std::printf(
        "usage: sorvek [--threads N] [SURVEY_DATABASE.txt|.csv]\n"
        "       sorvek [--threads N] DATASET1 DATASET2   (mode 5: RMS of two point files)\n"
        "\n"
        "Aligns the overlapping point clouds of a laser-scan survey by one rotation per\n"
        "scan about the vertical axis through its GPS position. The options are read\n"
        "from sorvek.txt beside the program; the mode is chosen at the menu:\n"
        "  1 register a line   2 rotate scans   3 RMS of a line   4 run all\n"
        "  5 RMS of two data sets   6 register a site   7 RMS of a site\n"
        "  8 transform matrices   9 geo-referenced text clouds   0 quit\n"
        "Without a database argument the database is test.txt in the working directory.\n"
        "  --threads N   threads for the registration engine, 1 to 1024 (default: the\n"
        "                hardware's); the results are the same for every N\n");
}

}  // namespace

int main(int argc, char** argv) {
    // A file-size limit must look like a full disk: the write fails with EFBIG and the
    // run says which file, instead of the signal ending the process without a word.
    std::signal(SIGXFSZ, SIG_IGN);
    const sorvek::CommandLine commandLine = sorvek::parseCommandLine(argc, argv);
    if (!commandLine.isValid) {
        std::printf("%s", commandLine.problem.c_str());
        return 2;  // a bad command line
    }
    // The flags are taken out: the program's own path, then the other arguments as given.
    argv[commandLine.firstArgument - 1] = argv[0];
    argc -= commandLine.firstArgument - 1;
    argv += commandLine.firstArgument - 1;
    if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
        printUsage();
        return 0;
    }
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::printf("sorvek %s\n", SORVEK_VERSION);
        return 0;
    }
    try {
        return sorvek::runEntry(argc, argv, commandLine);
    } catch (const std::bad_alloc&) {
        std::fflush(stdout);
        std::fprintf(stderr, "sorvek: out of memory\n");
        return 1;
    }
}
