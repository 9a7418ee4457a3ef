#pragma once
// Output files whose every write is checked. A file written whole (a rotated cloud, an
// exported cloud, a matrix) goes to a partial name beside its final one and takes the
// final name only when it is complete and closed; rows and the log are written in place.
// The first write that fails ends the run through the one door.

#include <cstdint>
#include <cstdio>
#include <string>

#include "run/records.h"

namespace sorvek {

// What a killed run leaves of a file written whole: "<final name>.sorvek-partial". The
// next run that writes the same file replaces it.
inline constexpr const char* partialSuffix = ".sorvek-partial";

struct OutputFile {
    FileHandle file;           // empty when the file could not be created
    std::string path;          // the final name, as every message shows it
    std::string partialPath;   // where a whole file's bytes go until complete; empty: in place
    std::FILE* log = nullptr;  // told of a failure besides the console; borrowed, may be null
    std::int64_t bytesSinceWriteBack = 0;  // printed since the disk last got the file's bytes
};

// How much of a whole file is printed before its bytes are sent on towards the disk.
inline constexpr std::int64_t writeBackBytes = std::int64_t{8} << 20;

// Opens `path` with `mode` ("w" or "a") and writes in place. Empty handle on failure.
OutputFile openInPlace(const std::string& path, const char* mode, std::FILE* log);

// Creates the partial file of `path`. Empty handle, with errno set, where opening `path`
// for writing would fail: a directory, a file that refuses writing, a folder that does not
// exist or refuses new files. A device or a pipe under `path` is written in place, and a
// symbolic link keeps pointing where it did: its target receives the new file.
OutputFile createWholeFile(const std::string& path, std::FILE* log);

// Removes the partial file, if any, and ends the run naming output.path. Reads errno
// first, so call it straight after the call that failed.
[[noreturn]] void failOutput(OutputFile& output);

inline void requireWritten(bool isWritten, OutputFile& output) {
    if (!isWritten) failOutput(output);
}

// Sends what has reached a whole file on towards the disk without waiting for it, so that
// the sync before the rename finds little left to do. Files written in place are left to
// the system.
void startWriteBack(OutputFile& output);

// Checks the count that one fprintf to `output` returned.
inline void requirePrinted(int printedCount, OutputFile& output) {
    if (printedCount < 0) failOutput(output);
    output.bytesSinceWriteBack += printedCount;
    if (output.bytesSinceWriteBack >= writeBackBytes) startWriteBack(output);
}

// A row is on disk once this returns.
void flushRow(OutputFile& output);

// Closes a file written in place; a failed close ends the run.
void closeInPlace(OutputFile& output);

// Flushes, syncs to disk, closes, and renames the partial file to the final name, so that
// even after a power cut the final name holds the old file or the whole new one.
void commitWholeFile(OutputFile& output);

// Closes the file now and reports whether everything buffered reached it. An empty handle
// closes nothing and succeeds.
bool closeFile(FileHandle& handle);

// Ends the run unless `isWritten`; the log's own failure can only go to the console.
void requireLogWritten(bool isWritten, const RunState& state);

}  // namespace sorvek
