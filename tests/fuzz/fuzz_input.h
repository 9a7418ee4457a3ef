#pragma once
// Fuzz input as the readers meet it: a stream over the bytes, or a scratch file.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace sorvek::fuzzing {

// A read-only stream over a copy of the bytes; closed and freed at the end of scope.
struct ByteStream {
    std::vector<std::uint8_t> bytes;
    std::FILE* file = nullptr;
    ByteStream(const std::uint8_t* data, std::size_t size) : bytes(data, data + size) {
        if (!bytes.empty()) file = fmemopen(bytes.data(), bytes.size(), "r");
    }
    ~ByteStream() {
        if (file != nullptr) std::fclose(file);
    }
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;
};

// The bytes written to a file of this process's own, removed at the end of scope.
struct ScratchFile {
    std::string path;
    ScratchFile(const std::uint8_t* data, std::size_t size, const char* extension) {
        std::error_code error;
        const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
        path = ((error ? std::filesystem::path("/tmp") : folder) /
                ("sorvek-fuzz-" + std::to_string(getpid()) + extension)).string();
        if (std::FILE* file = std::fopen(path.c_str(), "wb")) {
            std::fwrite(data, 1, size, file);
            std::fclose(file);
        }
    }
    ~ScratchFile() { std::remove(path.c_str()); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
};

}  // namespace sorvek::fuzzing
