#include "support/sorvek_session.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace sorvek::testing {
namespace {

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (char c : text) {
        if (c == '\'') {
            result += "'\\''";
        } else {
            result += c;
        }
    }
    return result + "'";
}

}  // namespace

std::filesystem::path makeScratchDir(const std::string& label) {
    std::string pattern = (std::filesystem::temp_directory_path() / ("sorvek-" + label + "-XXXXXX")).string();
    if (mkdtemp(pattern.data()) == nullptr) return {};
    return pattern;
}

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

SessionResult runSorvek(const std::filesystem::path& workDir, const std::vector<std::string>& args,
                        const std::string& stdinText, const std::optional<std::string>& optionText,
                        const std::string& shellPrefix) {
    return runBinary(SORVEK_BINARY, workDir, args, stdinText, optionText, shellPrefix);
}

SessionResult runBinary(const std::filesystem::path& binary, const std::filesystem::path& workDir,
                        const std::vector<std::string>& args, const std::string& stdinText,
                        const std::optional<std::string>& optionText, const std::string& shellPrefix) {
    namespace fs = std::filesystem;
    const fs::path binDir = workDir / "bin";
    fs::create_directories(binDir);
    fs::remove(binDir / "sorvek");
    fs::create_symlink(binary, binDir / "sorvek");
    fs::remove(binDir / "sorvek.txt");
    if (optionText) writeFile(binDir / "sorvek.txt", *optionText);
    writeFile(workDir / ".stdin", stdinText);

    std::string command = "cd " + quoted(workDir.string()) + " && " + shellPrefix + "./bin/sorvek";
    for (const std::string& arg : args) command += " " + quoted(arg);
    command += " < .stdin > .stdout 2> .stderr";
    const int status = std::system(command.c_str());

    SessionResult result;
    result.out = readFile(workDir / ".stdout");
    result.err = readFile(workDir / ".stderr");
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    for (const char* name : {".stdin", ".stdout", ".stderr"}) fs::remove(workDir / name);
    return result;
}

}  // namespace sorvek::testing
