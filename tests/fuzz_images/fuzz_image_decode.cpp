// The decode entry on any bytes: a result with a reason, or an image that matches its
// header, never a crash, a read outside the input or an allocation beyond the limits.
// What decodes then goes through the operations of the texture functions.
#include <cstdint>
#include <cstdlib>

#include "gfxhelper/image_decode.h"
#include "gfxhelper/image_ops.h"
#include "gfxhelper/pixel_format.h"

namespace {

// Smaller than the texture functions' limits, so that each run stays fast.
gfximage::Limits fuzzLimits() {
  gfximage::Limits limits;
  limits.maxDimension = 1024;
  limits.maxPixelBytes = 1u << 20;
  return limits;
}

void check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const gfximage::Limits limits = fuzzLimits();
  gfximage::ImageInfo info;
  const gfximage::Result header = gfximage::readInfo(data, size, &info, limits);
  gfximage::DecodedImage image;
  const gfximage::Result result = gfximage::decode(data, size, &image, limits);
  // stb_image may hold a few times the image while decoding, never more.
  check(gfximage::lastDecoderPeakBytes() <= (4u << 20) + 32 * limits.maxPixelBytes / 4);
  if (!result.ok()) {
    check(!result.reason.empty());
    return 0;
  }
  check(header.ok());
  check(image.info.width == info.width && image.info.height == info.height && image.info.type == info.type);
  check(static_cast<uint64_t>(info.width) * info.height * 4 <= limits.maxPixelBytes);
  check(image.levels.size() == info.mipLevels && !image.levels.empty());
  for (uint32_t level = 0; level < image.levels.size(); ++level) {
    const gfximage::Image& pixels = image.levels[level];
    check(pixels.width == gfximage::mipSize(info.width, level) && pixels.height == gfximage::mipSize(info.height, level));
    check(pixels.pixels.size() == static_cast<size_t>(pixels.width) * pixels.height * 4);
  }

  // What the texture functions do with a decoded image, on small ones.
  gfximage::Image& top = image.levels[0];
  if (static_cast<uint64_t>(top.width) * top.height > 4096) return 0;
  gfximage::applyColorKey(&top, 0xff000000u | top.pixels[2] | (top.pixels[1] << 8) | (top.pixels[0] << 16));
  gfximage::Image scaled, next;
  check(gfximage::resample(top, (top.width + 2) / 3 + 1, top.height * 2, gfximage::Filter::Box, &scaled).ok());
  check(gfximage::nextMipLevel(scaled, gfximage::Filter::Linear, &next).ok());
  gfximage::NormalMapOptions options;
  options.amplitude = 10.0f;
  options.occlusion = true;
  gfximage::Image normals;
  check(gfximage::computeNormalMap(top, options, &normals).ok());
  std::vector<uint8_t> blocks(static_cast<size_t>(gfximage::surfacePitch(gfximage::PixelFormat::DXT5, top.width)) *
                              gfximage::surfaceRows(gfximage::PixelFormat::DXT5, top.height));
  const size_t pitch = static_cast<size_t>(gfximage::surfacePitch(gfximage::PixelFormat::DXT5, top.width));
  check(gfximage::packSurface(gfximage::PixelFormat::DXT5, top, blocks.data(), pitch));
  gfximage::Image back;
  check(gfximage::unpackSurface(gfximage::PixelFormat::DXT5, blocks.data(), pitch, top.width, top.height, &back));
  return 0;
}
