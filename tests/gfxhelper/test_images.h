#pragma once

// Image files for tests, made by our own code: PNG, BMP, TGA and JPEG through
// stb_image_write into memory, DDS headers field by field from the documented
// layout (the pixel data is appended by each test).

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tstest {

using Bytes = std::vector<uint8_t>;

// `pixels` holds `channels` bytes per texel (1 grey, 2 grey and alpha, 3 RGB, 4 RGBA),
// rows top to bottom.
Bytes encodePng(int width, int height, int channels, const uint8_t* pixels);
Bytes encodeBmp(int width, int height, int channels, const uint8_t* pixels);
Bytes encodeTga(int width, int height, int channels, const uint8_t* pixels, bool rle);
// stb_image_write's JPEG writer shifts signed ints past their range, which the native
// build's UndefinedBehaviorSanitizer stops: use it in the Windows build only.
Bytes encodeJpegStb(int width, int height, int channels, const uint8_t* pixels, int quality);

// A JPEG of our own for any build: Y, Cb, Cr (or Y alone) without subsampling, one
// quantiser for every coefficient (with 1, only the colour conversion and the
// rounding of the transforms lose anything), and Huffman tables of fixed-length
// codes, which the format allows as well as the usual ones. Baseline, or progressive
// by spectral selection (the DC terms first, then each component's AC terms).
// `rgb` holds 3 bytes per texel; edges are repeated to whole 8 x 8 blocks.
struct JpegOptions {
  bool progressive = false;
  bool grey = false;
  int quantiser = 1;  // 1..65535; above 255 the table is written with 16-bit entries
};
Bytes encodeJpeg(int width, int height, const uint8_t* rgb, const JpegOptions& options = JpegOptions());

void appendLe16(Bytes* bytes, uint32_t value);
void appendLe32(Bytes* bytes, uint32_t value);
void putLe32(Bytes* bytes, size_t offset, uint32_t value);

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
  uint32_t pixelFormatSize = 32;
};

// The 128 bytes of magic and header.
Bytes ddsHeader(const DdsHeader& header);

// Headers of common kinds.
DdsHeader ddsMasks(uint32_t width, uint32_t height, uint32_t bits, uint32_t red, uint32_t green, uint32_t blue,
                   uint32_t alpha);
DdsHeader ddsFourCC(uint32_t width, uint32_t height, uint32_t code);

// Pixel format flags, from the documented layout.
constexpr uint32_t kDdpfAlphaPixels = 0x1, kDdpfAlpha = 0x2, kDdpfFourCC = 0x4, kDdpfPalette8 = 0x20, kDdpfRgb = 0x40,
                   kDdpfLuminance = 0x20000;

// A DXT1 colour block from its two R5G6B5 end points and 16 two-bit indices (texel 0
// first, row by row).
Bytes dxtColourBlock(uint16_t c0, uint16_t c1, const int indices[16]);

}  // namespace tstest
