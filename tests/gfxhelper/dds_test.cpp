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

Bytes withData(const tstest::DdsHeader& header, const Bytes& data) {
  Bytes file = tstest::ddsHeader(header);
  file.insert(file.end(), data.begin(), data.end());
  return file;
}

// A 2 x 2 A8R8G8B8 image with its 1 x 1 level: texels in memory as B, G, R, A.
Bytes argbWithMips() {
  tstest::DdsHeader header = tstest::ddsMasks(2, 2, 32, 0xff0000, 0xff00, 0xff, 0xff000000);
  header.mipCount = 2;
  return withData(header, {0, 0, 255, 255, /**/ 0, 255, 0, 128, /**/ 255, 0, 0, 64, /**/ 10, 20, 30, 0,
                           /* level 1 */ 1, 2, 3, 4});
}

const int kCycle[16] = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3};

// 8 x 8 DXT1 with its whole chain: four blocks, then one block for each of 4 x 4, 2 x 2, 1 x 1.
Bytes dxt1Chain() {
  tstest::DdsHeader header = tstest::ddsFourCC(8, 8, tstest::fourCC('D', 'X', 'T', '1'));
  header.mipCount = 4;
  Bytes data;
  const uint16_t colours[7] = {0xF800, 0x07E0, 0x001F, 0xFFFF, 0xFFE0, 0x07FF, 0xF81F};
  for (uint16_t colour : colours) {
    const Bytes block = tstest::dxtColourBlock(colour, 0, kCycle);  // index 0 is the colour, 1 black
    data.insert(data.end(), block.begin(), block.end());
  }
  return withData(header, data);
}

// Six 1 x 1 X8R8G8B8 faces.
Bytes cube() {
  tstest::DdsHeader header = tstest::ddsMasks(1, 1, 32, 0xff0000, 0xff00, 0xff, 0);
  header.caps2 = 0x200 | 0xfc00;
  Bytes data;
  for (uint8_t face = 0; face < 6; ++face) data.insert(data.end(), {face, static_cast<uint8_t>(face * 10), 0, 0});
  return withData(header, data);
}

gfximage::Image decodeLevel(const Bytes& file, uint32_t level, dds::File* parsed = nullptr) {
  dds::File local;
  dds::File& info = parsed ? *parsed : local;
  const gfximage::Result result = dds::parse(file.data(), file.size(), &info);
  EXPECT_TRUE(result.ok()) << result.reason;
  gfximage::Image image;
  if (result.ok()) {
    const gfximage::Result decoded = dds::decodeSurface(file.data(), file.size(), info, 0, level, &image);
    EXPECT_TRUE(decoded.ok()) << decoded.reason;
  }
  return image;
}

TEST(Dds, A8R8G8B8WithMipLevels) {
  const Bytes file = argbWithMips();
  dds::File parsed;
  const gfximage::Image level0 = decodeLevel(file, 0, &parsed);
  EXPECT_EQ(parsed.format, PixelFormat::A8R8G8B8);
  EXPECT_EQ(parsed.mipLevels, 2u);
  ASSERT_EQ(parsed.surfaces.size(), 2u);
  EXPECT_EQ(parsed.surfaces[0].offset, 128u);
  EXPECT_EQ(parsed.surfaces[1].offset, 144u);
  EXPECT_EQ(level0.pixels, (std::vector<uint8_t>(file.begin() + 128, file.begin() + 144)));
  EXPECT_EQ(decodeLevel(file, 1).pixels, (std::vector<uint8_t>{1, 2, 3, 4}));
}

struct MaskCase {
  const char* name;
  uint32_t bits, flags, red, green, blue, alpha;
  Bytes texel;                // one texel as stored
  std::vector<uint8_t> bgra;  // what the layout's rules make of it
  PixelFormat format;
};

TEST(Dds, UncompressedLayoutsByTheirMasks) {
  const uint32_t rgb = tstest::kDdpfRgb, rgba = tstest::kDdpfRgb | tstest::kDdpfAlphaPixels;
  const uint32_t lum = tstest::kDdpfLuminance, luma = tstest::kDdpfLuminance | tstest::kDdpfAlphaPixels;
  const MaskCase cases[] = {
      {"X8R8G8B8", 32, rgb, 0xff0000, 0xff00, 0xff, 0, {1, 2, 3, 4}, {1, 2, 3, 255}, PixelFormat::X8R8G8B8},
      {"A8B8G8R8", 32, rgba, 0xff, 0xff00, 0xff0000, 0xff000000, {1, 2, 3, 4}, {3, 2, 1, 4}, PixelFormat::A8B8G8R8},
      {"R8G8B8", 24, rgb, 0xff0000, 0xff00, 0xff, 0, {1, 2, 3}, {1, 2, 3, 255}, PixelFormat::R8G8B8},
      // 0xF81F: red 31, green 0, blue 31.
      {"R5G6B5", 16, rgb, 0xf800, 0x7e0, 0x1f, 0, {0x1f, 0xf8}, {255, 0, 255, 255}, PixelFormat::R5G6B5},
      // 0x8000 | red 16 << 10: 16 * 255 / 31 = 131.6.
      {"A1R5G5B5", 16, rgba, 0x7c00, 0x3e0, 0x1f, 0x8000, {0x00, 0xC0}, {0, 0, 132, 255}, PixelFormat::A1R5G5B5},
      {"X1R5G5B5", 16, rgb, 0x7c00, 0x3e0, 0x1f, 0, {0x1f, 0x80}, {255, 0, 0, 255}, PixelFormat::X1R5G5B5},
      // 0x5A3C: alpha 5, red 10, green 3, blue 12, each times 17.
      {"A4R4G4B4", 16, rgba, 0xf00, 0xf0, 0xf, 0xf000, {0x3C, 0x5A}, {204, 51, 170, 85}, PixelFormat::A4R4G4B4},
      {"L8", 8, lum, 0xff, 0, 0, 0, {0x7f}, {0x7f, 0x7f, 0x7f, 255}, PixelFormat::L8},
      {"A8L8", 16, luma, 0xff, 0, 0, 0xff00, {0x10, 0x80}, {0x10, 0x10, 0x10, 0x80}, PixelFormat::A8L8},
      {"A8", 8, tstest::kDdpfAlpha, 0, 0, 0, 0xff, {0x99}, {0, 0, 0, 0x99}, PixelFormat::A8},
      // 10-bit red 1023 and blue 512 in A2B10G10R10: 512 * 255 / 1023 = 127.6; alpha 2 of 3 = 170.
      {"A2B10G10R10", 32, rgba, 0x3ff, 0xffc00, 0x3ff00000, 0xc0000000, {0xff, 0x03, 0x00, 0xA0}, {128, 0, 255, 170},
       PixelFormat::A2B10G10R10},
      // A layout without a Direct3D name: 4 bits of red at the top, 12 of green below.
      {"R4G12", 16, rgb, 0xf000, 0x0fff, 0, 0, {0xff, 0x3f}, {0, 255, 51, 255}, PixelFormat::Unknown},
  };
  for (const MaskCase& c : cases) {
    tstest::DdsHeader header = tstest::ddsMasks(1, 1, c.bits, c.red, c.green, c.blue, c.alpha);
    header.pixelFlags = c.flags;
    dds::File parsed;
    const gfximage::Image image = decodeLevel(withData(header, c.texel), 0, &parsed);
    EXPECT_EQ(image.pixels, c.bgra) << c.name;
    EXPECT_EQ(parsed.format, c.format) << c.name;
  }
}

TEST(Dds, Dxt1WithItsChain) {
  const Bytes file = dxt1Chain();
  dds::File parsed;
  const gfximage::Image level0 = decodeLevel(file, 0, &parsed);
  EXPECT_TRUE(parsed.compressed);
  EXPECT_EQ(parsed.format, PixelFormat::DXT1);
  ASSERT_EQ(parsed.surfaces.size(), 4u);
  EXPECT_EQ(parsed.surfaces[0].size, 32u);
  EXPECT_EQ(parsed.surfaces[0].pitch, 16u);
  EXPECT_EQ(parsed.surfaces[1].offset, 160u);
  EXPECT_EQ(parsed.surfaces[3].offset, 176u);
  EXPECT_EQ(parsed.surfaces[3].width, 1u);
  ASSERT_EQ(level0.width, 8u);
  // Block 1 (top right) has green as its first end point; texel (4, 0) uses index 0.
  const uint8_t* green = level0.texel(4, 0);
  EXPECT_EQ((std::vector<uint8_t>(green, green + 4)), (std::vector<uint8_t>{0, 255, 0, 255}));
  // Texel (5, 0) uses index 1: black. Block 2 (bottom left) is blue.
  EXPECT_EQ(level0.texel(5, 0)[1], 0);
  EXPECT_EQ(level0.texel(0, 4)[0], 255);
  // The 1 x 1 level is the first texel of its block: magenta.
  EXPECT_EQ(decodeLevel(file, 3).pixels, (std::vector<uint8_t>{255, 0, 255, 255}));
}

TEST(Dds, Dxt3AndDxt5Files) {
  Bytes alpha3;
  for (int i = 0; i < 8; ++i) alpha3.push_back(0xF0);  // even texels 0, odd texels 15
  const Bytes colour = tstest::dxtColourBlock(0xFFFF, 0, kCycle);
  alpha3.insert(alpha3.end(), colour.begin(), colour.end());
  const gfximage::Image three = decodeLevel(withData(tstest::ddsFourCC(4, 4, tstest::fourCC('D', 'X', 'T', '3')), alpha3), 0);
  ASSERT_EQ(three.width, 4u);
  EXPECT_EQ((std::vector<uint8_t>(three.texel(0, 0), three.texel(0, 0) + 4)), (std::vector<uint8_t>{255, 255, 255, 0}));
  EXPECT_EQ((std::vector<uint8_t>(three.texel(1, 0), three.texel(1, 0) + 4)), (std::vector<uint8_t>{0, 0, 0, 255}));
  EXPECT_EQ(three.texel(2, 0)[0], 170);  // index 2 of white and black: (2 * 255 + 0) / 3, four colours always

  Bytes alpha5 = {0, 255};  // six-step mode; every index 7 means 255
  for (int i = 0; i < 6; ++i) alpha5.push_back(0xff);
  alpha5.insert(alpha5.end(), colour.begin(), colour.end());
  const gfximage::Image five = decodeLevel(withData(tstest::ddsFourCC(4, 4, tstest::fourCC('D', 'X', 'T', '5')), alpha5), 0);
  ASSERT_EQ(five.width, 4u);
  for (uint32_t i = 0; i < 16; ++i) EXPECT_EQ(five.pixels[i * 4 + 3], 255) << i;
  EXPECT_EQ(five.texel(3, 3)[0], 85);  // index 3: (255 + 2 * 0) / 3
}

TEST(Dds, SmallDxtLevelsStillTakeAWholeBlock) {
  tstest::DdsHeader header = tstest::ddsFourCC(2, 1, tstest::fourCC('D', 'X', 'T', '5'));
  const Bytes file = withData(header, Bytes(16, 0));
  dds::File parsed;
  ASSERT_TRUE(dds::parse(file.data(), file.size(), &parsed).ok());
  EXPECT_EQ(parsed.surfaces[0].size, 16u);
  EXPECT_FALSE(dds::parse(file.data(), file.size() - 1, &parsed).ok());
}

TEST(Dds, CubeMapsAreParsedFaceByFace) {
  const Bytes file = cube();
  dds::File parsed;
  ASSERT_TRUE(dds::parse(file.data(), file.size(), &parsed).ok());
  EXPECT_EQ(parsed.faces, 6u);
  gfximage::Image face;
  ASSERT_TRUE(dds::decodeSurface(file.data(), file.size(), parsed, 3, 0, &face).ok());
  EXPECT_EQ(face.pixels, (std::vector<uint8_t>{3, 30, 0, 255}));

  gfximage::ImageInfo info;
  ASSERT_TRUE(gfximage::readInfo(file.data(), file.size(), &info).ok());
  EXPECT_EQ(info.faces, 6u);
  gfximage::DecodedImage decoded;
  EXPECT_EQ(gfximage::decode(file.data(), file.size(), &decoded).status, Status::Unsupported);
}

// Every file cut short at every length is refused; only the whole file is read.
TEST(DdsHostile, EveryTruncationFails) {
  for (const Bytes& file : {argbWithMips(), dxt1Chain(), cube()}) {
    for (size_t length = 0; length < file.size(); ++length) {
      const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
      dds::File parsed;
      const gfximage::Result result = dds::parse(cut.data(), cut.size(), &parsed);
      EXPECT_FALSE(result.ok()) << "length " << length;
      EXPECT_FALSE(result.reason.empty());
      gfximage::DecodedImage decoded;
      EXPECT_FALSE(gfximage::decode(cut.data(), cut.size(), &decoded).ok()) << "length " << length;
    }
    dds::File parsed;
    EXPECT_TRUE(dds::parse(file.data(), file.size(), &parsed).ok());
  }
}

Status parseStatus(const Bytes& file, const gfximage::Limits& limits = gfximage::Limits()) {
  dds::File parsed;
  return dds::parse(file.data(), file.size(), &parsed, limits).status;
}

TEST(DdsHostile, HeaderFieldsAreChecked) {
  const uint32_t dxt1 = tstest::fourCC('D', 'X', 'T', '1');
  tstest::DdsHeader header = tstest::ddsFourCC(4, 4, dxt1);
  const Bytes block(8, 0);
  EXPECT_EQ(parseStatus(withData(header, block)), Status::Ok);

  tstest::DdsHeader bad = header;
  bad.headerSize = 123;
  EXPECT_EQ(parseStatus(withData(bad, block)), Status::InvalidData);
  bad = header;
  bad.pixelFormatSize = 0;
  EXPECT_EQ(parseStatus(withData(bad, block)), Status::InvalidData);
  bad = header;
  bad.width = 0;
  EXPECT_EQ(parseStatus(withData(bad, block)), Status::InvalidData);
  bad = header;
  bad.mipCount = 4;  // 4 x 4 has three levels
  EXPECT_EQ(parseStatus(withData(bad, Bytes(32, 0))), Status::InvalidData);
  bad = header;
  bad.fourCC = tstest::fourCC('D', 'X', '1', '0');
  EXPECT_EQ(parseStatus(withData(bad, Bytes(64, 0))), Status::Unsupported);
  bad = header;
  bad.fourCC = 36;  // a Direct3D format code in the four-character field
  EXPECT_EQ(parseStatus(withData(bad, Bytes(512, 0))), Status::Unsupported);
  bad = header;
  bad.caps2 = 0x200000;
  bad.depth = 4;
  EXPECT_EQ(parseStatus(withData(bad, Bytes(64, 0))), Status::Unsupported) << "volume";
  bad = header;
  bad.caps2 = 0x200 | 0x400;  // a cube with one face
  EXPECT_EQ(parseStatus(withData(bad, Bytes(64, 0))), Status::Unsupported);
  bad = tstest::ddsMasks(4, 4, 8, 0, 0, 0, 0);
  bad.pixelFlags = tstest::kDdpfPalette8;
  EXPECT_EQ(parseStatus(withData(bad, Bytes(1024 + 16, 0))), Status::Unsupported);
  bad = tstest::ddsMasks(4, 4, 12, 0xf00, 0xf0, 0xf, 0);
  EXPECT_EQ(parseStatus(withData(bad, Bytes(64, 0))), Status::InvalidData) << "bit count";
  bad = tstest::ddsMasks(4, 4, 16, 0xff0000, 0xff00, 0xff, 0);
  EXPECT_EQ(parseStatus(withData(bad, Bytes(64, 0))), Status::InvalidData) << "masks beyond the bit count";
  bad = tstest::ddsMasks(4, 4, 32, 0xff0000, 0xff00, 0xff, 0);
  bad.pixelFlags = 0;
  EXPECT_EQ(parseStatus(withData(bad, Bytes(64, 0))), Status::InvalidData) << "no layout named";
}

TEST(DdsHostile, HugeSizesAreRefusedFromTheHeader) {
  const uint32_t dxt1 = tstest::fourCC('D', 'X', 'T', '1');
  for (uint32_t size : {8193u, 65536u, 0x7fffffffu, 0xffffffffu})
    EXPECT_EQ(parseStatus(withData(tstest::ddsFourCC(size, 4, dxt1), Bytes(64, 0))), Status::TooLarge) << size;
  // At the limit but without the data: refused for the missing bytes, nothing allocated for pixels.
  EXPECT_EQ(parseStatus(withData(tstest::ddsFourCC(8192, 8192, dxt1), Bytes(64, 0))), Status::InvalidData);
  EXPECT_EQ(parseStatus(withData(tstest::ddsMasks(8192, 8192, 32, 0xff0000, 0xff00, 0xff, 0), Bytes(64, 0))),
            Status::InvalidData);
  gfximage::Limits small;
  small.maxPixelBytes = 128;  // 8 x 4 texels of 4 bytes
  EXPECT_EQ(parseStatus(withData(tstest::ddsFourCC(8, 4, dxt1), Bytes(16, 0)), small), Status::Ok);
  EXPECT_EQ(parseStatus(withData(tstest::ddsFourCC(8, 8, dxt1), Bytes(32, 0)), small), Status::TooLarge);
}

TEST(DdsHostile, DecodingASurfaceOutsideTheDataIsRefused) {
  const Bytes file = argbWithMips();
  dds::File parsed;
  ASSERT_TRUE(dds::parse(file.data(), file.size(), &parsed).ok());
  gfximage::Image image;
  EXPECT_EQ(dds::decodeSurface(file.data(), file.size(), parsed, 0, 2, &image).status, Status::InvalidArgument);
  EXPECT_EQ(dds::decodeSurface(file.data(), file.size(), parsed, 1, 0, &image).status, Status::InvalidArgument);
  EXPECT_EQ(dds::decodeSurface(file.data(), 140, parsed, 0, 0, &image).status, Status::InvalidArgument);
  EXPECT_EQ(dds::parse(nullptr, 0, &parsed).status, Status::InvalidArgument);
}

}  // namespace
