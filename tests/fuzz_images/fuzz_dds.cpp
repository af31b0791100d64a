// The DDS reader on any bytes: a refusal with a reason, or surfaces that all lie
// within the input and decode; never a crash, a read outside the input or an
// allocation from an unchecked size.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "gfxhelper/dds.h"
#include "gfxhelper/pixel_format.h"

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The reader's own limits, which the texture functions use: every size is checked
  // against the bytes present before anything is allocated.
  gfximage::dds::File file;
  const gfximage::Result result = gfximage::dds::parse(data, size, &file);
  if (!result.ok()) {
    check(!result.reason.empty());
    return 0;
  }
  check(file.surfaces.size() == static_cast<size_t>(file.faces) * file.mipLevels);
  check(file.compressed ? gfximage::isKnownFormat(file.format) : gfximage::validLayout(file.layout));
  for (const gfximage::dds::Surface& surface : file.surfaces) {
    check(surface.offset >= gfximage::dds::kHeaderBytes && surface.offset <= size && surface.size <= size - surface.offset);
    check(surface.size == surface.pitch * surface.rows);
  }
  for (uint32_t face = 0; face < file.faces; ++face) {
    for (uint32_t level = 0; level < file.mipLevels; ++level) {
      gfximage::Image image;
      check(gfximage::dds::decodeSurface(data, size, file, face, level, &image).ok());
      const gfximage::dds::Surface& surface = file.surface(face, level);
      check(image.width == surface.width && image.height == surface.height);
      // A known layout writes back to the very bytes it was read from, but for bits
      // outside its masks; block formats re-encode to blocks that decode again.
      if (file.compressed) {
        if (file.format == gfximage::PixelFormat::DXT2 || file.format == gfximage::PixelFormat::DXT4) continue;
        std::vector<uint8_t> blocks(surface.size);
        check(gfximage::packSurface(file.format, image, blocks.data(), surface.pitch));
        gfximage::Image again;
        check(gfximage::unpackSurface(file.format, blocks.data(), surface.pitch, surface.width, surface.height, &again));
      } else if (file.format != gfximage::PixelFormat::Unknown) {
        // Channels of more than 8 bits lose their low bits through B, G, R, A.
        const gfximage::PixelFormat wide[] = {gfximage::PixelFormat::A2B10G10R10, gfximage::PixelFormat::A2R10G10B10,
                                              gfximage::PixelFormat::G16R16, gfximage::PixelFormat::L16};
        bool exact = true;
        for (gfximage::PixelFormat format : wide) exact = exact && file.format != format;
        if (!exact) continue;
        const gfximage::MaskLayout& layout = file.layout;
        const uint32_t used = layout.red | layout.green | layout.blue | layout.alpha;
        const uint32_t bytes = layout.bits / 8;
        std::vector<uint8_t> written(surface.size);
        check(gfximage::packSurface(file.format, image, written.data(), surface.pitch));
        const uint8_t* original = data + surface.offset;
        for (size_t texel = 0; texel + bytes <= surface.size; texel += bytes) {
          uint32_t a = 0, b = 0;
          for (uint32_t i = 0; i < bytes; ++i) {
            a |= static_cast<uint32_t>(original[texel + i]) << (8 * i);
            b |= static_cast<uint32_t>(written[texel + i]) << (8 * i);
          }
          check((a & used) == (b & used));
        }
      }
    }
  }
  return 0;
}
