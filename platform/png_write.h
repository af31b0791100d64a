#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

// Writes 32-bit pixels as they lie in an X8R8G8B8 surface (little-endian B, G, R, X)
// to an RGB PNG file. `pitch` is the row length in bytes. False when the file
// cannot be written; nothing is left behind then.
// The same pixels as the bytes of a PNG file; empty for an empty image.
std::vector<uint8_t> encodePng(int width, int height, const void* pixels, int pitch);

bool writePng(const std::string& path, int width, int height, const void* pixels, int pitch);

}  // namespace platform
