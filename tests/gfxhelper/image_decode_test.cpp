// PNG, BMP and TGA files written by stb_image_write and a JPEG of ours, read back through
// our decoder; and the same files damaged.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "gfxhelper/image_decode.h"
#include "tests/gfxhelper/test_images.h"

namespace {

using gfximage::FileType;
using gfximage::PixelFormat;
using gfximage::Status;
using tstest::Bytes;

// 4 x 4 texels of distinct colours, the last eight translucent unless `channels` is 3: as
// RGB(A) for the writers, or as the B, G, R, A that the decoder gives.
Bytes pixels(int channels, bool bgra = false) {
  Bytes out;
  for (int i = 0; i < 16; ++i) {
    const uint8_t r = static_cast<uint8_t>(i * 16), g = static_cast<uint8_t>(255 - i * 15),
                  b = static_cast<uint8_t>(i * 97), a = static_cast<uint8_t>(i < 8 || channels == 3 ? 255 : 40 + i * 10);
    out.insert(out.end(), {bgra ? b : r, g, bgra ? r : b});
    if (bgra || channels == 4) out.push_back(a);
  }
  return out;
}

Bytes png() { return tstest::encodePng(4, 4, 4, pixels(4).data()); }
Bytes bmp() { return tstest::encodeBmp(4, 4, 3, pixels(3).data()); }
Bytes tga(bool rle) { return tstest::encodeTga(4, 4, 4, pixels(4).data(), rle); }

gfximage::Result decode(const Bytes& file, gfximage::DecodedImage* image = nullptr,
                        const gfximage::Limits& limits = gfximage::Limits()) {
  gfximage::DecodedImage local;
  return gfximage::decode(file.data(), file.size(), image ? image : &local, limits);
}

TEST(ImageDecode, FilesGiveTheirTexels) {
  const Bytes greyAlpha = {10, 20, 30, 40};
  const struct {
    const char* name;
    Bytes file;
    FileType type;
    PixelFormat format;
    uint32_t width;
    Bytes bgra;
  } files[] = {
      {"png", png(), FileType::Png, PixelFormat::A8R8G8B8, 4, pixels(4, true)},
      {"png_rgb", tstest::encodePng(4, 4, 3, pixels(3).data()), FileType::Png, PixelFormat::X8R8G8B8, 4, pixels(3, true)},
      {"png_grey_alpha", tstest::encodePng(2, 1, 2, greyAlpha.data()), FileType::Png, PixelFormat::A8R8G8B8, 2,
       {10, 10, 10, 20, 30, 30, 30, 40}},
      {"bmp", bmp(), FileType::Bmp, PixelFormat::X8R8G8B8, 4, pixels(3, true)},
      {"tga", tga(false), FileType::Tga, PixelFormat::A8R8G8B8, 4, pixels(4, true)},
      {"tga_rle", tga(true), FileType::Tga, PixelFormat::A8R8G8B8, 4, pixels(4, true)},
  };
  for (const auto& f : files) {
    SCOPED_TRACE(f.name);
    gfximage::ImageInfo info;
    ASSERT_TRUE(gfximage::readInfo(f.file.data(), f.file.size(), &info).ok());
    EXPECT_EQ(info.width, f.width);
    gfximage::DecodedImage image;
    ASSERT_TRUE(decode(f.file, &image).ok());
    EXPECT_EQ(image.info.type, f.type);
    EXPECT_EQ(image.info.format, f.format);
    ASSERT_EQ(image.levels.size(), 1u);
    EXPECT_EQ(image.levels[0].pixels, f.bgra);
  }
}

TEST(ImageDecode, JpegWithinItsLoss) {
  const Bytes file = tstest::jpegFile();
  EXPECT_EQ(gfximage::identify(file.data(), file.size()), FileType::Jpg);
  gfximage::DecodedImage image;
  ASSERT_TRUE(decode(file, &image).ok());
  EXPECT_EQ(image.info.format, PixelFormat::X8R8G8B8);
  ASSERT_EQ(image.levels.size(), 1u);
  ASSERT_EQ(image.levels[0].pixels.size(), 4u * 2u * 4u);
  for (int i = 0; i < 8; ++i) {
    const uint8_t* texel = &image.levels[0].pixels[i * 4];
    for (int channel = 0; channel < 3; ++channel)
      EXPECT_NEAR(texel[2 - channel], tstest::kJpegTexels[i][channel], 2) << "texel " << i << ", channel " << channel;
    EXPECT_EQ(texel[3], 255);
  }
}

TEST(ImageDecodeHostile, NothingOrGarbage) {
  gfximage::DecodedImage image;
  EXPECT_EQ(gfximage::decode(nullptr, 10, &image).status, Status::InvalidArgument);
  const Bytes garbage = {'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd', 0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  EXPECT_EQ(gfximage::identify(garbage.data(), garbage.size()), FileType::Unknown);
  EXPECT_EQ(decode(garbage).status, Status::InvalidData);
}

// stb_image would read zeros for the missing bytes of a BMP or TGA; the size checks before it do not.
TEST(ImageDecodeHostile, EveryTruncationFailsOrKeepsTheSize) {
  for (const Bytes& file : {png(), bmp(), tga(false), tga(true), tstest::jpegFile()}) {
    size_t failures = 0;
    for (size_t length = 0; length < file.size(); ++length) {
      gfximage::DecodedImage image;
      const gfximage::Result result = decode(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)), &image);
      failures += result.ok() ? 0 : 1;
      EXPECT_TRUE(result.ok() ? image.levels.at(0).pixels.size() == image.info.width * image.info.height * 4u
                              : !result.reason.empty() && image.levels.empty());
    }
    // A JPEG cut inside its scan decodes with the rest grey, as readers do; before it, it cannot.
    EXPECT_TRUE(file[0] == 0xFF ? failures > 100 : failures == file.size()) << failures;
  }
}

void putBe32(Bytes* bytes, size_t offset, uint32_t value) {
  for (int i = 0; i < 4; ++i) (*bytes)[offset + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

TEST(ImageDecodeHostile, HugeDeclaredSizesFailWithoutBigAllocations) {
  // The PNG header's width and height lie at bytes 16 and 20 (big-endian); stb_image
  // does not check chunk CRCs, so the change reaches the decoder.
  Bytes wide = png();
  putBe32(&wide, 16, 9000);
  const gfximage::Result result = decode(wide);
  EXPECT_EQ(result.status, Status::TooLarge);
  EXPECT_NE(result.reason.find("9000 x 4"), std::string::npos) << result.reason;
  // Within the limits, but far more texels than the data could hold: a PNG of 8192 x 8192,
  // a BMP of 8000 x 8000 (little-endian at bytes 18 and 22), a TGA of 8000 x 8000 (at 12 and 14).
  Bytes bigPng = png(), bigBmp = bmp(), bigTga = tga(true);
  putBe32(&bigPng, 16, 8192);
  putBe32(&bigPng, 20, 8192);
  tstest::putLe32(&bigBmp, 18, 8000);
  tstest::putLe32(&bigBmp, 22, 8000);
  bigTga[12] = bigTga[14] = 0x40;
  bigTga[13] = bigTga[15] = 0x1f;
  for (const Bytes* file : {&bigPng, &bigBmp, &bigTga}) {
    EXPECT_EQ(decode(*file).status, Status::InvalidData);
    EXPECT_LT(gfximage::lastDecoderPeakBytes(), 1u << 20);
  }
  gfximage::Limits limits;
  limits.maxDimension = 3;
  EXPECT_EQ(decode(png(), nullptr, limits).status, Status::TooLarge);
  limits.maxDimension = 4;
  limits.maxPixelBytes = 63;
  EXPECT_EQ(decode(png(), nullptr, limits).status, Status::TooLarge);
  limits.maxPixelBytes = 64;
  EXPECT_TRUE(decode(png(), nullptr, limits).ok());
}

// A Huffman table whose 16 code counts total more than 256 would overrun stb_image's
// table; it is refused before stb_image sees the file, wherever the segment stands.
TEST(ImageDecodeHostile, JpegHuffmanTableWithTooManyCodes) {
  Bytes bad = tstest::jpegFile();
  size_t dht = 0;
  for (size_t i = 0; i + 1 < bad.size(); ++i)
    if (bad[i] == 0xFF && bad[i + 1] == 0xC4) dht = i;
  ASSERT_GT(dht, 0u);
  // The DC table's counts follow the marker, the length and the table's class byte.
  bad[dht + 5 + 3] = 200;
  bad[dht + 5 + 4] = 100;
  const gfximage::Result result = decode(bad);
  EXPECT_EQ(result.status, Status::InvalidData);
  EXPECT_NE(result.reason.find("Huffman"), std::string::npos) << result.reason;
  gfximage::ImageInfo info;
  EXPECT_EQ(gfximage::readInfo(bad.data(), bad.size(), &info).status, Status::InvalidData);
  // The same table after fill bytes before the start marker, and after junk between segments.
  Bytes padded = {0xFF, 0xFF};
  padded.insert(padded.end(), bad.begin() + 1, bad.end());
  EXPECT_EQ(decode(padded).status, Status::InvalidData);
  bad.insert(bad.begin() + static_cast<std::ptrdiff_t>(dht), {0x12, 0x34, 0x00});
  EXPECT_EQ(decode(bad).status, Status::InvalidData);
}

}  // namespace
