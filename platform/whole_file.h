#pragma once

#include <cstddef>
#include <string>

namespace platform {

// Writes the bytes to `path` through a temporary file beside it ("<path>.part"), renamed
// over `path` once complete: the file appears whole or not at all. False on failure, with
// nothing left behind and an existing file at `path` untouched.
bool writeWholeFile(const std::string& path, const void* data, size_t size);

}  // namespace platform
