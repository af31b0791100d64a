#include "tests/gfxhelper/test_images.h"

// stb_image_write compiled here, static, so that its JPEG part can be built without the
// shift check (it shifts negative values left, which the sanitizer would stop at).
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

namespace tstest {

namespace {

void collect(void* context, void* data, int size) {
  auto* bytes = static_cast<Bytes*>(context);
  const auto* from = static_cast<const uint8_t*>(data);
  bytes->insert(bytes->end(), from, from + size);
}

// Every quantiser 1 and no subsampling of the colour.
constexpr int kBestJpegQuality = 100;

}  // namespace

const uint8_t kJpegTexels[8][3] = {{255, 0, 0},   {0, 255, 0},   {0, 0, 255},   {255, 255, 255},
                                   {255, 255, 0}, {0, 255, 255}, {255, 0, 255}, {0, 0, 0}};

Bytes jpegFile() {
  Bytes bytes;
  if (!stbi_write_jpg_to_func(collect, &bytes, 4, 2, 3, kJpegTexels, kBestJpegQuality)) bytes.clear();
  return bytes;
}

Bytes encodePng(int width, int height, int channels, const uint8_t* pixels) {
  Bytes bytes;
  if (!stbi_write_png_to_func(collect, &bytes, width, height, channels, pixels, width * channels)) bytes.clear();
  return bytes;
}

Bytes encodeBmp(int width, int height, int channels, const uint8_t* pixels) {
  Bytes bytes;
  if (!stbi_write_bmp_to_func(collect, &bytes, width, height, channels, pixels)) bytes.clear();
  return bytes;
}

Bytes encodeTga(int width, int height, int channels, const uint8_t* pixels, bool rle) {
  Bytes bytes;
  stbi_write_tga_with_rle = rle ? 1 : 0;  // this file's own copy of the writer's setting
  if (!stbi_write_tga_to_func(collect, &bytes, width, height, channels, pixels)) bytes.clear();
  return bytes;
}

void appendLe32(Bytes* bytes, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes->push_back(static_cast<uint8_t>(value >> (8 * i)));
}

Bytes ddsFile(const DdsHeader& header, const Bytes& data) {
  // Flags: caps, height, width, pixel format; the mip count and depth flags when they apply.
  const uint32_t flags = 0x1 | 0x2 | 0x4 | 0x1000 | (header.mipCount ? 0x20000 : 0) | (header.depth ? 0x800000 : 0);
  const uint32_t caps = 0x1000 | (header.mipCount > 1 ? 0x400000 | 0x8 : 0) | (header.caps2 ? 0x8 : 0);
  Bytes bytes;
  for (uint32_t field : {fourCC('D', 'D', 'S', ' '), header.headerSize, flags, header.height, header.width, 0u,
                         header.depth, header.mipCount})
    appendLe32(&bytes, field);
  for (int i = 0; i < 11; ++i) appendLe32(&bytes, 0);
  for (uint32_t field : {32u, header.pixelFlags, header.fourCC, header.bitCount, header.redMask,
                         header.greenMask, header.blueMask, header.alphaMask, caps, header.caps2, 0u, 0u, 0u})
    appendLe32(&bytes, field);
  bytes.insert(bytes.end(), data.begin(), data.end());
  return bytes;
}

DdsHeader ddsMasks(uint32_t width, uint32_t height, uint32_t bits, uint32_t red, uint32_t green, uint32_t blue,
                   uint32_t alpha) {
  const uint32_t flags = red | green | blue ? kDdpfRgb | (alpha ? kDdpfAlphaPixels : 0) : kDdpfAlpha;
  return {width, height, 0, flags, 0, bits, red, green, blue, alpha};
}

DdsHeader ddsFourCC(uint32_t width, uint32_t height, uint32_t code) { return {width, height, 0, kDdpfFourCC, code}; }

Bytes dxtColourBlock(uint16_t c0, uint16_t c1, const int indices[16]) {
  uint32_t bits = 0;
  for (int i = 0; i < 16; ++i) bits |= static_cast<uint32_t>(indices[i] & 3) << (2 * i);
  Bytes block;
  appendLe32(&block, c0 | static_cast<uint32_t>(c1) << 16);
  appendLe32(&block, bits);
  return block;
}

}  // namespace tstest
