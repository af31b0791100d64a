#pragma once

#include <cstdint>
#include <string>

namespace platform {

// Writes 32-bit pixels as they lie in an X8R8G8B8 surface (little-endian B, G, R, X)
// to an RGB PNG file. `pitch` is the row length in bytes. False when the file
// cannot be written; nothing is left behind then.
bool writePng(const std::string& path, int width, int height, const void* pixels, int pitch);

}  // namespace platform
