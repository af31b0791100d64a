#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

// 32-bit pixels as they lie in an X8R8G8B8 surface (little-endian B, G, R, X) as the bytes
// of an RGB PNG file; `pitch` is the row length in bytes. Empty for an empty image.
std::vector<uint8_t> encodePng(int width, int height, const void* pixels, int pitch);

// The same pixels written to a PNG file. False when the file cannot be written; nothing
// is left behind then.
bool writePng(const std::string& path, int width, int height, const void* pixels, int pitch);

}  // namespace platform
