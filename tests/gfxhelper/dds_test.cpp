// DDS files built byte by byte from the documented header layout.
#include <gtest/gtest.h>

#include "gfxhelper/dds.h"
#include "gfxhelper/image_decode.h"
#include "tests/gfxhelper/test_images.h"

namespace {

using gfximage::PixelFormat;
using gfximage::Status;
using tstest::Bytes;
namespace dds = gfximage::dds;

constexpr uint32_t kDxt1 = tstest::fourCC('D', 'X', 'T', '1');

// A 2 x 2 A8R8G8B8 image with its 1 x 1 level: texels in memory as B, G, R, A.
Bytes argbWithMips() {
  tstest::DdsHeader header = tstest::ddsMasks(2, 2, 32, 0xff0000, 0xff00, 0xff, 0xff000000);
  header.mipCount = 2;
  return tstest::ddsFile(header, {0, 0, 255, 255, 0, 255, 0, 128, 255, 0, 0, 64, 10, 20, 30, 0, /* level 1 */ 1, 2, 3, 4});
}

// 8 x 8 DXT1 with its whole chain: four solid blocks, then one for each of 4 x 4, 2 x 2, 1 x 1.
Bytes dxt1Chain() {
  tstest::DdsHeader header = tstest::ddsFourCC(8, 8, kDxt1);
  header.mipCount = 4;
  Bytes data;
  const int solid[16] = {};
  for (uint16_t colour : {0xF800, 0x07E0, 0x001F, 0xFFFF, 0xFFE0, 0x07FF, 0xF81F}) {
    const Bytes block = tstest::dxtColourBlock(colour, 0, solid);
    data.insert(data.end(), block.begin(), block.end());
  }
  return tstest::ddsFile(header, data);
}

// Six 1 x 1 X8R8G8B8 faces.
Bytes cube() {
  tstest::DdsHeader header = tstest::ddsMasks(1, 1, 32, 0xff0000, 0xff00, 0xff, 0);
  header.caps2 = tstest::kCaps2AllFacesOfACube;
  Bytes data;
  for (uint8_t face = 0; face < 6; ++face) data.insert(data.end(), {face, static_cast<uint8_t>(face * 10), 0, 0});
  return tstest::ddsFile(header, data);
}

std::vector<uint8_t> decodeLevel(const Bytes& file, uint32_t level, dds::File* parsed, uint32_t face = 0) {
  gfximage::Image image;
  const gfximage::Result result = dds::parse(file.data(), file.size(), parsed);
  EXPECT_TRUE(result.ok()) << result.reason;
  EXPECT_TRUE(result.ok() && dds::decodeSurface(file.data(), file.size(), *parsed, face, level, &image).ok());
  return image.pixels;
}

TEST(Dds, UncompressedLayoutsByTheirMasks) {
  const uint32_t rgb = tstest::kDdpfRgb, rgba = tstest::kDdpfRgb | tstest::kDdpfAlphaPixels;
  const uint32_t lum = tstest::kDdpfLuminance, luma = tstest::kDdpfLuminance | tstest::kDdpfAlphaPixels;
  const struct {
    uint32_t bits, flags, red, green, blue, alpha;
    Bytes texel;                // one texel as stored
    std::vector<uint8_t> bgra;  // what the layout's rules make of it
    PixelFormat format;
  } cases[] = {
      {32, rgb, 0xff0000, 0xff00, 0xff, 0, {1, 2, 3, 4}, {1, 2, 3, 255}, PixelFormat::X8R8G8B8},
      {32, rgba, 0xff, 0xff00, 0xff0000, 0xff000000, {1, 2, 3, 4}, {3, 2, 1, 4}, PixelFormat::A8B8G8R8},
      {24, rgb, 0xff0000, 0xff00, 0xff, 0, {1, 2, 3}, {1, 2, 3, 255}, PixelFormat::R8G8B8},
      {16, rgb, 0xf800, 0x7e0, 0x1f, 0, {0x1f, 0xf8}, {255, 0, 255, 255}, PixelFormat::R5G6B5},  // red and blue 31
      // Alpha 5, red 10, green 3, blue 12, each times 17.
      {16, rgba, 0xf00, 0xf0, 0xf, 0xf000, {0x3C, 0x5A}, {204, 51, 170, 85}, PixelFormat::A4R4G4B4},
      {8, lum, 0xff, 0, 0, 0, {0x7f}, {0x7f, 0x7f, 0x7f, 255}, PixelFormat::L8},
      {16, luma, 0xff, 0, 0, 0xff00, {0x10, 0x80}, {0x10, 0x10, 0x10, 0x80}, PixelFormat::A8L8},
      {8, tstest::kDdpfAlpha, 0, 0, 0, 0xff, {0x99}, {0, 0, 0, 0x99}, PixelFormat::A8},
      // Red 1023 and blue 512 of 10 bits: 512 * 255 / 1023 = 127.6; alpha 2 of 3 = 170.
      {32, rgba, 0x3ff, 0xffc00, 0x3ff00000, 0xc0000000, {0xff, 0x03, 0x00, 0xA0}, {128, 0, 255, 170},
       PixelFormat::A2B10G10R10},
      // A layout without a Direct3D name: 4 bits of red at the top, 12 of green below.
      {16, rgb, 0xf000, 0x0fff, 0, 0, {0xff, 0x3f}, {0, 255, 51, 255}, PixelFormat::Unknown},
  };
  for (const auto& c : cases) {
    tstest::DdsHeader header = tstest::ddsMasks(1, 1, c.bits, c.red, c.green, c.blue, c.alpha);
    header.pixelFlags = c.flags;
    dds::File parsed;
    EXPECT_EQ(decodeLevel(tstest::ddsFile(header, c.texel), 0, &parsed), c.bgra) << c.bits << " " << c.red;
    EXPECT_EQ(parsed.format, c.format) << c.bits << " " << c.red;
  }
}

TEST(Dds, MipLevelsAndFacesWhereTheLayoutPutsThem) {
  dds::File parsed;
  const Bytes argb = argbWithMips();
  EXPECT_EQ(decodeLevel(argb, 0, &parsed), Bytes(argb.begin() + 128, argb.begin() + 144));
  EXPECT_EQ(decodeLevel(argb, 1, &parsed), (Bytes{1, 2, 3, 4}));
  ASSERT_EQ(parsed.surfaces.size(), 2u);
  EXPECT_EQ(parsed.surfaces[1].offset, 144u);

  const std::vector<uint8_t> level0 = decodeLevel(dxt1Chain(), 0, &parsed);
  EXPECT_EQ(parsed.format, PixelFormat::DXT1);
  ASSERT_EQ(parsed.surfaces.size(), 4u);
  EXPECT_EQ(parsed.surfaces[0].pitch, 16u);
  EXPECT_EQ(parsed.surfaces[3].offset, 176u);
  // Block 1 (top right) is green, block 2 (bottom left) blue; the 1 x 1 level magenta.
  ASSERT_EQ(level0.size(), 8u * 8u * 4u);
  EXPECT_EQ(Bytes(level0.begin() + 16, level0.begin() + 20), (Bytes{0, 255, 0, 255}));
  EXPECT_EQ(Bytes(level0.begin() + 4 * 8 * 4, level0.begin() + 4 * 8 * 4 + 4), (Bytes{255, 0, 0, 255}));
  EXPECT_EQ(decodeLevel(dxt1Chain(), 3, &parsed), (Bytes{255, 0, 255, 255}));

  EXPECT_EQ(decodeLevel(cube(), 0, &parsed, 3), (Bytes{3, 30, 0, 255}));
  EXPECT_EQ(parsed.faces, 6u);
  gfximage::DecodedImage decoded;
  const Bytes file = cube();
  EXPECT_EQ(gfximage::decode(file.data(), file.size(), &decoded).status, Status::Unsupported) << "not a 2D image";
}

// Every file cut short at every length is refused; only the whole file is read.
TEST(DdsHostile, EveryTruncationFails) {
  for (const Bytes& file : {argbWithMips(), dxt1Chain(), cube()}) {
    for (size_t length = 0; length < file.size(); ++length) {
      dds::File parsed;
      const gfximage::Result result = dds::parse(file.data(), length, &parsed);
      EXPECT_FALSE(result.ok() || result.reason.empty()) << "length " << length;
    }
  }
}

Status parseStatus(const Bytes& file, const gfximage::Limits& limits = gfximage::Limits()) {
  dds::File parsed;
  return dds::parse(file.data(), file.size(), &parsed, limits).status;
}

TEST(DdsHostile, HeaderFieldsAreChecked) {
  const tstest::DdsHeader good = tstest::ddsFourCC(4, 4, kDxt1);
  EXPECT_EQ(parseStatus(tstest::ddsFile(good, Bytes(8, 0))), Status::Ok);
  const auto bad = [&good](void (*change)(tstest::DdsHeader&)) {
    tstest::DdsHeader header = good;
    change(header);
    return parseStatus(tstest::ddsFile(header, Bytes(1024 + 64, 0)));
  };
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.headerSize = 123; }), Status::InvalidData);
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.pixelFormatSize = 0; }), Status::InvalidData);
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.width = 0; }), Status::InvalidData);
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.mipCount = 4; }), Status::InvalidData) << "4 x 4 has three levels";
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.fourCC = tstest::fourCC('D', 'X', '1', '0'); }), Status::Unsupported);
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.fourCC = 36; }), Status::Unsupported) << "a Direct3D format code";
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.caps2 = 0x200000, h.depth = 4; }), Status::Unsupported) << "volume";
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.caps2 = 0x200 | 0x400; }), Status::Unsupported) << "one face of a cube";
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.pixelFlags = tstest::kDdpfPalette8, h.bitCount = 8; }), Status::Unsupported);
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h = tstest::ddsMasks(4, 4, 12, 0xf00, 0xf0, 0xf, 0); }), Status::InvalidData);
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h = tstest::ddsMasks(4, 4, 16, 0xff0000, 0xff00, 0xff, 0); }),
            Status::InvalidData) << "masks beyond the bit count";
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.pixelFlags = 0; }), Status::InvalidData) << "no layout named";
}

TEST(DdsHostile, HugeSizesAreRefusedFromTheHeader) {
  for (uint32_t size : {8193u, 0x7fffffffu, 0xffffffffu})
    EXPECT_EQ(parseStatus(tstest::ddsFile(tstest::ddsFourCC(size, 4, kDxt1), Bytes(64, 0))), Status::TooLarge) << size;
  // At the limit but without the data: refused for the missing bytes, nothing allocated for pixels.
  EXPECT_EQ(parseStatus(tstest::ddsFile(tstest::ddsFourCC(8192, 8192, kDxt1), Bytes(64, 0))), Status::InvalidData);
  gfximage::Limits small;
  small.maxPixelBytes = 128;  // 8 x 4 texels of 4 bytes
  EXPECT_EQ(parseStatus(tstest::ddsFile(tstest::ddsFourCC(8, 4, kDxt1), Bytes(16, 0)), small), Status::Ok);
  EXPECT_EQ(parseStatus(tstest::ddsFile(tstest::ddsFourCC(8, 8, kDxt1), Bytes(32, 0)), small), Status::TooLarge);

  const Bytes file = argbWithMips();
  dds::File parsed;
  ASSERT_TRUE(dds::parse(file.data(), file.size(), &parsed).ok());
  gfximage::Image image;
  EXPECT_EQ(dds::decodeSurface(file.data(), file.size(), parsed, 0, 2, &image).status, Status::InvalidArgument);
  EXPECT_EQ(dds::decodeSurface(file.data(), file.size(), parsed, 1, 0, &image).status, Status::InvalidArgument);
  EXPECT_EQ(dds::decodeSurface(file.data(), 140, parsed, 0, 0, &image).status, Status::InvalidArgument);
}

}  // namespace
