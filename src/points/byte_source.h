#pragma once
// Buffered reading of a file byte by byte and in runs, for headers and for data whose
// layout is only known as it is read (PLY text, PLY lists).

#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

namespace sorvek {

struct ByteSource {
    std::FILE* file = nullptr;         // borrowed; read from its current position on
    std::vector<std::uint8_t> buffer;  // bytes read ahead
    std::size_t begin = 0;             // next unread byte of buffer
    std::size_t end = 0;               // end of the bytes held in buffer
    std::int64_t position = 0;         // file offset of buffer[begin]
    bool isExhausted = false;          // the file gave no more bytes
};

// A source over `file`, whose current position is the start of the file.
ByteSource byteSourceOver(std::FILE* file);

// The next byte, or -1 at the end of the file.
int nextByte(ByteSource& source);

// `count` bytes in a row, or an empty span when the file ends before them. The span is
// valid until the next call on the source.
std::span<const std::uint8_t> takeBytes(ByteSource& source, std::size_t count);

// Passes over `count` bytes; false when the file ends before them.
bool skipBytes(ByteSource& source, std::uint64_t count);

}  // namespace sorvek
