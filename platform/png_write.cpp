#include "platform/png_write.h"

#include <vector>

#include "platform/whole_file.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#include "stb_image_write.h"

namespace platform {

std::vector<uint8_t> encodePng(int width, int height, const void* pixels, int pitch) {
  if (width <= 0 || height <= 0) return {};
  std::vector<unsigned char> rgb(static_cast<size_t>(width) * height * 3);
  for (int y = 0; y < height; ++y) {
    const auto* row = static_cast<const unsigned char*>(pixels) + static_cast<size_t>(y) * pitch;
    unsigned char* out = &rgb[static_cast<size_t>(y) * width * 3];
    for (int x = 0; x < width; ++x) {
      out[3 * x + 0] = row[4 * x + 2];
      out[3 * x + 1] = row[4 * x + 1];
      out[3 * x + 2] = row[4 * x + 0];
    }
  }
  std::vector<uint8_t> file;
  stbi_write_png_to_func(
      [](void* context, void* data, int size) {
        auto* bytes = static_cast<std::vector<uint8_t>*>(context);
        bytes->insert(bytes->end(), static_cast<uint8_t*>(data), static_cast<uint8_t*>(data) + size);
      },
      &file, width, height, 3, rgb.data(), width * 3);
  return file;
}

bool writePng(const std::string& path, int width, int height, const void* pixels, int pitch) {
  const std::vector<uint8_t> file = encodePng(width, height, pixels, pitch);
  return !file.empty() && writeWholeFile(path, file.data(), file.size());
}

}  // namespace platform
