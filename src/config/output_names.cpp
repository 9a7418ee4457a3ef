#include "config/output_names.h"

#include "survey/file_names.h"

namespace sorvek {

// Every result name is the database's name with its four-character extension replaced.
void deriveOutputNames(RunState& state, const std::string& databasePath) {
    const std::size_t length = databasePath.size();
    if (length <= 4) return;
    const std::string extension = databasePath.substr(length - 4);
    if (extension != ".txt" && extension != ".csv") return;
    state.databaseStem = withEnding(databasePath, 4, "");
    state.regPath = withEnding(databasePath, 4, "reg.csv");
    state.rotPath = withEnding(databasePath, 4, "rot.csv");
    state.rmsPath = withEnding(databasePath, 4, "rms.csv");
    state.logPath = withEnding(databasePath, 4, "log.txt");
    state.adjPath = withEnding(databasePath, 4, "adj.csv");
}

}  // namespace sorvek
