#pragma once
// Scratch folders that tests make and that remove themselves, so that a test run leaves
// nothing behind in the temporary folder, whether its checks pass or fail.

#include <filesystem>
#include <string>

namespace sorvek::testing {

// A fresh empty folder under the system's temporary folder ($TMPDIR when set), named
// after `label` and made unique; the folder and everything in it go when the value does.
// `path` is empty when the folder could not be made. Moving hands the folder on.
struct ScratchDir {
    std::filesystem::path path;  // absolute; empty after a move or a failure

    explicit ScratchDir(const std::string& label);
    ~ScratchDir();
    ScratchDir(ScratchDir&& other) noexcept;
    ScratchDir& operator=(ScratchDir&& other) noexcept;
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;
};

}  // namespace sorvek::testing
