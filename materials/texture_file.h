#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ts3d {

// What the file textures share about the image files they name.

// Reads the whole file at path into bytes. A file that can't be read whole is as good as none:
// bytes stay empty and the warning "texture \"path\" not embeddable." is shown.
bool embedFile(const std::string& path, std::vector<uint8_t>& bytes);

// The debug line of an image file the device texture couldn't be made from.
void reportUnreadableImage(const std::string& path);

}  // namespace ts3d
