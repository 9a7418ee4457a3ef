#include "points/byte_source.h"

#include <algorithm>
#include <cstring>

namespace sorvek {
namespace {

constexpr std::size_t refillSize = std::size_t{1} << 16;

// Keeps the unread bytes, moved to the front, and reads behind them until at least `wanted`
// bytes are held or the file ends. The buffer grows only for a run longer than it.
void refill(ByteSource& source, std::size_t wanted) {
    const std::size_t held = source.end - source.begin;
    std::memmove(source.buffer.data(), source.buffer.data() + source.begin, held);
    source.begin = 0;
    source.end = held;
    if (source.buffer.size() < std::max(wanted, refillSize)) {
        source.buffer.resize(std::max(wanted, refillSize));
    }
    while (source.end < wanted && !source.isExhausted) {
        const std::size_t got = std::fread(source.buffer.data() + source.end, 1,
                                           source.buffer.size() - source.end, source.file);
        source.end += got;
        if (got == 0) source.isExhausted = true;
    }
}

}  // namespace

ByteSource byteSourceOver(std::FILE* file) {
    ByteSource source;
    source.file = file;
    source.buffer.resize(refillSize);
    return source;
}

int nextByte(ByteSource& source) {
    if (source.begin == source.end) refill(source, 1);
    if (source.begin == source.end) return -1;
    ++source.position;
    return source.buffer[source.begin++];
}

std::span<const std::uint8_t> takeBytes(ByteSource& source, std::size_t count) {
    if (source.end - source.begin < count) refill(source, count);
    if (source.end - source.begin < count) return {};
    const std::span<const std::uint8_t> run(source.buffer.data() + source.begin, count);
    source.begin += count;
    source.position += static_cast<std::int64_t>(count);
    return run;
}

bool skipBytes(ByteSource& source, std::uint64_t count) {
    while (count > 0) {
        if (source.begin == source.end) refill(source, 1);
        const std::size_t held = source.end - source.begin;
        if (held == 0) return false;
        const std::size_t step = count < held ? static_cast<std::size_t>(count) : held;
        source.begin += step;
        source.position += static_cast<std::int64_t>(step);
        count -= step;
    }
    return true;
}

}  // namespace sorvek
