#include "tests/gfxhelper/test_images.h"

#include <stb_image_write.h>  // implemented once in the platform library

namespace tstest {

namespace {

void collect(void* context, void* data, int size) {
  auto* bytes = static_cast<Bytes*>(context);
  const auto* from = static_cast<const uint8_t*>(data);
  bytes->insert(bytes->end(), from, from + size);
}

}  // namespace

const uint8_t kJpegTexels[8][3] = {{255, 0, 0},   {0, 255, 0},   {0, 0, 255},   {255, 255, 255},
                                   {255, 255, 0}, {0, 255, 255}, {255, 0, 255}, {0, 0, 0}};

Bytes jpegFile() {
  static const char kBytes[] =
    "\xFF\xD8\xFF\xDB\x00\x43\x00\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01"
    "\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01"
    "\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\x01\xFF\xC0\x00\x11\x08\x00\x02\x00\x04\x03\x01\x11\x00"
    "\x02\x11\x00\x03\x11\x00\xFF\xC4\x00\xD2\x00\x00\x00\x00\x0C\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00"
    "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x10\x00\x00\x00\x00\x00\x00\x00\xA2\x00\x00\x00\x00\x00\x00\x00\x00"
    "\x00\xF0\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1A\x21\x22\x23\x24\x25\x26"
    "\x27\x28\x29\x2A\x31\x32\x33\x34\x35\x36\x37\x38\x39\x3A\x41\x42\x43\x44\x45\x46\x47\x48\x49\x4A\x51\x52\x53\x54"
    "\x55\x56\x57\x58\x59\x5A\x61\x62\x63\x64\x65\x66\x67\x68\x69\x6A\x71\x72\x73\x74\x75\x76\x77\x78\x79\x7A\x81\x82"
    "\x83\x84\x85\x86\x87\x88\x89\x8A\x91\x92\x93\x94\x95\x96\x97\x98\x99\x9A\xA1\xA2\xA3\xA4\xA5\xA6\xA7\xA8\xA9\xAA"
    "\xB1\xB2\xB3\xB4\xB5\xB6\xB7\xB8\xB9\xBA\xC1\xC2\xC3\xC4\xC5\xC6\xC7\xC8\xC9\xCA\xD1\xD2\xD3\xD4\xD5\xD6\xD7\xD8"
    "\xD9\xDA\xE1\xE2\xE3\xE4\xE5\xE6\xE7\xE8\xE9\xEA\xF1\xF2\xF3\xF4\xF5\xF6\xF7\xF8\xF9\xFA\xFF\xDA\x00\x0C\x03\x01"
    "\x00\x02\x00\x03\x00\x00\x3F\x00\x93\xE0\x57\x38\x26\xC4\x26\x9C\x24\xDC\x2A\x20\x11\x38\x21\x40\x4A\x10\x4C\xB0"
    "\x4C\x00\x4A\xA8\x42\xD0\x5B\x07\x7C\x1D\x40\x79\x41\x68\x21\xA8\x4B\x78\x46\x40\x88\xA1\x03\x81\xC0\x05\x90\x78"
    "\x80\xC0\x56\x05\xB0\x73\x80\xC0\x6F\x82\xC0\x39\xC1\x0C\x41\xE3\x07\x5C\x1D\xD0\x4C\x0D\xA0\x34\x1D\x10\x73\xC1"
    "\xD2\x07\x58\x0D\x06\xA8\x24\x06\x70\x1C\x0B\xC0\x68\x3B\x80\xEB\x03\xB8\x0C\x30\x20\x27\x02\x03\x30\x18\x80\xCC"
    "\x05\x50\x55\x00\x70\xC9\xD1\x02\x9E\x20\x79\x5E\x0B\xA1\x22\xA1\x05\x81\xBA\x0B\x80\x79\x5C\x0B\x60\xDC\x07\xB0"
    "\x1A\x60\xFA\x03\xDE\x0F\x50\x36\x41\x64\x0E\x20\x82\x70\x6A\x83\xCA\x0F\x60\x37\x81\xB8\x0F\x38\x3C\x00\xD1\x04"
    "\xA0\x50\x3C\x16\xC1\xB2\x0F\x10\x36\x81\xAC\x0D\xA0\x68\x82\x60\x59\x06\x90\x34\x41\x70\x16\x41\x30\x03\x0C\x67"
    "\x42\x1B\x83\x98\x0F\x30\x2E\x0C\xD8\x3C\x80\xF9\x84\x44\x09\xE1\x07\x94\x1F\x00\x78\x01\x64\x63\x83\x6C\x1E\xC0"
    "\x78\xC0\xF0\xA9\x60\x4E\xB0\x31\xC0\xF0\x6F\x83\xCA\x0D\x60\x4A\x1B\x02\xF8\x37\x41\xB6\x07\x83\x24\x18\xE0\xC9"
    "\x06\x58\x1C\x0D\x50\x6A\x02\xC0\x2D\x02\xF0\x1C\x0C\xE0\x65\x83\x38\x14\x80\xA0\x9C\x0A\x0A\xC0\xA4\x0A\xC0\x88"
    "\x11\x7F\xFF\xD9";
  return Bytes(kBytes, kBytes + sizeof kBytes - 1);
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
  const int saved = stbi_write_tga_with_rle;
  stbi_write_tga_with_rle = rle ? 1 : 0;
  if (!stbi_write_tga_to_func(collect, &bytes, width, height, channels, pixels)) bytes.clear();
  stbi_write_tga_with_rle = saved;
  return bytes;
}

void appendLe16(Bytes* bytes, uint32_t value) {
  bytes->push_back(static_cast<uint8_t>(value));
  bytes->push_back(static_cast<uint8_t>(value >> 8));
}

void appendLe32(Bytes* bytes, uint32_t value) {
  appendLe16(bytes, value & 0xffff);
  appendLe16(bytes, value >> 16);
}

void putLe32(Bytes* bytes, size_t offset, uint32_t value) {
  for (int i = 0; i < 4; ++i) (*bytes)[offset + i] = static_cast<uint8_t>(value >> (8 * i));
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
  for (uint32_t field : {header.pixelFormatSize, header.pixelFlags, header.fourCC, header.bitCount, header.redMask,
                         header.greenMask, header.blueMask, header.alphaMask, caps, header.caps2, 0u, 0u, 0u})
    appendLe32(&bytes, field);
  bytes.insert(bytes.end(), data.begin(), data.end());
  return bytes;
}

DdsHeader ddsMasks(uint32_t width, uint32_t height, uint32_t bits, uint32_t red, uint32_t green, uint32_t blue,
                   uint32_t alpha) {
  DdsHeader header;
  header.width = width;
  header.height = height;
  header.bitCount = bits;
  header.redMask = red;
  header.greenMask = green;
  header.blueMask = blue;
  header.alphaMask = alpha;
  header.pixelFlags = red | green | blue ? kDdpfRgb | (alpha ? kDdpfAlphaPixels : 0) : kDdpfAlpha;
  return header;
}

DdsHeader ddsFourCC(uint32_t width, uint32_t height, uint32_t code) {
  DdsHeader header;
  header.width = width;
  header.height = height;
  header.pixelFlags = kDdpfFourCC;
  header.fourCC = code;
  return header;
}

Bytes dxtColourBlock(uint16_t c0, uint16_t c1, const int indices[16]) {
  Bytes block;
  appendLe16(&block, c0);
  appendLe16(&block, c1);
  uint32_t bits = 0;
  for (int i = 0; i < 16; ++i) bits |= static_cast<uint32_t>(indices[i] & 3) << (2 * i);
  appendLe32(&block, bits);
  return block;
}

}  // namespace tstest
