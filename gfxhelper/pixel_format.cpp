#include "gfxhelper/pixel_format.h"

#include <cstring>

#include "gfxhelper/dxt.h"

namespace gfximage {

namespace {

struct NamedLayout {
  PixelFormat format;
  MaskLayout layout;
};

const NamedLayout kLayouts[] = {
    {PixelFormat::A8R8G8B8, {32, 0x00ff0000, 0x0000ff00, 0x000000ff, 0xff000000, false}},
    {PixelFormat::X8R8G8B8, {32, 0x00ff0000, 0x0000ff00, 0x000000ff, 0, false}},
    {PixelFormat::A8B8G8R8, {32, 0x000000ff, 0x0000ff00, 0x00ff0000, 0xff000000, false}},
    {PixelFormat::X8B8G8R8, {32, 0x000000ff, 0x0000ff00, 0x00ff0000, 0, false}},
    {PixelFormat::A2R10G10B10, {32, 0x3ff00000, 0x000ffc00, 0x000003ff, 0xc0000000, false}},
    {PixelFormat::A2B10G10R10, {32, 0x000003ff, 0x000ffc00, 0x3ff00000, 0xc0000000, false}},
    {PixelFormat::G16R16, {32, 0x0000ffff, 0xffff0000, 0, 0, false}},
    {PixelFormat::R8G8B8, {24, 0xff0000, 0x00ff00, 0x0000ff, 0, false}},
    {PixelFormat::R5G6B5, {16, 0xf800, 0x07e0, 0x001f, 0, false}},
    {PixelFormat::X1R5G5B5, {16, 0x7c00, 0x03e0, 0x001f, 0, false}},
    {PixelFormat::A1R5G5B5, {16, 0x7c00, 0x03e0, 0x001f, 0x8000, false}},
    {PixelFormat::A4R4G4B4, {16, 0x0f00, 0x00f0, 0x000f, 0xf000, false}},
    {PixelFormat::X4R4G4B4, {16, 0x0f00, 0x00f0, 0x000f, 0, false}},
    {PixelFormat::A8R3G3B2, {16, 0x00e0, 0x001c, 0x0003, 0xff00, false}},
    {PixelFormat::A8L8, {16, 0x00ff, 0, 0, 0xff00, true}},
    {PixelFormat::L16, {16, 0xffff, 0, 0, 0, true}},
    {PixelFormat::R3G3B2, {8, 0xe0, 0x1c, 0x03, 0, false}},
    {PixelFormat::L8, {8, 0xff, 0, 0, 0, true}},
    {PixelFormat::A4L4, {8, 0x0f, 0, 0, 0xf0, true}},
    {PixelFormat::A8, {8, 0, 0, 0, 0xff, false}},
};

bool sameLayout(const MaskLayout& a, const MaskLayout& b) {
  return a.bits == b.bits && a.red == b.red && a.green == b.green && a.blue == b.blue && a.alpha == b.alpha &&
         a.luminance == b.luminance;
}

bool contiguous(uint32_t mask) {
  if (mask == 0) return true;
  while ((mask & 1) == 0) mask >>= 1;
  return (mask & (mask + 1)) == 0;
}

// Where a channel lies in a texel, and its largest value.
struct Channel {
  uint32_t mask = 0;
  uint32_t shift = 0;
  uint64_t top = 0;

  explicit Channel(uint32_t channelMask) : mask(channelMask) {
    if (mask == 0) return;
    while (((mask >> shift) & 1) == 0) ++shift;
    top = static_cast<uint64_t>(mask >> shift);
  }
  bool present() const { return mask != 0; }
  uint8_t read(uint32_t texel) const {
    const uint64_t value = (texel & mask) >> shift;
    return static_cast<uint8_t>((value * 255 + top / 2) / top);
  }
  uint32_t write(uint8_t value) const { return static_cast<uint32_t>((value * top + 127) / 255) << shift; }
};

uint32_t readTexel(const uint8_t* bytes, uint32_t count) {
  uint32_t value = 0;
  for (uint32_t i = 0; i < count; ++i) value |= static_cast<uint32_t>(bytes[i]) << (8 * i);
  return value;
}

void writeTexel(uint8_t* bytes, uint32_t count, uint32_t value) {
  for (uint32_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

bool packBlocks(PixelFormat format, const Image& source, uint8_t* destination, size_t pitch) {
  const uint32_t bytes = dxt::blockBytes(format);
  const uint32_t columns = (source.width + 3) / 4, rows = (source.height + 3) / 4;
  uint8_t texels[64];
  for (uint32_t by = 0; by < rows; ++by) {
    uint8_t* out = destination + by * pitch;
    for (uint32_t bx = 0; bx < columns; ++bx) {
      // A partial block repeats the last row and column of the image.
      for (uint32_t ty = 0; ty < 4; ++ty) {
        const uint32_t y = by * 4 + ty < source.height ? by * 4 + ty : source.height - 1;
        for (uint32_t tx = 0; tx < 4; ++tx) {
          const uint32_t x = bx * 4 + tx < source.width ? bx * 4 + tx : source.width - 1;
          std::memcpy(texels + (ty * 4 + tx) * 4, source.texel(x, y), 4);
        }
      }
      dxt::encodeBlock(format, texels, out + bx * bytes);
    }
  }
  return true;
}

void unpackBlocks(PixelFormat format, const uint8_t* source, size_t pitch, Image* image) {
  const uint32_t bytes = dxt::blockBytes(format);
  const uint32_t columns = (image->width + 3) / 4, rows = (image->height + 3) / 4;
  uint8_t texels[64];
  for (uint32_t by = 0; by < rows; ++by) {
    const uint8_t* in = source + by * pitch;
    for (uint32_t bx = 0; bx < columns; ++bx) {
      dxt::decodeBlock(format, in + bx * bytes, texels);
      for (uint32_t ty = 0; ty < 4 && by * 4 + ty < image->height; ++ty)
        for (uint32_t tx = 0; tx < 4 && bx * 4 + tx < image->width; ++tx)
          std::memcpy(image->texel(bx * 4 + tx, by * 4 + ty), texels + (ty * 4 + tx) * 4, 4);
    }
  }
}

}  // namespace

bool validLayout(const MaskLayout& layout) {
  if (layout.bits != 8 && layout.bits != 16 && layout.bits != 24 && layout.bits != 32) return false;
  const uint32_t masks[4] = {layout.red, layout.green, layout.blue, layout.alpha};
  bool any = false;
  for (uint32_t mask : masks) {
    if (layout.bits < 32 && (mask >> layout.bits) != 0) return false;
    if (!contiguous(mask)) return false;
    any = any || mask != 0;
  }
  if (layout.luminance && (layout.green != 0 || layout.blue != 0)) return false;
  return any;
}

bool layoutOf(PixelFormat format, MaskLayout* layout) {
  for (const NamedLayout& named : kLayouts)
    if (named.format == format) {
      *layout = named.layout;
      return true;
    }
  return false;
}

PixelFormat formatOfLayout(const MaskLayout& layout) {
  for (const NamedLayout& named : kLayouts)
    if (sameLayout(named.layout, layout)) return named.format;
  return PixelFormat::Unknown;
}

bool isKnownFormat(PixelFormat format) {
  MaskLayout layout;
  return dxt::isBlockFormat(format) || layoutOf(format, &layout);
}

bool hasAlpha(PixelFormat format) {
  if (dxt::isBlockFormat(format)) return true;  // DXT1 has its transparent colour
  MaskLayout layout;
  return layoutOf(format, &layout) && layout.alpha != 0;
}

bool isLuminanceOnly(PixelFormat format) {
  MaskLayout layout;
  return layoutOf(format, &layout) && layout.luminance;
}

uint64_t surfacePitch(PixelFormat format, uint32_t width) {
  if (const uint32_t bytes = dxt::blockBytes(format)) return static_cast<uint64_t>((width + 3) / 4) * bytes;
  MaskLayout layout;
  if (!layoutOf(format, &layout)) return 0;
  return static_cast<uint64_t>(width) * (layout.bits / 8);
}

uint32_t surfaceRows(PixelFormat format, uint32_t height) {
  if (dxt::isBlockFormat(format)) return (height + 3) / 4;
  return isKnownFormat(format) ? height : 0;
}

uint8_t luminanceOf(uint8_t red, uint8_t green, uint8_t blue) {
  return static_cast<uint8_t>((red * 2125u + green * 7154u + blue * 721u + 5000u) / 10000u);
}

void unpackRow(const MaskLayout& layout, const uint8_t* source, uint32_t width, uint8_t* bgra) {
  const uint32_t bytes = layout.bits / 8;
  const Channel red(layout.red), green(layout.green), blue(layout.blue), alpha(layout.alpha);
  for (uint32_t x = 0; x < width; ++x, source += bytes, bgra += 4) {
    const uint32_t texel = readTexel(source, bytes);
    if (layout.luminance) {
      const uint8_t level = red.present() ? red.read(texel) : 0;
      bgra[0] = bgra[1] = bgra[2] = level;
    } else {
      bgra[0] = blue.present() ? blue.read(texel) : 0;
      bgra[1] = green.present() ? green.read(texel) : 0;
      bgra[2] = red.present() ? red.read(texel) : 0;
    }
    bgra[3] = alpha.present() ? alpha.read(texel) : 255;
  }
}

void packRow(const MaskLayout& layout, const uint8_t* bgra, uint32_t width, uint8_t* destination) {
  const uint32_t bytes = layout.bits / 8;
  const Channel red(layout.red), green(layout.green), blue(layout.blue), alpha(layout.alpha);
  for (uint32_t x = 0; x < width; ++x, destination += bytes, bgra += 4) {
    uint32_t texel = 0;
    if (layout.luminance) {
      if (red.present()) texel |= red.write(luminanceOf(bgra[2], bgra[1], bgra[0]));
    } else {
      if (red.present()) texel |= red.write(bgra[2]);
      if (green.present()) texel |= green.write(bgra[1]);
      if (blue.present()) texel |= blue.write(bgra[0]);
    }
    if (alpha.present()) texel |= alpha.write(bgra[3]);
    // Bits outside every mask (the X of X8R8G8B8) are written as ones, as devices do.
    const uint32_t unused = ~(layout.red | layout.green | layout.blue | layout.alpha);
    texel |= unused & (layout.bits == 32 ? 0xffffffffu : ((1u << layout.bits) - 1));
    writeTexel(destination, bytes, texel);
  }
}

bool packSurface(PixelFormat format, const Image& source, uint8_t* destination, size_t pitch) {
  if (format == PixelFormat::DXT1 || format == PixelFormat::DXT3 || format == PixelFormat::DXT5)
    return packBlocks(format, source, destination, pitch);
  MaskLayout layout;
  if (!layoutOf(format, &layout)) return false;
  for (uint32_t y = 0; y < source.height; ++y) {
    uint8_t* out = destination + y * pitch;
    if (format == PixelFormat::A8R8G8B8) {
      std::memcpy(out, source.row(y), source.rowBytes());
    } else {
      packRow(layout, source.row(y), source.width, out);
    }
  }
  return true;
}

bool unpackSurface(PixelFormat format, const uint8_t* source, size_t pitch, uint32_t width, uint32_t height,
                   Image* image) {
  MaskLayout layout;
  const bool blocks = dxt::isBlockFormat(format);
  if (!blocks && !layoutOf(format, &layout)) return false;
  if (!image->allocate(width, height)) return false;
  if (blocks) {
    unpackBlocks(format, source, pitch, image);
    return true;
  }
  for (uint32_t y = 0; y < height; ++y) {
    const uint8_t* in = source + y * pitch;
    if (format == PixelFormat::A8R8G8B8) {
      std::memcpy(image->row(y), in, image->rowBytes());
    } else {
      unpackRow(layout, in, width, image->row(y));
    }
  }
  return true;
}

}  // namespace gfximage
