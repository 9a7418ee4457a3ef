#include "support/sorvek_session.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace sorvek::testing {

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream contents;
    contents << in.rdbuf();
    return contents.str();
}

void writeFile(const std::filesystem::path& path, const std::string& contents) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << contents;
}

namespace {

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

// Puts `binary` as bin/sorvek and its option file into workDir/bin, and returns the shell
// command of the run, which ends in the program itself (behind `launcher`, such as a time
// limit or mpirun) with standard input from the redirection `input`.
std::string prepareRun(const std::filesystem::path& binary, const std::filesystem::path& workDir,
                       const std::vector<std::string>& args, const std::string& input,
                       const std::optional<std::string>& optionText,
                       const std::string& shellPrefix, const std::string& launcher) {
    namespace fs = std::filesystem;
    const fs::path binDir = workDir / "bin";
    fs::create_directories(binDir);
    fs::remove(binDir / "sorvek");
    fs::create_symlink(binary, binDir / "sorvek");
    fs::remove(binDir / "sorvek.txt");
    if (optionText) writeFile(binDir / "sorvek.txt", *optionText);

    std::string command =
        "cd " + quoted(workDir.string()) + " && " + shellPrefix + "exec " + launcher + "./bin/sorvek";
    for (const std::string& arg : args) command += " " + quoted(arg);
    return command + " " + input + " > .stdout 2> .stderr";
}

// prepareRun with `stdinText` as the run's standard input, kept in workDir/.stdin.
std::string prepareScriptedRun(const std::filesystem::path& binary,
                               const std::filesystem::path& workDir,
                               const std::vector<std::string>& args, const std::string& stdinText,
                               const std::optional<std::string>& optionText,
                               const std::string& shellPrefix, const std::string& launcher) {
    writeFile(workDir / ".stdin", stdinText);
    return prepareRun(binary, workDir, args, "< .stdin", optionText, shellPrefix, launcher);
}

}  // namespace

SessionResult runSorvek(const std::filesystem::path& workDir, const std::vector<std::string>& args,
                        const std::string& stdinText, const std::optional<std::string>& optionText,
                        const std::string& shellPrefix) {
    const std::string command =
        prepareScriptedRun(SORVEK_BINARY, workDir, args, stdinText, optionText, shellPrefix, "");
    return finishSorvek(workDir, std::system(command.c_str()));
}

SessionResult runLaunched(const std::string& launcher, const std::filesystem::path& binary,
                          const std::filesystem::path& workDir, const std::vector<std::string>& args,
                          const std::string& stdinText, const std::optional<std::string>& optionText) {
    const std::string command =
        prepareScriptedRun(binary, workDir, args, stdinText, optionText, "", launcher);
    return finishSorvek(workDir, std::system(command.c_str()));
}

pid_t startSorvek(const std::filesystem::path& workDir, const std::vector<std::string>& args,
                  const std::string& stdinText, const std::optional<std::string>& optionText) {
    return startLaunched("", SORVEK_BINARY, workDir, args, stdinText, optionText);
}

pid_t startLaunched(const std::string& launcher, const std::filesystem::path& binary,
                    const std::filesystem::path& workDir, const std::vector<std::string>& args,
                    const std::string& stdinText, const std::optional<std::string>& optionText) {
    const std::string command =
        prepareScriptedRun(binary, workDir, args, stdinText, optionText, "", launcher);
    const pid_t pid = fork();
    if (pid == 0) {
        execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    return pid;
}

SessionResult finishSorvek(const std::filesystem::path& workDir, int status) {
    namespace fs = std::filesystem;
    SessionResult result;
    result.out = readFile(workDir / ".stdout");
    result.err = readFile(workDir / ".stderr");
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    for (const char* name : {".stdin", ".stdout", ".stderr"}) fs::remove(workDir / name);
    return result;
}

SessionResult runSorvekRedirected(const std::filesystem::path& workDir,
                                  const std::vector<std::string>& args,
                                  const std::string& inputRedirection,
                                  const std::optional<std::string>& optionText,
                                  int timeLimitSeconds) {
    const std::string command =
        prepareRun(SORVEK_BINARY, workDir, args, inputRedirection, optionText, "",
                   "timeout " + std::to_string(timeLimitSeconds) + " ");
    return finishSorvek(workDir, std::system(command.c_str()));
}

}  // namespace sorvek::testing
