#include <gtest/gtest.h>

#include "gfxhelper/pixel_format.h"

namespace {

using gfximage::Image;
using gfximage::MaskLayout;
using gfximage::PixelFormat;

Image oneTexel(uint8_t b, uint8_t g, uint8_t r, uint8_t a) {
  Image image;
  image.allocate(1, 1);
  image.pixels = {b, g, r, a};
  return image;
}

uint32_t packOne(PixelFormat format, uint8_t b, uint8_t g, uint8_t r, uint8_t a) {
  uint8_t bytes[4] = {};
  EXPECT_TRUE(gfximage::packSurface(format, oneTexel(b, g, r, a), bytes, 4));
  return static_cast<uint32_t>(bytes[0]) | (static_cast<uint32_t>(bytes[1]) << 8) |
         (static_cast<uint32_t>(bytes[2]) << 16) | (static_cast<uint32_t>(bytes[3]) << 24);
}

std::vector<uint8_t> unpackOne(PixelFormat format, uint32_t value) {
  const uint8_t bytes[4] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
                            static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)};
  Image image;
  EXPECT_TRUE(gfximage::unpackSurface(format, bytes, 4, 1, 1, &image));
  return image.pixels;
}

TEST(PixelFormat, KnownPackingsOfPureColours) {
  EXPECT_EQ(packOne(PixelFormat::R5G6B5, 0, 0, 255, 255) & 0xffff, 0xF800u);
  EXPECT_EQ(packOne(PixelFormat::R5G6B5, 0, 255, 0, 255) & 0xffff, 0x07E0u);
  EXPECT_EQ(packOne(PixelFormat::R5G6B5, 255, 0, 0, 255) & 0xffff, 0x001Fu);
  EXPECT_EQ(packOne(PixelFormat::A1R5G5B5, 0, 0, 255, 255) & 0xffff, 0xFC00u);
  EXPECT_EQ(packOne(PixelFormat::A1R5G5B5, 0, 0, 255, 0) & 0xffff, 0x7C00u);
  EXPECT_EQ(packOne(PixelFormat::A4R4G4B4, 0x00, 0x44, 0x88, 0xff) & 0xffff, 0xF840u);
  EXPECT_EQ(packOne(PixelFormat::A8R8G8B8, 0x11, 0x22, 0x33, 0x44), 0x44332211u);
  EXPECT_EQ(packOne(PixelFormat::A8B8G8R8, 0x11, 0x22, 0x33, 0x44), 0x44112233u);
  EXPECT_EQ(packOne(PixelFormat::X8R8G8B8, 0x11, 0x22, 0x33, 0x00), 0xFF332211u) << "unused bits are ones";
  EXPECT_EQ(packOne(PixelFormat::R8G8B8, 0x11, 0x22, 0x33, 0x44) & 0xffffff, 0x332211u);
  EXPECT_EQ(packOne(PixelFormat::A8, 0x11, 0x22, 0x33, 0x44) & 0xff, 0x44u);
  EXPECT_EQ(packOne(PixelFormat::A2R10G10B10, 0, 0, 255, 255), 0xFFF00000u);
}

TEST(PixelFormat, LuminanceUsesTheWeightsOfRedGreenAndBlue) {
  // 0.2125 * 255 = 54.2, 0.7154 * 255 = 182.4, 0.0721 * 255 = 18.4.
  EXPECT_EQ(packOne(PixelFormat::L8, 0, 0, 255, 255) & 0xff, 54u);
  EXPECT_EQ(packOne(PixelFormat::L8, 0, 255, 0, 255) & 0xff, 182u);
  EXPECT_EQ(packOne(PixelFormat::L8, 255, 0, 0, 255) & 0xff, 18u);
  EXPECT_EQ(packOne(PixelFormat::L8, 77, 77, 77, 255) & 0xff, 77u);
  EXPECT_EQ(packOne(PixelFormat::A8L8, 200, 200, 200, 9) & 0xffff, 0x09C8u);
}

TEST(PixelFormat, ReadingFillsMissingChannels) {
  EXPECT_EQ(unpackOne(PixelFormat::L8, 0x40), (std::vector<uint8_t>{0x40, 0x40, 0x40, 255}));
  EXPECT_EQ(unpackOne(PixelFormat::A8, 0x40), (std::vector<uint8_t>{0, 0, 0, 0x40}));
  EXPECT_EQ(unpackOne(PixelFormat::X8R8G8B8, 0x00102030), (std::vector<uint8_t>{0x30, 0x20, 0x10, 255}));
  EXPECT_EQ(unpackOne(PixelFormat::A4L4, 0x3C), (std::vector<uint8_t>{0xCC, 0xCC, 0xCC, 0x33}));
  // 5 bits of 16 widen to 16 * 255 / 31 = 131.6.
  EXPECT_EQ(unpackOne(PixelFormat::R5G6B5, 16u << 11), (std::vector<uint8_t>{0, 0, 132, 255}));
}

// Every value of every channel of every layout survives B, G, R, A and back.
TEST(PixelFormat, EveryChannelValueRoundTrips) {
  const PixelFormat formats[] = {PixelFormat::A8R8G8B8, PixelFormat::X8R8G8B8,   PixelFormat::A8B8G8R8,
                                 PixelFormat::X8B8G8R8, PixelFormat::R8G8B8,     PixelFormat::R5G6B5,
                                 PixelFormat::X1R5G5B5, PixelFormat::A1R5G5B5,   PixelFormat::A4R4G4B4,
                                 PixelFormat::X4R4G4B4, PixelFormat::R3G3B2,     PixelFormat::A8R3G3B2,
                                 PixelFormat::A8,       PixelFormat::L8,         PixelFormat::A8L8,
                                 PixelFormat::A4L4};
  for (PixelFormat format : formats) {
    MaskLayout layout;
    ASSERT_TRUE(gfximage::layoutOf(format, &layout));
    const uint32_t masks[4] = {layout.red, layout.green, layout.blue, layout.alpha};
    for (uint32_t mask : masks) {
      if (mask == 0) continue;
      uint32_t shift = 0;
      while (((mask >> shift) & 1) == 0) ++shift;
      const uint32_t top = mask >> shift;
      for (uint32_t value = 0; value <= top; ++value) {
        const uint32_t texel = value << shift;
        const std::vector<uint8_t> bgra = unpackOne(format, texel);
        const uint32_t back = packOne(format, bgra[0], bgra[1], bgra[2], bgra[3]);
        EXPECT_EQ((back & mask) >> shift, value)
            << "format " << static_cast<uint32_t>(format) << " mask " << std::hex << mask << " value " << value;
      }
    }
  }
}

TEST(PixelFormat, LayoutsAreCheckedBeforeUse) {
  EXPECT_TRUE(gfximage::validLayout({32, 0xff0000, 0xff00, 0xff, 0xff000000, false}));
  EXPECT_FALSE(gfximage::validLayout({12, 0xf00, 0xf0, 0xf, 0, false})) << "bit count";
  EXPECT_FALSE(gfximage::validLayout({16, 0x1f0000, 0x7e0, 0x1f, 0, false})) << "a mask beyond the bits";
  EXPECT_FALSE(gfximage::validLayout({16, 0xf801, 0x7e0, 0x1e, 0, false})) << "a mask in two pieces";
  EXPECT_FALSE(gfximage::validLayout({32, 0, 0, 0, 0, false})) << "no channel";
  EXPECT_FALSE(gfximage::validLayout({16, 0xff, 0xff00, 0, 0, true})) << "luminance with green";
  EXPECT_EQ(gfximage::formatOfLayout({16, 0xf800, 0x7e0, 0x1f, 0, false}), PixelFormat::R5G6B5);
  EXPECT_EQ(gfximage::formatOfLayout({16, 0xf800, 0x7e0, 0x1f, 0x1, false}), PixelFormat::Unknown);
}

TEST(PixelFormat, SurfaceSizes) {
  EXPECT_EQ(gfximage::surfacePitch(PixelFormat::DXT1, 5), 16u);
  EXPECT_EQ(gfximage::surfaceRows(PixelFormat::DXT1, 5), 2u);
  EXPECT_EQ(gfximage::surfacePitch(PixelFormat::DXT5, 1), 16u);
  EXPECT_EQ(gfximage::surfacePitch(PixelFormat::R8G8B8, 3), 9u);
  EXPECT_EQ(gfximage::surfaceRows(PixelFormat::R8G8B8, 3), 3u);
  EXPECT_EQ(gfximage::surfacePitch(PixelFormat::Unknown, 3), 0u);
  EXPECT_FALSE(gfximage::isKnownFormat(static_cast<PixelFormat>(36)));
}

TEST(PixelFormat, BlockSurfacesTakePartialBlocks) {
  // A 5 x 3 image of a few colours in DXT5: two blocks across, one down.
  Image image;
  image.allocate(5, 3);
  for (uint32_t y = 0; y < 3; ++y)
    for (uint32_t x = 0; x < 5; ++x) {
      uint8_t* t = image.texel(x, y);
      t[0] = x < 4 ? 0 : 255;
      t[1] = 0;
      t[2] = x < 4 ? 255 : 0;
      t[3] = 255;
    }
  uint8_t blocks[32];
  ASSERT_TRUE(gfximage::packSurface(PixelFormat::DXT5, image, blocks, 32));
  Image back;
  ASSERT_TRUE(gfximage::unpackSurface(PixelFormat::DXT5, blocks, 32, 5, 3, &back));
  EXPECT_EQ(back.pixels, image.pixels);
  EXPECT_FALSE(gfximage::packSurface(PixelFormat::DXT2, image, blocks, 32)) << "premultiplied forms are not written";
}

}  // namespace
