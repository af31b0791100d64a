#include "gfxhelper/image.h"

namespace gfximage {

namespace {

std::string byteCount(uint64_t bytes) {
  if (bytes >= (1u << 20) && bytes % (1u << 20) == 0) return std::to_string(bytes >> 20) + " MB";
  return std::to_string(bytes) + " bytes";
}

}  // namespace

Result checkDimensions(uint32_t width, uint32_t height, const Limits& limits) {
  if (width == 0 || height == 0) return Result::failure(Status::InvalidData, "the image has no pixels");
  if (width > limits.maxDimension || height > limits.maxDimension)
    return Result::failure(Status::TooLarge, "the image is " + std::to_string(width) + " x " + std::to_string(height) +
                                                 ", above the limit of " + std::to_string(limits.maxDimension) + " x " +
                                                 std::to_string(limits.maxDimension));
  if (static_cast<uint64_t>(width) * height * 4 > limits.maxPixelBytes)
    return Result::failure(Status::TooLarge, "the image's " + std::to_string(width) + " x " + std::to_string(height) +
                                                 " pixels exceed the limit of " + byteCount(limits.maxPixelBytes));
  return Result::success();
}

bool Image::allocate(uint32_t newWidth, uint32_t newHeight) {
  try {
    pixels.assign(static_cast<size_t>(newWidth) * newHeight * 4, 0);
  } catch (...) {
    pixels.clear();
    width = height = 0;
    return false;
  }
  width = newWidth;
  height = newHeight;
  return true;
}

uint32_t fullMipChain(uint32_t width, uint32_t height) {
  uint32_t size = width > height ? width : height;
  uint32_t levels = 1;
  while (size > 1) {
    size >>= 1;
    ++levels;
  }
  return levels;
}

}  // namespace gfximage
