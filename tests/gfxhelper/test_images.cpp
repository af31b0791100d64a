#include "tests/gfxhelper/test_images.h"

#include <algorithm>
#include <cmath>

#include <stb_image_write.h>  // implemented once in the platform library

namespace tstest {

namespace {

void collect(void* context, void* data, int size) {
  auto* bytes = static_cast<Bytes*>(context);
  const auto* from = static_cast<const uint8_t*>(data);
  bytes->insert(bytes->end(), from, from + size);
}

// Entropy-coded bits, most significant first, with a zero stuffed after every 0xFF.
class BitWriter {
 public:
  explicit BitWriter(Bytes* out) : out_(out) {}
  void put(uint32_t bits, int length) {
    for (int i = length - 1; i >= 0; --i) {
      buffer_ = (buffer_ << 1) | ((bits >> i) & 1);
      if (++count_ == 8) {
        out_->push_back(static_cast<uint8_t>(buffer_));
        if (buffer_ == 0xff) out_->push_back(0);
        buffer_ = 0;
        count_ = 0;
      }
    }
  }
  void flush() {
    while (count_ != 0) put(1, 1);  // padding bits are ones
  }

 private:
  Bytes* out_;
  uint32_t buffer_ = 0;
  int count_ = 0;
};

void appendBe16(Bytes* bytes, uint32_t value) {
  bytes->push_back(static_cast<uint8_t>(value >> 8));
  bytes->push_back(static_cast<uint8_t>(value));
}

// Natural (row by row) index of each coefficient in zig-zag order.
const int kZigZag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
                         41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
                         30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

// The symbols of the AC table: end of block, sixteen zeros, then every run and size.
std::vector<uint8_t> acSymbols() {
  std::vector<uint8_t> symbols = {0x00, 0xF0};
  for (int run = 0; run < 16; ++run)
    for (int size = 1; size <= 10; ++size) symbols.push_back(static_cast<uint8_t>((run << 4) | size));
  return symbols;
}

int bitSize(int value) {
  int size = 0;
  for (int magnitude = value < 0 ? -value : value; magnitude; magnitude >>= 1) ++size;
  return size;
}

// A value's size class and its bits; negatives are stored less one, in `size` bits.
void putValue(BitWriter* bits, int value, int size) {
  if (size) bits->put(static_cast<uint32_t>(value < 0 ? value + (1 << size) - 1 : value), size);
}

using Block = std::vector<int>;  // 64 quantised coefficients, row by row

Block transform(const float samples[64], int quantiser) {
  static const double kPi = 3.14159265358979323846;
  Block coefficients(64);
  for (int v = 0; v < 8; ++v) {
    for (int u = 0; u < 8; ++u) {
      double sum = 0;
      for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
          sum += samples[y * 8 + x] * std::cos((2 * x + 1) * u * kPi / 16) * std::cos((2 * y + 1) * v * kPi / 16);
      const double cu = u ? 1.0 : 1.0 / std::sqrt(2.0), cv = v ? 1.0 : 1.0 / std::sqrt(2.0);
      coefficients[v * 8 + u] = static_cast<int>(std::lround(0.25 * cu * cv * sum / quantiser));
    }
  }
  return coefficients;
}

// DC: the difference from the previous block, its size as a 4-bit code (code = size).
void encodeDc(BitWriter* bits, const Block& block, int* previousDc) {
  const int difference = block[0] - *previousDc;
  *previousDc = block[0];
  const int size = bitSize(difference);
  bits->put(static_cast<uint32_t>(size), 4);
  putValue(bits, difference, size);
}

// AC: runs of zeros and sizes as 8-bit codes (code = place in the symbol list); the
// end-of-block symbol doubles as a progressive scan's run of one block.
void encodeAc(BitWriter* bits, const Block& block, const std::vector<uint8_t>& ac) {
  auto code = [&ac](int symbol) {
    for (size_t i = 0; i < ac.size(); ++i)
      if (ac[i] == symbol) return static_cast<uint32_t>(i);
    return 0u;
  };
  int run = 0;
  for (int k = 1; k < 64; ++k) {
    const int value = block[kZigZag[k]];
    if (value == 0) {
      ++run;
      continue;
    }
    for (; run > 15; run -= 16) bits->put(code(0xF0), 8);
    const int size = bitSize(value);
    bits->put(code((run << 4) | size), 8);
    putValue(bits, value, size);
    run = 0;
  }
  if (run) bits->put(code(0x00), 8);
}

void appendScanHeader(Bytes* out, const std::vector<uint8_t>& components, uint8_t first, uint8_t last) {
  out->insert(out->end(), {0xFF, 0xDA});
  appendBe16(out, static_cast<uint32_t>(6 + 2 * components.size()));
  out->push_back(static_cast<uint8_t>(components.size()));
  for (uint8_t id : components) out->insert(out->end(), {id, 0x00});
  out->insert(out->end(), {first, last, 0});
}

}  // namespace

Bytes encodeJpeg(int width, int height, const uint8_t* rgb, const JpegOptions& options) {
  const std::vector<uint8_t> ac = acSymbols();
  const int components = options.grey ? 1 : 3;
  const bool wide = options.quantiser > 255;
  Bytes out = {0xFF, 0xD8};
  // Quantisers: one table, every entry the same.
  out.insert(out.end(), {0xFF, 0xDB});
  appendBe16(&out, wide ? 131 : 67);
  out.push_back(wide ? 0x10 : 0x00);
  for (int i = 0; i < 64; ++i) {
    if (wide) out.push_back(static_cast<uint8_t>(options.quantiser >> 8));
    out.push_back(static_cast<uint8_t>(options.quantiser));
  }
  // Frame: 8-bit samples, every component at full resolution on table 0.
  out.insert(out.end(), {0xFF, static_cast<uint8_t>(options.progressive ? 0xC2 : 0xC0)});
  appendBe16(&out, static_cast<uint32_t>(8 + 3 * components));
  out.push_back(8);
  appendBe16(&out, static_cast<uint32_t>(height));
  appendBe16(&out, static_cast<uint32_t>(width));
  out.push_back(static_cast<uint8_t>(components));
  for (int id = 1; id <= components; ++id) out.insert(out.end(), {static_cast<uint8_t>(id), 0x11, 0x00});
  // Huffman tables: DC sizes 0..11 with 4-bit codes, the AC symbols with 8-bit codes.
  out.insert(out.end(), {0xFF, 0xC4});
  appendBe16(&out, static_cast<uint32_t>(2 + 1 + 16 + 12 + 1 + 16 + ac.size()));
  out.push_back(0x00);
  for (int length = 1; length <= 16; ++length) out.push_back(length == 4 ? 12 : 0);
  for (uint8_t size = 0; size < 12; ++size) out.push_back(size);
  out.push_back(0x10);
  for (int length = 1; length <= 16; ++length) out.push_back(length == 8 ? static_cast<uint8_t>(ac.size()) : 0);
  out.insert(out.end(), ac.begin(), ac.end());

  // Every block of every component, in the order of an interleaved scan.
  std::vector<Block> blocks;
  for (int by = 0; by < (height + 7) / 8; ++by) {
    for (int bx = 0; bx < (width + 7) / 8; ++bx) {
      float samples[3][64];
      for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
          const int sx = std::min(bx * 8 + x, width - 1), sy = std::min(by * 8 + y, height - 1);
          const uint8_t* p = rgb + (static_cast<size_t>(sy) * width + sx) * 3;
          const float r = p[0], g = p[1], b = p[2];
          samples[0][y * 8 + x] = 0.299f * r + 0.587f * g + 0.114f * b - 128.0f;
          samples[1][y * 8 + x] = -0.168736f * r - 0.331264f * g + 0.5f * b;
          samples[2][y * 8 + x] = 0.5f * r - 0.418688f * g - 0.081312f * b;
        }
      }
      for (int component = 0; component < components; ++component)
        blocks.push_back(transform(samples[component], options.quantiser));
    }
  }

  std::vector<uint8_t> all;
  for (int id = 1; id <= components; ++id) all.push_back(static_cast<uint8_t>(id));
  int previous[3] = {0, 0, 0};
  if (!options.progressive) {
    appendScanHeader(&out, all, 0, 63);
    BitWriter bits(&out);
    for (size_t i = 0; i < blocks.size(); ++i) {
      encodeDc(&bits, blocks[i], &previous[i % components]);
      encodeAc(&bits, blocks[i], ac);
    }
    bits.flush();
  } else {
    // Spectral selection: the DC terms of all components, then each component's AC terms.
    appendScanHeader(&out, all, 0, 0);
    {
      BitWriter bits(&out);
      for (size_t i = 0; i < blocks.size(); ++i) encodeDc(&bits, blocks[i], &previous[i % components]);
      bits.flush();
    }
    for (int component = 0; component < components; ++component) {
      appendScanHeader(&out, {static_cast<uint8_t>(component + 1)}, 1, 63);
      BitWriter bits(&out);
      for (size_t i = static_cast<size_t>(component); i < blocks.size(); i += static_cast<size_t>(components))
        encodeAc(&bits, blocks[i], ac);
      bits.flush();
    }
  }
  out.insert(out.end(), {0xFF, 0xD9});
  return out;
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

Bytes encodeJpegStb(int width, int height, int channels, const uint8_t* pixels, int quality) {
  Bytes bytes;
  if (!stbi_write_jpg_to_func(collect, &bytes, width, height, channels, pixels, quality)) bytes.clear();
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

Bytes ddsHeader(const DdsHeader& header) {
  // Flags: caps, height, width, pixel format; the mip count flag when there is one.
  uint32_t flags = 0x1 | 0x2 | 0x4 | 0x1000;
  if (header.mipCount) flags |= 0x20000;
  if (header.depth) flags |= 0x800000;
  uint32_t caps = 0x1000;
  if (header.mipCount > 1) caps |= 0x400000 | 0x8;
  if (header.caps2) caps |= 0x8;

  Bytes bytes;
  appendLe32(&bytes, fourCC('D', 'D', 'S', ' '));
  appendLe32(&bytes, header.headerSize);
  appendLe32(&bytes, flags);
  appendLe32(&bytes, header.height);
  appendLe32(&bytes, header.width);
  appendLe32(&bytes, 0);  // pitch or linear size: not trusted by the reader
  appendLe32(&bytes, header.depth);
  appendLe32(&bytes, header.mipCount);
  for (int i = 0; i < 11; ++i) appendLe32(&bytes, 0);
  appendLe32(&bytes, header.pixelFormatSize);
  appendLe32(&bytes, header.pixelFlags);
  appendLe32(&bytes, header.fourCC);
  appendLe32(&bytes, header.bitCount);
  appendLe32(&bytes, header.redMask);
  appendLe32(&bytes, header.greenMask);
  appendLe32(&bytes, header.blueMask);
  appendLe32(&bytes, header.alphaMask);
  appendLe32(&bytes, caps);
  appendLe32(&bytes, header.caps2);
  appendLe32(&bytes, 0);
  appendLe32(&bytes, 0);
  appendLe32(&bytes, 0);
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
  header.pixelFlags = (red | green | blue ? kDdpfRgb : 0) | (alpha ? kDdpfAlphaPixels : 0);
  if (!(red | green | blue)) header.pixelFlags = kDdpfAlpha;
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
