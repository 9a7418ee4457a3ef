#include "support/scratch_dir.h"

#include <stdlib.h>

#include <system_error>
#include <utility>

namespace sorvek::testing {
namespace {

// Removal may not throw from a destructor; a folder that cannot be removed is left.
void removeTree(const std::filesystem::path& path) {
    if (path.empty()) return;
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

}  // namespace

ScratchDir::ScratchDir(const std::string& label) {
    std::error_code error;
    const std::filesystem::path temporary = std::filesystem::temp_directory_path(error);
    if (error) return;
    std::string pattern = (temporary / ("sorvek-" + label + "-XXXXXX")).string();
    if (mkdtemp(pattern.data()) == nullptr) return;
    path = pattern;
}

ScratchDir::~ScratchDir() { removeTree(path); }

ScratchDir::ScratchDir(ScratchDir&& other) noexcept : path(std::exchange(other.path, {})) {}

ScratchDir& ScratchDir::operator=(ScratchDir&& other) noexcept {
    if (this != &other) {
        removeTree(path);
        path = std::exchange(other.path, {});
    }
    return *this;
}

}  // namespace sorvek::testing
