#pragma once
// What one pair prints and writes, caught in memory. A process that computes pairs for
// another keeps each pair's console text, the point reader's messages, its log lines and
// its result row in the order they were written; the process that owns the console and
// the files writes them out unchanged. The stage code keeps printing with std::printf:
// the process's standard streams are pointed at the capture while it works.

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include "run/output_file.h"
#include "run/records.h"

namespace sorvek {

// Where a piece of captured text belongs.
enum class CaptureChannel : char {
    console = 'o',  // standard output
    errors = 'e',   // standard error
    log = 'l',      // the log file
    rows = 'r',     // the result file
};

// One stream's end: the text it receives goes, framed, into `framed`.
struct CaptureSink {
    std::string* framed = nullptr;
    CaptureChannel channel = CaptureChannel::console;
    bool hasLostText = false;  // memory ran out while a piece was kept; the piece is lost
};

// The streams hold the addresses of `sinks` and `framed`: a capture is opened where it
// lives and never moved or copied afterwards.
struct PairCapture {
    PairCapture() = default;
    PairCapture(const PairCapture&) = delete;
    PairCapture& operator=(const PairCapture&) = delete;

    std::string framed;                // pieces: channel byte, 32-bit length, the bytes
    std::array<CaptureSink, 4> sinks;  // one per channel, in the order of the streams below
    FileHandle console;                // line-buffered like a terminal's standard output
    FileHandle errors;                 // unbuffered like standard error
    FileHandle log;                    // stands in for the log file
    OutputFile rows;                   // stands in for the result file
    FileHandle noInput;                // a standard input that is always at its end
};

// Opens the streams. False when the C library cannot make them.
bool openPairCapture(PairCapture& capture);

// Flushes the streams and hands over what they caught since the last call.
std::string takeCapturedText(PairCapture& capture);

// True once any stream lost a piece of text for want of memory.
bool hasLostText(const PairCapture& capture);

// Where captured text is written out.
struct CaptureTargets {
    std::FILE* console = nullptr;
    std::FILE* errors = nullptr;
    std::FILE* log = nullptr;  // nullptr: log lines are dropped
    std::FILE* rows = nullptr;
};

// How writing captured text out went.
enum class ReplayOutcome {
    written,     // every piece reached its target (console and errors are not checked,
                 // as the stage code does not check its own console text either)
    damaged,     // a piece is cut short or names no channel; nothing after it was written
    rowsFailed,  // a write to the result file failed; errno tells why
    logFailed,   // a write to the log failed; errno tells why
};

// Writes every piece to its target, in the order caught, and stops at the first failure.
ReplayOutcome replayCapturedText(std::string_view framed, const CaptureTargets& targets);

// The three standard streams of the process.
struct StandardStreams {
    std::FILE* in = nullptr;
    std::FILE* out = nullptr;
    std::FILE* err = nullptr;
};

// Points stdin, stdout and stderr at the capture (the C library keeps them as variables
// that may be assigned) and returns the streams they had, for restoreStandardStreams.
// While they are redirected no other thread of the process may print.
StandardStreams redirectStandardStreams(PairCapture& capture);
void restoreStandardStreams(const StandardStreams& streams);

}  // namespace sorvek
