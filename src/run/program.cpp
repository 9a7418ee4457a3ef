#include "run/program.h"

#include <csignal>
#include <cstdio>
#include <new>
#include <string>

#include "run/command_line.h"
#include "run/console.h"
#include "run/entry.h"

namespace {

void printHelp() {
    std::printf(
        "%s\n"
        "       sorvek [FLAGS] SURVEY_DATABASE.txt|.csv\n"
        "       sorvek [FLAGS] DATASET1 DATASET2        (mode 5: RMS of two point files)\n"
        "\n"
        "Aligns the overlapping point clouds of a laser-scan survey by one rotation per\n"
        "scan about the vertical axis through its GPS position. The options are read\n"
        "from sorvek.txt beside the program; the mode is chosen at the menu:\n"
        "  1 register a line   2 rotate scans   3 RMS of a line   4 run all\n"
        "  5 RMS of two data sets   6 register a site   7 RMS of a site\n"
        "  8 transform matrices   9 geo-referenced text clouds   0 quit\n"
        "Without a database argument the database is test.txt in the working directory.\n"
        "\n"
        "Flags, given before the database:\n",
        sorvek::usageLine().c_str());
    for (const sorvek::FlagRule& rule : sorvek::flagRules()) {
        const std::string flag = std::string(rule.name) +
                                 (rule.valueName.empty() ? "" : " " + std::string(rule.valueName));
        std::printf("  %-20s%s\n", flag.c_str(), std::string(rule.help).c_str());
    }
    std::printf(
        "  %-20s%s\n"
        "The results are the same for every number of threads.\n"
        "\n"
        "Exit codes:\n"
        "  %i  the run came to its end. So do, as they always have, a batch stage that\n"
        "     cannot create its result file and a cube with too many points: the\n"
        "     console says which\n"
        "  %i  a run-ending failure, or 0 at the menu, or x at the confirmation\n"
        "  %i  a flag was refused; nothing was read\n",
        "--", "ends the flags, for a database named --something", sorvek::exitDone,
        sorvek::exitFailed, sorvek::exitBadFlags);
}

}  // namespace

namespace sorvek {

int runProgram(int argc, char** argv, void (*spreadPass)(Run& run, const std::string& path)) {
    // A file-size limit must look like a full disk: the write fails with EFBIG and the
    // run says which file, instead of the signal ending the process without a word.
    std::signal(SIGXFSZ, SIG_IGN);
    if (argc < 1) return runEntry(argc, argv, {}, spreadPass);  // not even a program name: it asks
    const CommandLine commandLine = parseCommandLine(argc, argv);
    if (!commandLine.isValid) {
        std::printf("%s", commandLine.problem.c_str());
        return exitBadFlags;
    }
    if (commandLine.asksForHelp) {
        printHelp();
        return exitDone;
    }
    if (commandLine.asksForVersion) {
        std::printf("sorvek %s\n", SORVEK_VERSION);
        return exitDone;
    }
    // The flags are taken out: the program's own path, then the other arguments as given.
    argv[commandLine.firstArgument - 1] = argv[0];
    argc -= commandLine.firstArgument - 1;
    argv += commandLine.firstArgument - 1;
    try {
        return runEntry(argc, argv, commandLine, spreadPass);
    } catch (const std::bad_alloc&) {
        reportOutOfMemory();
        return exitFailed;
    }
}

}  // namespace sorvek
