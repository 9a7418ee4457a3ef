#include "run/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "run/console.h"

namespace sorvek {
namespace {

// A stream whose error flag is set has lost bytes even when the flush itself succeeds.
bool flushed(std::FILE* file) {
    if (std::fflush(file) != 0) return false;
    if (std::ferror(file) == 0) return true;
    errno = EIO;
    return false;
}

// EINVAL: the file system keeps no cache for this file, so there is nothing to wait for.
bool syncedToDisk(std::FILE* file) { return ::fsync(::fileno(file)) == 0 || errno == EINVAL; }

// The test fopen "w" makes of an existing file, without truncating it.
bool acceptsWriting(const std::string& path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) return false;
    ::close(fd);
    return true;
}

// The file a symbolic link points to, so that the new file replaces the target and the
// link stays; any other name is its own target.
std::string replacedFile(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_symlink(path, error)) return path;
    const std::filesystem::path target = std::filesystem::canonical(path, error);
    return error ? path : target.string();
}

// A fresh file at `partialPath`: a leftover of a killed run is removed first, and the
// exclusive create never follows whatever else might stand under that name. The new file
// takes the mode of the file it will replace, as an overwrite in place would keep it.
FileHandle createPartial(const std::string& partialPath, const struct stat* replaced) {
    std::remove(partialPath.c_str());
    const int fd = ::open(partialPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) return FileHandle();
    if (replaced != nullptr) (void)::fchmod(fd, replaced->st_mode & 07777);
    FileHandle file(::fdopen(fd, "w"));
    if (!file) {
        const int errorNumber = errno;
        ::close(fd);
        std::remove(partialPath.c_str());
        errno = errorNumber;
    }
    return file;
}

}  // namespace

OutputFile openInPlace(const std::string& path, const char* mode, std::FILE* log) {
    OutputFile output;
    output.path = path;
    output.log = log;
    output.file = openFile(path, mode);
    return output;
}

OutputFile createWholeFile(const std::string& path, std::FILE* log) {
    OutputFile output;
    output.path = path;
    output.log = log;
    struct stat existing {};
    const bool exists = ::stat(path.c_str(), &existing) == 0;
    if (exists && !S_ISREG(existing.st_mode)) {
        output.file = openFile(path, "w");  // a directory refuses here, as it always did
        return output;
    }
    if (exists && !acceptsWriting(path)) return output;
    output.partialPath = (exists ? replacedFile(path) : path) + partialSuffix;
    output.file = createPartial(output.partialPath, exists ? &existing : nullptr);
    if (!output.file) output.partialPath.clear();
    return output;
}

void failOutput(OutputFile& output) {
    const int errorNumber = errno;
    if (!output.partialPath.empty()) {
        (void)closeFile(output.file);  // may fail again on the same disk; the file goes anyway
        std::remove(output.partialPath.c_str());
    }
    endRunOnFailedWrite(output.path, errorNumber, output.log);
}

void startWriteBack(OutputFile& output) {
    output.bytesSinceWriteBack = 0;
    if (output.partialPath.empty()) return;
    // Only a hint: a failure here leaves the work to the sync.
    (void)::sync_file_range(::fileno(output.file.get()), 0, 0, SYNC_FILE_RANGE_WRITE);
}

void flushRow(OutputFile& output) { requireWritten(std::fflush(output.file.get()) == 0, output); }

void closeInPlace(OutputFile& output) {
    requireWritten(output.file == nullptr || flushed(output.file.get()), output);
    requireWritten(closeFile(output.file), output);
}

void commitWholeFile(OutputFile& output) {
    requireWritten(flushed(output.file.get()), output);
    if (output.partialPath.empty()) {
        requireWritten(closeFile(output.file), output);
        return;
    }
    requireWritten(syncedToDisk(output.file.get()), output);
    requireWritten(closeFile(output.file), output);
    const std::size_t suffixLength = std::char_traits<char>::length(partialSuffix);
    const std::string target =
        output.partialPath.substr(0, output.partialPath.size() - suffixLength);
    requireWritten(std::rename(output.partialPath.c_str(), target.c_str()) == 0, output);
    output.partialPath.clear();
}

bool closeFile(FileHandle& handle) {
    std::FILE* file = handle.release();
    return file == nullptr || std::fclose(file) == 0;
}

void requireLogWritten(bool isWritten, const RunState& state) {
    if (!isWritten) endRunOnFailedWrite(state.logPath, errno, nullptr);
}

}  // namespace sorvek
