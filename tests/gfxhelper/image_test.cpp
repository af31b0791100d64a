// Image files read back through our decoders: PNG and JPEG written by stb_image_write,
// PNG and JPEG of every layout by libpng and libjpeg-turbo; BMP, TGA and DDS files and DXT
// blocks built byte by byte from the documented layouts;
// and the same files damaged.
#include <gtest/gtest.h>
#include <png.h>

#include <array>

#include <algorithm>

#include "gfxhelper/dds.h"
#include "gfxhelper/dxt.h"
#include "gfxhelper/image_decode.h"
#include "gfxhelper/pixel_format.h"
#include "tests/gfxhelper/test_images.h"

namespace {

using gfximage::PixelFormat;
using gfximage::Status;
using tstest::Bytes;
namespace dds = gfximage::dds;

constexpr uint32_t kDxt1 = tstest::fourCC('D', 'X', 'T', '1');
const int kCycle[16] = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3};

// Files of the JPEG's 4 x 2 texels.
Bytes png() { return tstest::encodePng(4, 2, 3, tstest::kJpegTexels[0]); }
Bytes bmp() { return tstest::encodeBmp(4, 2, 3, tstest::kJpegTexels[0]); }
Bytes tga() { return tstest::encodeTga(4, 2, 3, tstest::kJpegTexels[0], true); }

gfximage::Result decode(const Bytes& file, gfximage::DecodedImage* image = nullptr,
                        const gfximage::Limits& limits = {}) {
  gfximage::DecodedImage local;
  return gfximage::decode(file.data(), file.size(), image ? image : &local, limits);
}

// A 1 x 1 DDS file of one texel.
Bytes masked(uint32_t bits, uint32_t red, uint32_t green, uint32_t blue, uint32_t alpha, const Bytes& texel) {
  return tstest::ddsFile(tstest::ddsMasks(1, 1, bits, red, green, blue, alpha), texel);
}

// Each file of the same texels gives them as B, G, R, A, the JPEG within its loss; grey and alpha widen.
TEST(ImageDecode, FilesGiveTheirTexels) {
  Bytes bgra;
  for (const auto& t : tstest::kJpegTexels) bgra.insert(bgra.end(), {t[2], t[1], t[0], 255});
  const Bytes greyAlpha = {10, 20, 30, 40};
  const struct {
    Bytes file;
    PixelFormat format;
    Bytes bgra;
    int tolerance;
  } files[] = {
      {png(), PixelFormat::X8R8G8B8, bgra, 0},
      {bmp(), PixelFormat::X8R8G8B8, bgra, 0},
      {tga(), PixelFormat::X8R8G8B8, bgra, 0},
      {tstest::jpegFile(), PixelFormat::X8R8G8B8, bgra, 3},
      {tstest::encodePng(2, 1, 2, greyAlpha.data()), PixelFormat::A8R8G8B8, {10, 10, 10, 20, 30, 30, 30, 40}, 0},
      // DDS texels by their masks.
      {masked(32, 0xff, 0xff00, 0xff0000, 0xff000000, {1, 2, 3, 4}), PixelFormat::A8B8G8R8, {3, 2, 1, 4}, 0},
      {masked(16, 0xf800, 0x7e0, 0x1f, 0, {0x1f, 0xf8}), PixelFormat::R5G6B5, {255, 0, 255, 255}, 0},  // red, blue 31
      // Alpha 5, red 10, green 3, blue 12, each times 17.
      {masked(16, 0xf00, 0xf0, 0xf, 0xf000, {0x3C, 0x5A}), PixelFormat::A4R4G4B4, {204, 51, 170, 85}, 0},
      // A layout without a Direct3D name, given as X8R8G8B8: 4 bits of red at the top, 12 of green below.
      {masked(16, 0xf000, 0x0fff, 0, 0, {0xff, 0x3f}), PixelFormat::X8R8G8B8, {0, 255, 51, 255}, 0},
  };
  for (const auto& f : files) {
    SCOPED_TRACE(&f - files);
    gfximage::DecodedImage image;
    ASSERT_TRUE(decode(f.file, &image).ok());
    EXPECT_EQ(image.info.format, f.format);
    ASSERT_EQ(image.levels.size(), 1u);
    ASSERT_EQ(image.levels[0].pixels.size(), f.bgra.size());
    for (size_t i = 0; i < f.bgra.size(); ++i) EXPECT_NEAR(image.levels[0].pixels[i], f.bgra[i], f.tolerance) << i;
  }
}
// Every layout of the BMP and TGA readers, each file written field by field, gives the texels written.
TEST(ImageDecode, BmpAndTgaLayoutsGiveTheirTexels) {
  for (const tstest::StoredPicture& picture : tstest::bmpAndTgaPictures()) {
    SCOPED_TRACE(picture.name);
    gfximage::DecodedImage image;
    const gfximage::Result result = decode(picture.file, &image);
    ASSERT_TRUE(result.ok()) << result.reason;
    EXPECT_EQ(image.info.type, picture.name[0] == 'b' ? gfximage::FileType::Bmp : gfximage::FileType::Tga);
    EXPECT_EQ(image.levels.at(0).pixels, picture.bgra);
  }
}

// Files written by libpng and libjpeg-turbo in each layout they write give back the
// texels written: exactly from PNG (16-bit samples by their high byte), within the
// encoder's loss from JPEG.
TEST(ImageDecode, LibraryWrittenFilesGiveTheirTexels) {
  constexpr int kWidth = 9, kHeight = 7;  // odd: partial JPEG blocks, every Adam7 pass
  // R, G, B, A at (x, y): smooth, so that the JPEG's loss stays small.
  const auto rgba = [](int x, int y) {
    return std::array<uint8_t, 4>{uint8_t(40 + 20 * x), uint8_t(30 * y), uint8_t(200 - 10 * x - 8 * y), uint8_t(255 - 30 * x)};
  };
  // The channels of each texel in a file's order (R for grey); the low byte of a 16-bit sample is noise.
  const auto samples = [&](std::vector<int> channels, int depth) {
    Bytes bytes;
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x)
        for (int c : channels) {
          bytes.push_back(rgba(x, y)[c]);
          if (depth == 16) bytes.push_back(uint8_t(x * 37 + y * 11 + c));
        }
    return bytes;
  };
  Bytes palette, indices;  // each column's top texel
  for (int x = 0; x < kWidth; ++x) {
    const auto top = rgba(x, 0);
    palette.insert(palette.end(), top.begin(), top.end());
  }
  for (int i = 0; i < kWidth * kHeight; ++i) indices.push_back(uint8_t(i % kWidth));
  const std::vector<int> grey = {0}, greyAlpha = {0, 3}, rgb = {0, 1, 2}, all = {0, 1, 2, 3};
  const auto png = [&](int type, int depth, bool adam7, const std::vector<int>& channels) {
    return tstest::libPng(kWidth, kHeight, {type, depth, adam7, {}}, samples(channels, depth));
  };
  const struct {
    Bytes file;
    std::vector<int> channels;  // what the texel holds: grey (and alpha), or colour (and alpha)
    bool byColumn;              // the palette's texels
    int tolerance;
  } files[] = {
      {png(PNG_COLOR_TYPE_GRAY, 8, false, grey), grey, false, 0},
      {png(PNG_COLOR_TYPE_GRAY, 16, true, grey), grey, false, 0},
      {png(PNG_COLOR_TYPE_GRAY_ALPHA, 8, false, greyAlpha), greyAlpha, false, 0},
      {png(PNG_COLOR_TYPE_RGB, 8, true, rgb), rgb, false, 0},
      {png(PNG_COLOR_TYPE_RGB, 16, false, rgb), rgb, false, 0},
      {png(PNG_COLOR_TYPE_RGB_ALPHA, 8, false, all), all, false, 0},
      {png(PNG_COLOR_TYPE_RGB_ALPHA, 16, true, all), all, false, 0},
      {tstest::libPng(kWidth, kHeight, {PNG_COLOR_TYPE_PALETTE, 8, true, palette}, indices), all, true, 0},
      {tstest::libJpeg(kWidth, kHeight, 1, samples(grey, 8), false), grey, false, 2},
      {tstest::libJpeg(kWidth, kHeight, 1, samples(grey, 8), true), grey, false, 2},
      {tstest::libJpeg(kWidth, kHeight, 3, samples(rgb, 8), false), rgb, false, 3},
      {tstest::libJpeg(kWidth, kHeight, 3, samples(rgb, 8), true), rgb, false, 3},
  };
  for (const auto& f : files) {
    SCOPED_TRACE(&f - files);
    gfximage::DecodedImage image;
    ASSERT_TRUE(decode(f.file, &image).ok());
    const bool alpha = f.channels.back() == 3;
    EXPECT_EQ(image.info.format, alpha ? PixelFormat::A8R8G8B8 : PixelFormat::X8R8G8B8);
    ASSERT_EQ(image.levels.at(0).pixels.size(), size_t{kWidth * kHeight * 4});
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x) {
        const auto written = rgba(x, f.byColumn ? 0 : y);
        const bool colour = f.channels.size() > 2;
        const uint8_t bgra[4] = {written[colour ? 2 : 0], written[colour ? 1 : 0], written[0], alpha ? written[3] : uint8_t{255}};
        for (int c = 0; c < 4; ++c) EXPECT_NEAR(image.levels[0].texel(x, y)[c], bgra[c], f.tolerance) << x << ", " << y;
      }
  }
}

// 8 x 4 DXT1 with its whole chain: red and green blocks, then one block for each of 4 x 2, 2 x 1, 1 x 1.
Bytes dxt1Chain() {
  tstest::DdsHeader header = tstest::ddsFourCC(8, 4, kDxt1);
  header.mipCount = 4;
  Bytes data;
  const int solid[16] = {};
  for (uint16_t colour : {0xF800, 0x07E0, 0x001F, 0xFFFF, 0xF81F}) {
    const Bytes block = tstest::dxtColourBlock(colour, 0, solid);
    data.insert(data.end(), block.begin(), block.end());
  }
  return tstest::ddsFile(header, data);
}

// A cut file is refused, or decoded whole.
TEST(ImageDecodeHostile, EveryTruncationFailsOrKeepsTheSize) {
  for (const Bytes& file : {png(), bmp(), tga(), tstest::jpegFile(), dxt1Chain()}) {
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

TEST(ImageDecodeHostile, HugeDeclaredSizesFailWithoutBigAllocations) {
  // The PNG header's width and height lie at bytes 16 and 20 (big-endian); chunk CRCs
  // are not enforced, so the change reaches the decoder.
  Bytes wide = png(), bigPng = png(), bigBmp = bmp(), bigTga = tga();
  wide[18] = 0x23, wide[19] = 0x28;  // 9000
  EXPECT_EQ(decode(wide).status, Status::TooLarge);
  // Within the limits, but far more texels than the data could hold: a PNG of 8192 x 8192,
  // a BMP of 8000 x 8000 (little-endian at bytes 18 and 22), a TGA of 8000 x 8000 (at 12 and 14).
  bigPng[18] = bigPng[22] = 0x20, bigPng[19] = bigPng[23] = 0;
  bigBmp[19] = bigBmp[23] = bigTga[13] = bigTga[15] = 0x1f;
  bigBmp[18] = bigBmp[22] = bigTga[12] = bigTga[14] = 0x40;
  for (const Bytes* file : {&bigPng, &bigBmp, &bigTga}) EXPECT_EQ(decode(*file).status, Status::InvalidData);
  gfximage::Limits limits;
  limits.maxPixelBytes = 31;  // one byte short of 4 x 2 texels
  EXPECT_EQ(decode(png(), nullptr, limits).status, Status::TooLarge);
}

// Pictures of BMPAndTgaLayouts with one byte changed (at -1: none) or cut short.
TEST(ImageDecodeHostile, BmpAndTgaDamageIsNamed) {
  const struct {
    const char* picture;
    int at;
    uint8_t value;
    size_t cut;
    const char* reason;
  } damages[] = {
      {"bmp_4bit", 70, 0xf0, 0, "BMP: a pixel names palette entry 15, past the palette's 4"},
      {"tga_mapped", 30, 9, 0, "TGA: a pixel names colour map entry 9, outside the map's 0 to 3"},
      {"bmp_rle8_delta", 70, 8, 0, "BMP: a run-length run goes past the end of a row"},
      {"bmp_rle8_delta", 98, 7, 0, "BMP: a run-length delta moves outside the image"},
      {"tga_rle_24", 18, 0xff, 0, "TGA: a run-length packet runs past the last pixel"},
      {"bmp_24bit", -1, 0, 1, "BMP: the pixel rows run past the end of the file"},
      {"bmp_rle4", -1, 0, 2, "BMP: the run-length data ends before its end-of-bitmap code"},
      {"tga_rle_mapped_16bit_index_top", -1, 0, 1, "TGA: the pixel data runs past the end of the file"},
  };
  const std::vector<tstest::StoredPicture> pictures = tstest::bmpAndTgaPictures();
  for (const auto& damage : damages) {
    const auto picture = std::find_if(pictures.begin(), pictures.end(), [&](const auto& p) { return p.name == damage.picture; });
    ASSERT_NE(picture, pictures.end());
    Bytes file(picture->file.begin(), picture->file.end() - static_cast<std::ptrdiff_t>(damage.cut));
    if (damage.at >= 0) file.at(static_cast<size_t>(damage.at)) = damage.value;
    EXPECT_EQ(decode(file).reason, damage.reason);
  }
}

// A Huffman table whose 16 code counts total more than 256 is refused, wherever the
// segment stands.
TEST(ImageDecodeHostile, JpegHuffmanTableWithTooManyCodes) {
  Bytes bad = tstest::jpegFile();
  size_t dht = 0;
  for (size_t i = 0; i + 1 < bad.size(); ++i)
    if (bad[i] == 0xFF && bad[i + 1] == 0xC4) dht = i;
  ASSERT_GT(dht, 0u);
  // The first table's counts follow the marker, the length and the table's class byte.
  bad[dht + 5 + 3] = 200;
  bad[dht + 5 + 4] = 100;
  const gfximage::Result result = decode(bad);
  EXPECT_NE(result.reason.find("Huffman"), std::string::npos) << result.reason;
  // The same table after junk between segments.
  bad.insert(bad.begin() + static_cast<std::ptrdiff_t>(dht), {0x12, 0x34, 0x00});
  EXPECT_EQ(decode(bad).status, Status::InvalidData);
}



// A DXT1 colour block of red over blue (c0 > c1) after each form's alpha half: texels
// 0 to 3 of each row take red, blue, two thirds and one third of the way; (2 * 255 + 0) / 3 = 170.
TEST(Dxt, BlocksGiveTheColoursOfTheLayoutsRules) {
  const uint8_t bgr[4][3] = {{0, 0, 255}, {255, 0, 0}, {85, 0, 170}, {170, 0, 85}};
  const struct {
    PixelFormat format;
    Bytes alpha;
    uint8_t a[8];  // texel t has alpha a[t % 8]
  } cases[] = {
      {PixelFormat::DXT1, {}, {255, 255, 255, 255, 255, 255, 255, 255}},
      // Texel t has the 4-bit alpha t % 8, widened 17 times.
      {PixelFormat::DXT3, {0x10, 0x32, 0x54, 0x76, 0x10, 0x32, 0x54, 0x76}, {0, 17, 34, 51, 68, 85, 102, 119}},
      // Texel t takes the 3-bit index t % 8 (0xFAC688 twice); a0 > a1: (6 a0 + a1) / 7 ... (a0 + 6 a1) / 7.
      {PixelFormat::DXT5, {210, 0, 0x88, 0xC6, 0xFA, 0x88, 0xC6, 0xFA}, {210, 0, 180, 150, 120, 90, 60, 30}},
  };
  for (const auto& c : cases) {
    Bytes block = c.alpha, texels(64), expected;
    const Bytes colour = tstest::dxtColourBlock(0xF800, 0x001F, kCycle);
    block.insert(block.end(), colour.begin(), colour.end());
    gfximage::dxt::decodeBlock(c.format, block.data(), texels.data());
    for (int t = 0; t < 16; ++t) expected.insert(expected.end(), {bgr[t % 4][0], bgr[t % 4][1], bgr[t % 4][2], c.a[t % 8]});
    EXPECT_EQ(texels, expected) << static_cast<uint32_t>(c.format);
  }
}

TEST(Dds, MipLevelsWhereTheLayoutPutsThem) {
  gfximage::DecodedImage image;
  ASSERT_TRUE(decode(dxt1Chain(), &image).ok());
  ASSERT_EQ(image.levels.size(), 4u);
  EXPECT_EQ(image.levels[1].height, 2u);
  EXPECT_EQ(Bytes(image.levels[0].texel(4, 3), image.levels[0].texel(4, 3) + 4), (Bytes{0, 255, 0, 255}));
  EXPECT_EQ(image.levels[3].pixels, (Bytes{255, 0, 255, 255}));
}

Status parseStatus(const tstest::DdsHeader& header, size_t dataBytes, const gfximage::Limits& limits = {}) {
  dds::File parsed;
  const Bytes file = tstest::ddsFile(header, Bytes(dataBytes, 0));
  return dds::parse(file.data(), file.size(), &parsed, limits).status;
}

TEST(DdsHostile, HeaderFieldsAndSizesAreChecked) {
  const auto bad = [](void (*change)(tstest::DdsHeader&)) {
    tstest::DdsHeader header = tstest::ddsFourCC(4, 4, kDxt1);
    change(header);
    return parseStatus(header, 1024 + 64);
  };
  EXPECT_EQ(bad([](tstest::DdsHeader&) {}), Status::Ok);
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.headerSize = 123; }), Status::InvalidData);
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.width = 0; }), Status::InvalidData);
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.mipCount = 4; }), Status::InvalidData) << "4 x 4 has three levels";
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.fourCC = 36; }), Status::Unsupported) << "a Direct3D format code";
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.caps2 = 0x200000, h.depth = 4; }), Status::Unsupported) << "volume";
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.caps2 = 0x200 | 0x400; }), Status::Unsupported) << "one face of a cube";
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h = tstest::ddsMasks(4, 4, 16, 0xff0000, 0xff00, 0xff, 0); }),
            Status::InvalidData) << "masks beyond the bit count";
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h = tstest::ddsMasks(4, 4, 16, 0xf801, 0x7e0, 0x1e, 0); }),
            Status::InvalidData) << "a mask in two pieces";
  EXPECT_EQ(bad([](tstest::DdsHeader& h) { h.pixelFlags = 0; }), Status::InvalidData) << "no layout named";
  for (uint32_t size : {8193u, 0xffffffffu}) EXPECT_EQ(parseStatus(tstest::ddsFourCC(size, 4, kDxt1), 64), Status::TooLarge);
  // At the limit but without the data: refused for the missing bytes, nothing allocated for pixels.
  EXPECT_EQ(parseStatus(tstest::ddsFourCC(8192, 8192, kDxt1), 64), Status::InvalidData);
  gfximage::Limits small;
  small.maxPixelBytes = 128;  // 8 x 4 texels of 4 bytes
  EXPECT_EQ(parseStatus(tstest::ddsFourCC(8, 4, kDxt1), 16, small), Status::Ok);
  EXPECT_EQ(parseStatus(tstest::ddsFourCC(8, 8, kDxt1), 32, small), Status::TooLarge);
}

}  // namespace
