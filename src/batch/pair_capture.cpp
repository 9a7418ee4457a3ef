#include "batch/pair_capture.h"

#include <cstdint>
#include <cstring>
#include <new>

// The streams are the C library's own custom streams (fopencookie), so that printf,
// fprintf and fwrite reach the capture without any change to the code that calls them.
namespace sorvek {
namespace {

constexpr std::size_t frameHead = 1 + sizeof(std::uint32_t);

// Called from inside the C library's printf, which no exception may cross: running out of
// memory is kept on the sink, and the write fails as the cookie interface has it, with 0.
ssize_t appendPiece(void* cookie, const char* bytes, std::size_t byteCount) noexcept {
    auto* sink = static_cast<CaptureSink*>(cookie);
    // A single write never comes near 4 GiB: the C library hands over one buffer at a time.
    const auto length = static_cast<std::uint32_t>(byteCount);
    char head[frameHead];
    head[0] = static_cast<char>(sink->channel);
    std::memcpy(head + 1, &length, sizeof length);
    const std::size_t keptSize = sink->framed->size();
    try {
        sink->framed->append(head, frameHead);
        sink->framed->append(bytes, byteCount);
    } catch (const std::bad_alloc&) {
        sink->framed->resize(keptSize);  // no piece cut short: the frames stay readable
        sink->hasLostText = true;
        return 0;
    }
    return static_cast<ssize_t>(byteCount);
}

ssize_t readNothing(void*, char*, std::size_t) { return 0; }

FileHandle openSink(CaptureSink& sink, int bufferMode) {
    cookie_io_functions_t functions{};
    functions.write = appendPiece;
    FileHandle stream(fopencookie(&sink, "w", functions));
    if (stream && bufferMode != _IOFBF) std::setvbuf(stream.get(), nullptr, bufferMode, BUFSIZ);
    return stream;
}

}  // namespace

bool openPairCapture(PairCapture& capture) {
    const CaptureChannel channels[] = {CaptureChannel::console, CaptureChannel::errors,
                                       CaptureChannel::log, CaptureChannel::rows};
    for (std::size_t i = 0; i < capture.sinks.size(); ++i) {
        capture.sinks[i] = CaptureSink{&capture.framed, channels[i]};
    }
    capture.console = openSink(capture.sinks[0], _IOLBF);
    capture.errors = openSink(capture.sinks[1], _IONBF);
    capture.log = openSink(capture.sinks[2], _IOFBF);
    capture.rows.file = openSink(capture.sinks[3], _IOFBF);
    capture.rows.path = "the result file";
    cookie_io_functions_t functions{};
    functions.read = readNothing;
    capture.noInput = FileHandle(fopencookie(nullptr, "r", functions));
    return capture.console && capture.errors && capture.log && capture.rows.file && capture.noInput;
}

std::string takeCapturedText(PairCapture& capture) {
    for (const FileHandle* stream :
         {&capture.console, &capture.errors, &capture.log, &capture.rows.file}) {
        if (*stream) std::fflush(stream->get());
    }
    std::string text = std::move(capture.framed);
    capture.framed.clear();
    return text;
}

bool hasLostText(const PairCapture& capture) {
    for (const CaptureSink& sink : capture.sinks) {
        if (sink.hasLostText) return true;
    }
    return false;
}

ReplayOutcome replayCapturedText(std::string_view framed, const CaptureTargets& targets) {
    while (!framed.empty()) {
        if (framed.size() < frameHead) return ReplayOutcome::damaged;
        std::uint32_t length = 0;
        std::memcpy(&length, framed.data() + 1, sizeof length);
        if (framed.size() - frameHead < length) return ReplayOutcome::damaged;
        const std::string_view piece = framed.substr(frameHead, length);
        const auto write = [&](std::FILE* target) {
            return target == nullptr ||
                   std::fwrite(piece.data(), 1, piece.size(), target) == piece.size();
        };
        switch (static_cast<CaptureChannel>(framed[0])) {
        case CaptureChannel::console: (void)write(targets.console); break;
        case CaptureChannel::errors: (void)write(targets.errors); break;
        case CaptureChannel::log:
            if (!write(targets.log)) return ReplayOutcome::logFailed;
            break;
        case CaptureChannel::rows:
            if (!write(targets.rows)) return ReplayOutcome::rowsFailed;
            break;
        default: return ReplayOutcome::damaged;
        }
        framed.remove_prefix(frameHead + length);
    }
    return ReplayOutcome::written;
}

StandardStreams redirectStandardStreams(PairCapture& capture) {
    const StandardStreams saved{stdin, stdout, stderr};
    std::fflush(stdout);
    stdin = capture.noInput.get();
    stdout = capture.console.get();
    stderr = capture.errors.get();
    return saved;
}

void restoreStandardStreams(const StandardStreams& streams) {
    std::fflush(stdout);
    std::fflush(stderr);
    stdin = streams.in;
    stdout = streams.out;
    stderr = streams.err;
}

}  // namespace sorvek
