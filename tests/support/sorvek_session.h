#pragma once
// Runs of the real sorvek binary in scratch folders, for end-to-end tests built in code.

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace sorvek::testing {

struct SessionResult {
    std::string out;    // standard output
    std::string err;    // standard error
    int exitCode = -1;  // process exit code
};

// Whole contents of a file; empty when it cannot be read.
std::string readFile(const std::filesystem::path& path);

void writeFile(const std::filesystem::path& path, const std::string& contents);

// Runs sorvek with `workDir` as working directory, invoked as ./bin/sorvek so that it
// finds bin/sorvek.txt, which holds `optionText` (no option file when it is nullopt).
// `shellPrefix` runs in the same shell just before the program, e.g. a ulimit.
SessionResult runSorvek(const std::filesystem::path& workDir, const std::vector<std::string>& args,
                        const std::string& stdinText,
                        const std::optional<std::string>& optionText = std::nullopt,
                        const std::string& shellPrefix = "");

// Starts the same run without waiting for it and returns the program's process id (the
// shell replaces itself with the program), or -1. Collect it with waitpid and then
// finishSorvek, which reads what the run printed from the status waitpid gave.
pid_t startSorvek(const std::filesystem::path& workDir, const std::vector<std::string>& args,
                  const std::string& stdinText,
                  const std::optional<std::string>& optionText = std::nullopt);

SessionResult finishSorvek(const std::filesystem::path& workDir, int status);

// The same two with another program in sorvek's place (sorvek-mpi), still started as
// ./bin/sorvek, through `launcher`: a command that ends in a blank and runs the program
// with its arguments after it, such as "mpirun -np 3 ". The process waited for is the
// launcher's.
SessionResult runLaunched(const std::string& launcher, const std::filesystem::path& binary,
                          const std::filesystem::path& workDir, const std::vector<std::string>& args,
                          const std::string& stdinText,
                          const std::optional<std::string>& optionText = std::nullopt);

pid_t startLaunched(const std::string& launcher, const std::filesystem::path& binary,
                    const std::filesystem::path& workDir, const std::vector<std::string>& args,
                    const std::string& stdinText,
                    const std::optional<std::string>& optionText = std::nullopt);

// As runSorvek, but standard input is whatever the shell redirection `inputRedirection`
// makes it ("<&-" closes it, "<> fifo" gives one that never ends), and the run is ended
// after `timeLimitSeconds`: its exit code is then 124.
SessionResult runSorvekRedirected(const std::filesystem::path& workDir,
                                  const std::vector<std::string>& args,
                                  const std::string& inputRedirection,
                                  const std::optional<std::string>& optionText,
                                  int timeLimitSeconds);

}  // namespace sorvek::testing
