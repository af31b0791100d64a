#include <gtest/gtest.h>

#include "gfxhelper/pixel_format.h"

namespace {

using gfximage::Image;
using gfximage::MaskLayout;
using gfximage::PixelFormat;

uint32_t packOne(PixelFormat format, std::vector<uint8_t> bgra) {
  Image image;
  image.allocate(1, 1);
  image.pixels = bgra;
  uint8_t bytes[4] = {};
  EXPECT_TRUE(gfximage::packSurface(format, image, bytes, 4));
  return bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (static_cast<uint32_t>(bytes[3]) << 24);
}

std::vector<uint8_t> unpackOne(PixelFormat format, uint32_t value) {
  const uint8_t bytes[4] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
                            static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)};
  Image image;
  EXPECT_TRUE(gfximage::unpackSurface(format, bytes, 4, 1, 1, &image));
  return image.pixels;
}

TEST(PixelFormat, KnownTexelsBothWays) {
  const struct {
    PixelFormat format;
    std::vector<uint8_t> bgra;
    uint32_t texel;  // the bytes of the layout, little-endian
  } cases[] = {
      {PixelFormat::R5G6B5, {0, 0, 255, 255}, 0xF800},
      {PixelFormat::R5G6B5, {0, 255, 0, 255}, 0x07E0},
      {PixelFormat::R5G6B5, {255, 0, 0, 255}, 0x001F},
      {PixelFormat::A1R5G5B5, {0, 0, 255, 255}, 0xFC00},
      {PixelFormat::A1R5G5B5, {0, 0, 255, 0}, 0x7C00},
      {PixelFormat::A4R4G4B4, {0x00, 0x44, 0x88, 0xff}, 0xF840},
      {PixelFormat::A8R8G8B8, {0x11, 0x22, 0x33, 0x44}, 0x44332211},
      {PixelFormat::A8B8G8R8, {0x11, 0x22, 0x33, 0x44}, 0x44112233},
      {PixelFormat::X8R8G8B8, {0x11, 0x22, 0x33, 255}, 0xFF332211},  // unused bits are written as ones
      {PixelFormat::R8G8B8, {0x11, 0x22, 0x33, 255}, 0x332211},
      {PixelFormat::A8, {0, 0, 0, 0x44}, 0x44},
      {PixelFormat::A2R10G10B10, {0, 0, 255, 255}, 0xFFF00000},
      {PixelFormat::L8, {77, 77, 77, 255}, 77},
      {PixelFormat::A8L8, {200, 200, 200, 9}, 0x09C8},
      {PixelFormat::A4L4, {0xCC, 0xCC, 0xCC, 0x33}, 0x3C},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<uint32_t>(c.format));
    EXPECT_EQ(packOne(c.format, c.bgra), c.texel);
    EXPECT_EQ(unpackOne(c.format, c.texel), c.bgra);
  }
  // Luminance weighs red, green and blue: 0.2125, 0.7154 and 0.0721 of 255.
  EXPECT_EQ(packOne(PixelFormat::L8, {0, 0, 255, 255}), 54u);
  EXPECT_EQ(packOne(PixelFormat::L8, {0, 255, 0, 255}), 182u);
  EXPECT_EQ(packOne(PixelFormat::L8, {255, 0, 0, 255}), 18u);
  // 5 bits of 16 widen to 16 * 255 / 31 = 131.6.
  EXPECT_EQ(unpackOne(PixelFormat::R5G6B5, 16u << 11), (std::vector<uint8_t>{0, 0, 132, 255}));
}

// Every value of every channel of every layout survives B, G, R, A and back.
TEST(PixelFormat, EveryChannelValueRoundTrips) {
  for (PixelFormat format : {PixelFormat::X8B8G8R8, PixelFormat::R5G6B5, PixelFormat::X1R5G5B5, PixelFormat::A1R5G5B5,
                             PixelFormat::A4R4G4B4, PixelFormat::X4R4G4B4, PixelFormat::R3G3B2, PixelFormat::A8R3G3B2,
                             PixelFormat::L8, PixelFormat::A8L8, PixelFormat::A4L4}) {
    MaskLayout layout;
    ASSERT_TRUE(gfximage::layoutOf(format, &layout));
    for (uint32_t mask : {layout.red, layout.green, layout.blue, layout.alpha}) {
      uint32_t shift = 0;
      while (mask && !((mask >> shift) & 1)) ++shift;
      for (uint32_t value = 0; mask && value <= mask >> shift; ++value) {
        const std::vector<uint8_t> bgra = unpackOne(format, value << shift);
        EXPECT_EQ((packOne(format, bgra) & mask) >> shift, value) << static_cast<uint32_t>(format) << " " << mask;
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

TEST(PixelFormat, BlockSurfacesTakePartialBlocks) {
  // A 5 x 3 image in DXT5: two blocks across, one down, 16 bytes each.
  EXPECT_EQ(gfximage::surfacePitch(PixelFormat::DXT5, 5), 32u);
  EXPECT_EQ(gfximage::surfaceRows(PixelFormat::DXT5, 3), 1u);
  EXPECT_EQ(gfximage::surfacePitch(PixelFormat::R8G8B8, 3), 9u);
  Image image;
  image.allocate(5, 3);
  for (uint32_t i = 0; i < 15; ++i) image.pixels[i * 4 + (i % 5 < 4 ? 2 : 0)] = image.pixels[i * 4 + 3] = 255;
  uint8_t blocks[32];
  ASSERT_TRUE(gfximage::packSurface(PixelFormat::DXT5, image, blocks, 32));
  Image back;
  ASSERT_TRUE(gfximage::unpackSurface(PixelFormat::DXT5, blocks, 32, 5, 3, &back));
  EXPECT_EQ(back.pixels, image.pixels);
  EXPECT_FALSE(gfximage::packSurface(PixelFormat::DXT2, image, blocks, 32)) << "premultiplied forms are not written";
}

}  // namespace
