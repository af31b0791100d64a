// The decode entry on any bytes: a result with a reason, or an image that matches its
// header, never a crash, a read outside the input or an allocation beyond the limits.
// What decodes then goes through the operations of the texture functions.
#include <cstdint>
#include <cstdlib>

#include "gfxhelper/image_decode.h"
#include "gfxhelper/image_ops.h"

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

// Smaller than the texture functions' limits, so that each run stays fast.
constexpr uint32_t kMaxDimension = 1024, kMaxPixelBytes = 1u << 20, kMaxOperatedTexels = 4096;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  gfximage::Limits limits;
  limits.maxDimension = kMaxDimension;
  limits.maxPixelBytes = kMaxPixelBytes;
  gfximage::ImageInfo info;
  const gfximage::Result header = gfximage::readInfo(data, size, &info, limits);
  gfximage::DecodedImage image;
  const gfximage::Result result = gfximage::decode(data, size, &image, limits);
  if (!result.ok()) {
    check(!result.reason.empty());
    return 0;
  }
  check(header.ok() && image.info.width == info.width && image.info.height == info.height && image.info.type == info.type &&
        static_cast<uint64_t>(info.width) * info.height * 4 <= limits.maxPixelBytes &&
        image.levels.size() == info.mipLevels && !image.levels.empty());
  for (uint32_t level = 0; level < image.levels.size(); ++level) {
    const gfximage::Image& pixels = image.levels[level];
    check(pixels.width == gfximage::mipSize(info.width, level) && pixels.height == gfximage::mipSize(info.height, level) &&
          pixels.pixels.size() == static_cast<size_t>(pixels.width) * pixels.height * 4);
  }

  gfximage::Image& top = image.levels[0];
  if (static_cast<uint64_t>(top.width) * top.height > kMaxOperatedTexels) return 0;
  gfximage::applyColorKey(&top, 0xff000000u | top.pixels[2] | (top.pixels[1] << 8) | (top.pixels[0] << 16));
  gfximage::Image scaled, next, normals;
  gfximage::NormalMapOptions options;
  options.occlusion = true;
  check(gfximage::resample(top, (top.width + 2) / 3 + 1, top.height * 2, gfximage::Filter::Box, &scaled).ok() &&
        gfximage::nextMipLevel(scaled, gfximage::Filter::Linear, &next).ok() &&
        gfximage::computeNormalMap(top, options, &normals).ok());
  return 0;
}
