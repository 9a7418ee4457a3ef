#include "config/output_names.h"

namespace sorvek {

std::string makeOutputName(const std::string& source, const std::string& suffix) {
    // Every suffix has seven characters, so the result is the stem without its
    // four-character extension directly followed by the suffix.
    const std::size_t kept = source.size() + 3 - suffix.size();
    return source.substr(0, kept) + suffix;
}

void deriveOutputNames(RunState& state, const std::string& databasePath) {
    const std::size_t length = databasePath.size();
    if (length <= 4) return;
    const std::string extension = databasePath.substr(length - 4);
    if (extension != ".txt" && extension != ".csv") return;
    state.databaseStem = databasePath.substr(0, length - 4);
    state.regPath = makeOutputName(databasePath, "reg.csv");
    state.rotPath = makeOutputName(databasePath, "rot.csv");
    state.rmsPath = makeOutputName(databasePath, "rms.csv");
    state.logPath = makeOutputName(databasePath, "log.txt");
    state.adjPath = makeOutputName(databasePath, "adj.csv");
}

}  // namespace sorvek
