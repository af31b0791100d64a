#pragma once

// Image files for tests, made by our own code: PNG and JPEG through stb_image_write
// into memory, PNG and JPEG of every layout through the encoders of libpng and
// libjpeg-turbo; BMP, TGA and DDS headers field by field from the documented layouts.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tstest {

using Bytes = std::vector<uint8_t>;

// `pixels` holds `channels` bytes per texel (1 grey, 2 grey and alpha, 3 RGB, 4 RGBA;
// BMP and TGA take 3 or 4), rows top to bottom.
Bytes encodePng(int width, int height, int channels, const uint8_t* pixels);
Bytes encodeBmp(int width, int height, int channels, const uint8_t* pixels);
Bytes encodeTga(int width, int height, int channels, const uint8_t* pixels, bool rle);

// A little picture stored in each layout that the BMP and TGA readers know, with the
// B, G, R, A texels (top to bottom) that it must decode to.
struct StoredPicture {
  std::string name;
  Bytes file;
  Bytes bgra;
};
std::vector<StoredPicture> bmpAndTgaPictures();

// A 4 x 2 baseline JPEG of these texels (R, G, B; red, green, blue, white over yellow,
// cyan, magenta, black) at the best quality: it decodes to within a few steps of them.
extern const uint8_t kJpegTexels[8][3];
Bytes jpegFile();

// Through libpng: `samples` in the file's own layout (colour type and bit depth, 16-bit
// samples big-endian, palette indices a byte each), rows top to bottom. A palette
// holds R, G, B, A entries (its alphas become the tRNS chunk).
struct PngLayout {
  int colourType;
  int bitDepth;
  bool adam7;
  Bytes palette;
};
Bytes libPng(int width, int height, const PngLayout& layout, const Bytes& samples);

// Through libjpeg-turbo at the best quality, no subsampling: 1 (grey) or 3 (R, G, B)
// bytes a texel.
Bytes libJpeg(int width, int height, int channels, const Bytes& samples, bool progressive);

void appendLe32(Bytes* bytes, uint32_t value);

constexpr uint32_t fourCC(char a, char b, char c, char d) {
  return static_cast<uint32_t>(static_cast<uint8_t>(a)) | (static_cast<uint32_t>(static_cast<uint8_t>(b)) << 8) |
         (static_cast<uint32_t>(static_cast<uint8_t>(c)) << 16) | (static_cast<uint32_t>(static_cast<uint8_t>(d)) << 24);
}

// The fields of a DDS header that tests vary.
struct DdsHeader {
  uint32_t width = 4;
  uint32_t height = 4;
  uint32_t mipCount = 0;  // 0: no mip count flag
  uint32_t pixelFlags = 0;
  uint32_t fourCC = 0;
  uint32_t bitCount = 0;
  uint32_t redMask = 0, greenMask = 0, blueMask = 0, alphaMask = 0;
  uint32_t caps2 = 0;
  uint32_t depth = 0;
  uint32_t headerSize = 124;
};

// The 128 bytes of magic and header, then `data`.
Bytes ddsFile(const DdsHeader& header, const Bytes& data = Bytes());

// Headers of common kinds.
DdsHeader ddsMasks(uint32_t width, uint32_t height, uint32_t bits, uint32_t red, uint32_t green, uint32_t blue,
                   uint32_t alpha);
DdsHeader ddsFourCC(uint32_t width, uint32_t height, uint32_t code);

// Pixel format flags, from the documented layout.
constexpr uint32_t kDdpfAlphaPixels = 0x1, kDdpfAlpha = 0x2, kDdpfFourCC = 0x4, kDdpfRgb = 0x40,
                   kDdpfLuminance = 0x20000;
constexpr uint32_t kCaps2AllFacesOfACube = 0x200 | 0xfc00;

// A DXT1 colour block from its two R5G6B5 end points and 16 two-bit indices (texel 0
// first, row by row).
Bytes dxtColourBlock(uint16_t c0, uint16_t c1, const int indices[16]);

}  // namespace tstest
