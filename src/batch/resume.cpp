#include "batch/resume.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "run/console.h"

namespace sorvek {
namespace {

// Field `index` of a comma-separated line.
std::string_view fieldOf(std::string_view line, std::size_t index) {
    for (std::size_t i = 0; i < index; ++i) {
        const std::size_t comma = line.find(',');
        if (comma == std::string_view::npos) return {};
        line.remove_prefix(comma + 1);
    }
    return line.substr(0, line.find(','));
}

std::optional<RowIds> idsOfRow(std::string_view line, ResultFileKind kind) {
    const std::optional<std::int32_t> first = parseRowId(fieldOf(line, 0));
    const std::optional<std::int32_t> second = parseRowId(fieldOf(line, secondIdFieldOf(kind)));
    if (!first || !second) return std::nullopt;
    return RowIds{*first, *second};
}

[[noreturn]] void refuseToResume(const std::string& path, const char* reason) {
    std::printf("Cannot resume %s: %s \n", path.c_str(), reason);
    std::printf("Run it again without --resume to start the pass afresh. \n");
    endRun(exitFailed);
}

[[noreturn]] void refuseUnreadable(const std::string& path, int errorNumber) {
    const std::string reason =
        "it cannot be read (" + std::string(std::strerror(errorNumber)) + ")";
    refuseToResume(path, reason.c_str());
}

// The file's bytes; "" when there is no such file, so that the pass starts afresh. A
// file that is there but cannot be read must not be taken for empty, or starting afresh
// would wipe it: the run is refused.
std::string readFileToResume(const std::string& path) {
    FileHandle file = openFile(path, "rb");
    if (!file && errno == ENOENT) return {};
    if (!file) refuseUnreadable(path, errno);
    std::string text;
    char buffer[65536];
    std::size_t byteCount = 0;
    while ((byteCount = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) {
        text.append(buffer, byteCount);
    }
    if (std::ferror(file.get()) != 0) refuseUnreadable(path, errno);
    return text;
}

// Cuts the file back to its kept bytes and opens it for appending.
OutputFile reopenForAppending(const std::string& path, std::int64_t keptByteCount, std::FILE* log) {
    std::error_code error;
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(keptByteCount), error);
    OutputFile file = error ? OutputFile{} : openInPlace(path, "a", log);
    if (!file.file) endRunWithoutResultFile(path);
    return file;
}

std::vector<RowIds> idsOfPlan(const Run& run, const std::vector<PlannedPair>& pairs) {
    std::vector<RowIds> ids;
    ids.reserve(pairs.size());
    for (const PlannedPair& pair : pairs) {
        ids.push_back({run.state.scans[static_cast<std::size_t>(pair.firstIndex)].scanId,
                       run.state.scans[static_cast<std::size_t>(pair.secondIndex)].scanId});
    }
    return ids;
}

}  // namespace

KeptRows readKeptRows(const std::string& fileText, ResultFileKind kind) {
    KeptRows kept;
    const std::string_view head = headLineOf(kind);
    const std::size_t wholeLength =
        fileText.rfind('\n') == std::string::npos ? 0 : fileText.rfind('\n') + 1;
    const std::string_view whole = std::string_view(fileText).substr(0, wholeLength);
    if (!whole.starts_with(head)) {
        // Nothing but a piece of the head line: the earlier run stopped before its first row.
        kept.belongsToKind = head.starts_with(fileText);
        return kept;
    }
    for (std::string_view rest = whole.substr(head.size()); !rest.empty();) {
        const std::size_t end = rest.find('\n');
        const std::optional<RowIds> ids = idsOfRow(rest.substr(0, end), kind);
        if (!ids) {
            kept.belongsToKind = false;
            kept.rows.clear();
            return kept;
        }
        kept.rows.push_back(*ids);
        rest.remove_prefix(end + 1);
    }
    kept.keptByteCount = static_cast<std::int64_t>(wholeLength);
    return kept;
}

std::optional<std::vector<PairFate>> matchKeptRows(const std::vector<RowIds>& planned,
                                                   const std::vector<RowIds>& rows) {
    std::vector<PairFate> fates(planned.size(), PairFate::toDo);
    std::size_t rowIndex = 0;
    for (std::size_t pairIndex = 0; pairIndex < planned.size() && rowIndex < rows.size();
         ++pairIndex) {
        if (planned[pairIndex] == rows[rowIndex]) {
            fates[pairIndex] = PairFate::kept;
            ++rowIndex;
        } else {
            fates[pairIndex] = PairFate::failedBefore;
        }
    }
    if (rowIndex < rows.size()) return std::nullopt;
    return fates;
}

PassFile openPassFile(const Run& run, const std::string& path, ResultFileKind kind,
                      const std::vector<PlannedPair>& pairs) {
    PassFile pass;
    if (!run.state.commandLine.resumesResults) {
        pass.file = createResultFile(path, kind, run.state.logFile.get());
        pass.fates.assign(pairs.size(), PairFate::toDo);
        return pass;
    }
    const KeptRows kept = readKeptRows(readFileToResume(path), kind);
    if (!kept.belongsToKind) refuseToResume(path, "it is not the result file of this pass");
    std::optional<std::vector<PairFate>> fates = matchKeptRows(idsOfPlan(run, pairs), kept.rows);
    if (!fates) refuseToResume(path, "its rows are not the pairs of this job in this order");
    pass.fates = std::move(*fates);
    pass.keptRowCount = static_cast<std::int32_t>(kept.rows.size());
    std::FILE* log = run.state.logFile.get();
    pass.file = kept.keptByteCount > 0 ? reopenForAppending(path, kept.keptByteCount, log)
                                       : createResultFile(path, kind, log);
    std::int32_t toDoCount = 0;
    for (const PairFate fate : pass.fates) toDoCount += fate == PairFate::toDo ? 1 : 0;
    std::printf("Resuming %s: %i rows kept, %i pairs to do \n", path.c_str(), pass.keptRowCount,
                toDoCount);
    return pass;
}

}  // namespace sorvek
