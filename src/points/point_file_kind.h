#pragma once
// Telling a text point file from a binary one before either reader runs.

#include <string>

namespace sorvek {

// True for a file that opens, holds at least 32 bytes, and whose first min(512, size)
// bytes are all printable ASCII, tab, carriage return or line feed.
bool isTextPointFile(const std::string& path);

}  // namespace sorvek
