#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace platform {

// Writes the bytes to `path` through a temporary file beside it ("<path>.part"), renamed
// over `path` once complete: the file appears whole or not at all. False on failure, with
// nothing left behind and an existing file at `path` untouched.
bool writeWholeFile(const std::string& path, const void* data, size_t size);

// The file's bytes into `bytes`; false when it can't be opened or read, or is larger than
// `limit` bytes.
bool readWholeFile(const std::string& path, std::vector<uint8_t>& bytes, size_t limit);

}  // namespace platform
