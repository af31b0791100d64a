// PNG, BMP, TGA and JPEG files written by stb_image_write, read back through our
// decoder; and the same files damaged.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "gfxhelper/image_decode.h"
#include "tests/gfxhelper/test_images.h"

namespace {

using gfximage::FileType;
using gfximage::PixelFormat;
using gfximage::Status;
using tstest::Bytes;

// A 4 x 4 RGBA image of distinct colours, some translucent.
std::vector<uint8_t> rgbaPixels() {
  std::vector<uint8_t> pixels;
  for (int i = 0; i < 16; ++i) {
    pixels.push_back(static_cast<uint8_t>(i * 16));
    pixels.push_back(static_cast<uint8_t>(255 - i * 15));
    pixels.push_back(static_cast<uint8_t>((i * 97) & 0xff));
    pixels.push_back(static_cast<uint8_t>(i < 8 ? 255 : 40 + i * 10));
  }
  return pixels;
}

// The same texels as B, G, R, A with `channels` of them kept (alpha 255 without one).
std::vector<uint8_t> expectedBgra(const std::vector<uint8_t>& rgba, int channels) {
  std::vector<uint8_t> bgra;
  for (size_t i = 0; i < rgba.size(); i += 4) {
    bgra.push_back(rgba[i + 2]);
    bgra.push_back(rgba[i + 1]);
    bgra.push_back(rgba[i + 0]);
    bgra.push_back(channels == 4 ? rgba[i + 3] : 255);
  }
  return bgra;
}

std::vector<uint8_t> dropAlpha(const std::vector<uint8_t>& rgba) {
  std::vector<uint8_t> rgb;
  for (size_t i = 0; i < rgba.size(); i += 4) rgb.insert(rgb.end(), {rgba[i], rgba[i + 1], rgba[i + 2]});
  return rgb;
}

gfximage::DecodedImage decodeOk(const Bytes& file) {
  gfximage::DecodedImage image;
  const gfximage::Result result = gfximage::decode(file.data(), file.size(), &image);
  EXPECT_TRUE(result.ok()) << result.reason;
  return image;
}

TEST(ImageDecode, LosslessFilesGiveTheirTexels) {
  const std::vector<uint8_t> rgba = rgbaPixels(), rgb = dropAlpha(rgba);
  const struct {
    const char* name;
    Bytes file;
    FileType type;
    PixelFormat format;
    int channels;
  } files[] = {
      {"png", tstest::encodePng(4, 4, 4, rgba.data()), FileType::Png, PixelFormat::A8R8G8B8, 4},
      {"png_rgb", tstest::encodePng(4, 4, 3, rgb.data()), FileType::Png, PixelFormat::X8R8G8B8, 3},
      {"bmp", tstest::encodeBmp(4, 4, 3, rgb.data()), FileType::Bmp, PixelFormat::X8R8G8B8, 3},
      {"tga", tstest::encodeTga(4, 4, 4, rgba.data(), false), FileType::Tga, PixelFormat::A8R8G8B8, 4},
      {"tga_rle", tstest::encodeTga(4, 4, 4, rgba.data(), true), FileType::Tga, PixelFormat::A8R8G8B8, 4},
  };
  for (const auto& f : files) {
    SCOPED_TRACE(f.name);
    ASSERT_FALSE(f.file.empty());
    EXPECT_EQ(gfximage::identify(f.file.data(), f.file.size()), f.type);
    const gfximage::DecodedImage image = decodeOk(f.file);
    EXPECT_EQ(image.info.type, f.type);
    EXPECT_EQ(image.info.format, f.format);
    EXPECT_EQ(image.info.mipLevels, 1u);
    ASSERT_EQ(image.levels.size(), 1u);
    EXPECT_EQ(image.levels[0].width, 4u);
    EXPECT_EQ(image.levels[0].pixels, expectedBgra(rgba, f.channels));
  }

  const std::vector<uint8_t> grey = {0, 50, 100, 150, 200, 250};
  const gfximage::DecodedImage g = decodeOk(tstest::encodePng(3, 2, 1, grey.data()));
  ASSERT_EQ(g.levels.size(), 1u);
  EXPECT_EQ(g.info.format, PixelFormat::X8R8G8B8);
  for (size_t i = 0; i < grey.size(); ++i)
    EXPECT_EQ((std::vector<uint8_t>(g.levels[0].pixels.begin() + 4 * i, g.levels[0].pixels.begin() + 4 * i + 4)),
              (std::vector<uint8_t>{grey[i], grey[i], grey[i], 255}));

  const std::vector<uint8_t> greyAlpha = {10, 20, 30, 40};
  const gfximage::DecodedImage ga = decodeOk(tstest::encodePng(2, 1, 2, greyAlpha.data()));
  EXPECT_EQ(ga.info.format, PixelFormat::A8R8G8B8);
  ASSERT_EQ(ga.levels.size(), 1u);
  EXPECT_EQ(ga.levels[0].pixels, (std::vector<uint8_t>{10, 10, 10, 20, 30, 30, 30, 40}));
}

TEST(ImageDecode, JpegWithinItsLoss) {
  // Smooth gradients and a sharp edge: every texel comes back within what the colour
  // conversion and the transforms' rounding lose (the quantisers of our writer are 1).
  const int width = 24, height = 16;
  std::vector<uint8_t> rgb(width * height * 3);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      uint8_t* p = &rgb[(y * width + x) * 3];
      p[0] = static_cast<uint8_t>(x * 10);
      p[1] = static_cast<uint8_t>(y * 15);
      p[2] = static_cast<uint8_t>(x < 12 ? 40 : 220);
    }
  const Bytes file = tstest::encodeJpeg(width, height, rgb.data());
  EXPECT_EQ(gfximage::identify(file.data(), file.size()), FileType::Jpg);
  const gfximage::DecodedImage image = decodeOk(file);
  EXPECT_EQ(image.info.type, FileType::Jpg);
  EXPECT_EQ(image.info.format, PixelFormat::X8R8G8B8);
  ASSERT_EQ(image.levels.size(), 1u);
  ASSERT_EQ(image.levels[0].width, static_cast<uint32_t>(width));
  int worst = 0;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const uint8_t* texel = image.levels[0].texel(x, y);
      const uint8_t* p = &rgb[(y * width + x) * 3];
      worst = std::max({worst, std::abs(texel[2] - p[0]), std::abs(texel[1] - p[1]), std::abs(texel[0] - p[2])});
      EXPECT_EQ(texel[3], 255);
    }
  EXPECT_LE(worst, 4);
}

TEST(ImageDecode, JpegProgressiveGreyAndCoarse) {
  const int width = 16, height = 8;
  std::vector<uint8_t> rgb(width * height * 3);
  for (int i = 0; i < width * height; ++i) {
    rgb[i * 3] = static_cast<uint8_t>(i * 2);
    rgb[i * 3 + 1] = static_cast<uint8_t>(255 - i);
    rgb[i * 3 + 2] = static_cast<uint8_t>((i % width) * 16);
  }
  tstest::JpegOptions progressive;
  progressive.progressive = true;
  const gfximage::DecodedImage a = decodeOk(tstest::encodeJpeg(width, height, rgb.data(), progressive));
  const gfximage::DecodedImage b = decodeOk(tstest::encodeJpeg(width, height, rgb.data()));
  ASSERT_EQ(a.levels.size(), 1u);
  ASSERT_EQ(b.levels.size(), 1u);
  EXPECT_EQ(a.levels[0].pixels, b.levels[0].pixels) << "the same coefficients, sent in another order";

  tstest::JpegOptions grey;
  grey.grey = true;
  const gfximage::DecodedImage g = decodeOk(tstest::encodeJpeg(width, height, rgb.data(), grey));
  ASSERT_EQ(g.levels.size(), 1u);
  for (int i = 0; i < width * height; ++i) {
    const uint8_t* texel = &g.levels[0].pixels[i * 4];
    const float luma = 0.299f * rgb[i * 3] + 0.587f * rgb[i * 3 + 1] + 0.114f * rgb[i * 3 + 2];
    EXPECT_NEAR(texel[0], luma, 3) << i;
    EXPECT_EQ(texel[0], texel[2]);
  }

  // A flat image survives a coarse 16-bit quantiser: only its DC term is left, exactly.
  std::vector<uint8_t> flat(width * height * 3, 128 + 64);
  tstest::JpegOptions coarse;
  coarse.grey = true;
  coarse.quantiser = 256;
  const gfximage::DecodedImage c = decodeOk(tstest::encodeJpeg(width, height, flat.data(), coarse));
  ASSERT_EQ(c.levels.size(), 1u);
  EXPECT_NEAR(c.levels[0].pixels[0], 128 + 64, 1) << "8 * 64 = 512 = 2 * 256";
}

TEST(ImageDecode, JpegOfOddSize) {
  std::vector<uint8_t> rgb(5 * 3 * 3);
  for (size_t i = 0; i < rgb.size(); i += 3) {
    rgb[i] = 250;
    rgb[i + 1] = 128;
    rgb[i + 2] = 6;
  }
  const gfximage::DecodedImage image = decodeOk(tstest::encodeJpeg(5, 3, rgb.data()));
  ASSERT_EQ(image.levels.size(), 1u);
  EXPECT_EQ(image.levels[0].width, 5u);
  EXPECT_EQ(image.levels[0].height, 3u);
  const uint8_t* corner = image.levels[0].texel(4, 2);
  EXPECT_NEAR(corner[2], 250, 4);
  EXPECT_NEAR(corner[1], 128, 4);
  EXPECT_NEAR(corner[0], 6, 4);
}

TEST(ImageDecode, InfoWithoutDecoding) {
  const std::vector<uint8_t> rgba = rgbaPixels();
  const Bytes file = tstest::encodePng(4, 4, 4, rgba.data());
  gfximage::ImageInfo info;
  ASSERT_TRUE(gfximage::readInfo(file.data(), file.size(), &info).ok());
  EXPECT_EQ(info.width, 4u);
  EXPECT_EQ(info.height, 4u);
  EXPECT_EQ(info.type, FileType::Png);
}

TEST(ImageDecodeHostile, NothingOrGarbage) {
  gfximage::DecodedImage image;
  EXPECT_EQ(gfximage::decode(nullptr, 10, &image).status, Status::InvalidArgument);
  const Bytes garbage = {'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd', 0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  EXPECT_EQ(gfximage::decode(garbage.data(), 0, &image).status, Status::InvalidData);
  const gfximage::Result result = gfximage::decode(garbage.data(), garbage.size(), &image);
  EXPECT_EQ(result.status, Status::InvalidData);
  EXPECT_EQ(result.reason, "not an image file of a known kind");
  EXPECT_EQ(gfximage::identify(garbage.data(), garbage.size()), FileType::Unknown);
}

// Files whose every byte counts fail when cut short at any length: stb_image would
// read zeros for the missing bytes of a BMP or TGA, the size checks before it do not.
TEST(ImageDecodeHostile, EveryTruncationOfPngBmpAndTgaFails) {
  const std::vector<uint8_t> rgba = rgbaPixels();
  const Bytes files[] = {tstest::encodePng(4, 4, 4, rgba.data()), tstest::encodeBmp(4, 4, 3, dropAlpha(rgba).data()),
                         tstest::encodeTga(4, 4, 4, rgba.data(), false), tstest::encodeTga(4, 4, 4, rgba.data(), true)};
  for (const Bytes& file : files) {
    ASSERT_TRUE(decodeOk(file).levels.size() == 1);
    for (size_t length = 0; length < file.size(); ++length) {
      const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
      gfximage::DecodedImage image;
      const gfximage::Result result = gfximage::decode(cut.data(), cut.size(), &image);
      EXPECT_FALSE(result.ok()) << "length " << length;
      EXPECT_FALSE(result.reason.empty());
      EXPECT_TRUE(image.levels.empty());
    }
  }
}

TEST(ImageDecodeHostile, EveryTruncationOfJpegIsSafe) {
  std::vector<uint8_t> rgb(16 * 16 * 3);
  for (size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<uint8_t>(i * 7);
  const Bytes file = tstest::encodeJpeg(16, 16, rgb.data());
  size_t failures = 0;
  for (size_t length = 0; length < file.size(); ++length) {
    const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
    gfximage::DecodedImage image;
    const gfximage::Result result = gfximage::decode(cut.data(), cut.size(), &image);
    if (result.ok()) {
      // A JPEG cut inside its scan decodes with the rest grey, as readers do; the size holds.
      ASSERT_EQ(image.levels.size(), 1u);
      EXPECT_EQ(image.levels[0].width, 16u);
      EXPECT_EQ(image.levels[0].pixels.size(), 16u * 16u * 4u);
    } else {
      ++failures;
    }
  }
  EXPECT_GT(failures, 100u) << "cut before its scan, a JPEG cannot decode";
}

void putBe32(Bytes* bytes, size_t offset, uint32_t value) {
  for (int i = 0; i < 4; ++i) (*bytes)[offset + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

TEST(ImageDecodeHostile, HugeDeclaredSizesFailWithoutBigAllocations) {
  const std::vector<uint8_t> rgba = rgbaPixels();
  const Bytes png = tstest::encodePng(4, 4, 4, rgba.data());
  // The PNG header's width and height lie at bytes 16 and 20 (big-endian); stb_image
  // does not check chunk CRCs, so the change reaches the decoder.
  for (uint32_t size : {8193u, 100000u, 0x7fffffffu}) {
    Bytes file = png;
    putBe32(&file, 16, size);
    putBe32(&file, 20, size);
    gfximage::DecodedImage image;
    const gfximage::Result result = gfximage::decode(file.data(), file.size(), &image);
    EXPECT_FALSE(result.ok()) << size;
    EXPECT_LT(gfximage::lastDecoderPeakBytes(), 1u << 20) << size;
  }
  {
    Bytes file = png;
    putBe32(&file, 16, 9000);
    putBe32(&file, 20, 4);
    gfximage::DecodedImage image;
    const gfximage::Result result = gfximage::decode(file.data(), file.size(), &image);
    EXPECT_EQ(result.status, Status::TooLarge);
    EXPECT_NE(result.reason.find("9000 x 4"), std::string::npos) << result.reason;
  }
  // Within the limits, but far more texels than the data could hold: a PNG of 8192 x 8192,
  // a BMP of 8000 x 8000 (little-endian at bytes 18 and 22), a TGA of 8000 x 8000 (at 12 and 14).
  Bytes bigPng = png;
  putBe32(&bigPng, 16, 8192);
  putBe32(&bigPng, 20, 8192);
  Bytes bigBmp = tstest::encodeBmp(4, 4, 3, dropAlpha(rgba).data());
  tstest::putLe32(&bigBmp, 18, 8000);
  tstest::putLe32(&bigBmp, 22, 8000);
  Bytes bigTga = tstest::encodeTga(4, 4, 4, rgba.data(), true);
  bigTga[12] = bigTga[14] = 0x40;
  bigTga[13] = bigTga[15] = 0x1f;
  for (const Bytes* file : {&bigPng, &bigBmp, &bigTga}) {
    gfximage::DecodedImage image;
    EXPECT_EQ(gfximage::decode(file->data(), file->size(), &image).status, Status::InvalidData);
    EXPECT_LT(gfximage::lastDecoderPeakBytes(), 1u << 20);
  }
}

// A Huffman table whose 16 code counts total more than 256 would overrun stb_image's
// table; it is refused before stb_image sees the file, wherever the segment stands.
TEST(ImageDecodeHostile, JpegHuffmanTableWithTooManyCodes) {
  std::vector<uint8_t> rgb(8 * 8 * 3, 100);
  const Bytes good = tstest::encodeJpeg(8, 8, rgb.data());
  ASSERT_EQ(decodeOk(good).levels.size(), 1u);
  size_t dht = 0;
  for (size_t i = 0; i + 1 < good.size(); ++i)
    if (good[i] == 0xFF && good[i + 1] == 0xC4) dht = i;
  ASSERT_GT(dht, 0u);
  // The DC table's counts follow the marker, the length and the table's class byte.
  Bytes bad = good;
  bad[dht + 5 + 3] = 200;
  bad[dht + 5 + 4] = 100;
  gfximage::DecodedImage image;
  gfximage::Result result = gfximage::decode(bad.data(), bad.size(), &image);
  EXPECT_EQ(result.status, Status::InvalidData);
  EXPECT_NE(result.reason.find("Huffman"), std::string::npos) << result.reason;
  gfximage::ImageInfo info;
  EXPECT_EQ(gfximage::readInfo(bad.data(), bad.size(), &info).status, Status::InvalidData);

  // The same table after fill bytes before the start marker, and after junk between segments.
  Bytes padded = {0xFF, 0xFF};
  padded.insert(padded.end(), bad.begin() + 1, bad.end());
  EXPECT_EQ(gfximage::identify(padded.data(), padded.size()), FileType::Jpg);
  EXPECT_EQ(gfximage::decode(padded.data(), padded.size(), &image).status, Status::InvalidData);
  Bytes junk(bad.begin(), bad.begin() + static_cast<std::ptrdiff_t>(dht));
  junk.insert(junk.end(), {0x12, 0x34, 0x00});
  junk.insert(junk.end(), bad.begin() + static_cast<std::ptrdiff_t>(dht), bad.end());
  EXPECT_EQ(gfximage::decode(junk.data(), junk.size(), &image).status, Status::InvalidData);
}

TEST(ImageDecodeHostile, SmallerLimitsAreHonoured) {
  const std::vector<uint8_t> rgba = rgbaPixels();
  const Bytes png = tstest::encodePng(4, 4, 4, rgba.data());
  gfximage::Limits limits;
  limits.maxDimension = 3;
  gfximage::DecodedImage image;
  EXPECT_EQ(gfximage::decode(png.data(), png.size(), &image, limits).status, Status::TooLarge);
  limits.maxDimension = 4;
  limits.maxPixelBytes = 63;
  EXPECT_EQ(gfximage::decode(png.data(), png.size(), &image, limits).status, Status::TooLarge);
  limits.maxPixelBytes = 64;
  EXPECT_TRUE(gfximage::decode(png.data(), png.size(), &image, limits).ok());
}

// Single damaged bytes anywhere: each file still decodes to its declared size or fails cleanly.
TEST(ImageDecodeHostile, DamagedBytes) {
  const std::vector<uint8_t> rgba = rgbaPixels();
  std::vector<uint8_t> rgb(16 * 16 * 3);
  for (size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<uint8_t>(i * 13);
  const Bytes files[] = {tstest::encodePng(4, 4, 4, rgba.data()), tstest::encodeBmp(4, 4, 3, dropAlpha(rgba).data()),
                         tstest::encodeTga(4, 4, 4, rgba.data(), true), tstest::encodeJpeg(16, 16, rgb.data())};
  uint32_t seed = 99;
  for (const Bytes& original : files) {
    for (size_t at = 0; at < original.size(); ++at) {
      Bytes file = original;
      seed = seed * 1664525u + 1013904223u;
      file[at] = static_cast<uint8_t>(file[at] ^ (1u + (seed >> 29)));
      gfximage::DecodedImage image;
      const gfximage::Result result = gfximage::decode(file.data(), file.size(), &image);
      if (result.ok()) {
        ASSERT_EQ(image.levels.size(), 1u);
        EXPECT_EQ(image.levels[0].pixels.size(),
                  static_cast<size_t>(image.info.width) * image.info.height * 4);
      } else {
        EXPECT_FALSE(result.reason.empty());
      }
    }
  }
}

}  // namespace
