// The DDS reader on any bytes: a refusal with a reason, or surfaces that all lie within the
// input and decode; never a crash, a read outside the input or an allocation from an
// unchecked size. What is read writes back through the encoders.
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
  gfximage::dds::File file;
  const gfximage::Result result = gfximage::dds::parse(data, size, &file);
  if (!result.ok()) {
    check(!result.reason.empty());
    return 0;
  }
  check(file.surfaces.size() == static_cast<size_t>(file.faces) * file.mipLevels &&
        (file.compressed ? gfximage::isKnownFormat(file.format) : gfximage::validLayout(file.layout)));
  for (uint32_t face = 0; face < file.faces; ++face) {
    for (uint32_t level = 0; level < file.mipLevels; ++level) {
      const gfximage::dds::Surface& surface = file.surface(face, level);
      gfximage::Image image;
      check(surface.offset >= gfximage::dds::kHeaderBytes && surface.offset <= size && surface.size <= size - surface.offset &&
            surface.size == surface.pitch * surface.rows &&
            gfximage::dds::decodeSurface(data, size, file, face, level, &image).ok() &&
            image.width == surface.width && image.height == surface.height);
      if (file.format == gfximage::PixelFormat::Unknown) continue;
      std::vector<uint8_t> written(surface.size);
      // Premultiplied block forms are read, never written.
      const bool premultiplied = file.format == gfximage::PixelFormat::DXT2 || file.format == gfximage::PixelFormat::DXT4;
      check(gfximage::packSurface(file.format, image, written.data(), surface.pitch) != premultiplied);
      // Texels read from a layout write back to bytes that read as the same texels.
      gfximage::Image again;
      check(file.compressed || (gfximage::unpackSurface(file.format, written.data(), surface.pitch, image.width,
                                                        image.height, &again) &&
                                again.pixels == image.pixels));
    }
  }
  return 0;
}
