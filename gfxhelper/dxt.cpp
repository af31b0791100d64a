#include "gfxhelper/dxt.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace gfximage {
namespace dxt {

namespace {

uint32_t readLe16(const uint8_t* bytes) { return static_cast<uint32_t>(bytes[0]) | (static_cast<uint32_t>(bytes[1]) << 8); }

void writeLe16(uint8_t* bytes, uint32_t value) {
  bytes[0] = static_cast<uint8_t>(value);
  bytes[1] = static_cast<uint8_t>(value >> 8);
}

// B, G, R, A of an R5G6B5 end point.
void expand565(uint32_t packed, uint8_t* bgra) {
  bgra[0] = expand5(packed & 0x1f);
  bgra[1] = expand6((packed >> 5) & 0x3f);
  bgra[2] = expand5((packed >> 11) & 0x1f);
  bgra[3] = 255;
}

uint8_t mix(uint32_t a, uint32_t weightA, uint32_t b, uint32_t weightB) {
  const uint32_t total = weightA + weightB;
  return static_cast<uint8_t>((a * weightA + b * weightB + total / 2) / total);
}

void colourPalette(uint32_t c0, uint32_t c1, bool threeColourAllowed, uint8_t palette[4][4]) {
  expand565(c0, palette[0]);
  expand565(c1, palette[1]);
  if (!threeColourAllowed || c0 > c1) {
    for (int channel = 0; channel < 3; ++channel) {
      palette[2][channel] = mix(palette[0][channel], 2, palette[1][channel], 1);
      palette[3][channel] = mix(palette[0][channel], 1, palette[1][channel], 2);
    }
    palette[2][3] = palette[3][3] = 255;
  } else {
    for (int channel = 0; channel < 3; ++channel) palette[2][channel] = mix(palette[0][channel], 1, palette[1][channel], 1);
    palette[2][3] = 255;
    palette[3][0] = palette[3][1] = palette[3][2] = palette[3][3] = 0;
  }
}

void decodeColour(const uint8_t* block, bool threeColourAllowed, bool keepAlpha, uint8_t texels[64]) {
  uint8_t palette[4][4];
  colourPalette(readLe16(block), readLe16(block + 2), threeColourAllowed, palette);
  const uint32_t indices = readLe16(block + 4) | (readLe16(block + 6) << 16);
  for (int texel = 0; texel < 16; ++texel) {
    const uint8_t* colour = palette[(indices >> (2 * texel)) & 3];
    uint8_t* out = texels + texel * 4;
    out[0] = colour[0];
    out[1] = colour[1];
    out[2] = colour[2];
    if (!keepAlpha) out[3] = colour[3];
  }
}

void alphaPalette(uint32_t a0, uint32_t a1, uint8_t palette[8]) {
  palette[0] = static_cast<uint8_t>(a0);
  palette[1] = static_cast<uint8_t>(a1);
  if (a0 > a1) {
    for (uint32_t i = 2; i < 8; ++i) palette[i] = mix(a0, 8 - i, a1, i - 1);
  } else {
    for (uint32_t i = 2; i < 6; ++i) palette[i] = mix(a0, 6 - i, a1, i - 1);
    palette[6] = 0;
    palette[7] = 255;
  }
}

uint64_t readIndices48(const uint8_t* bytes) {
  uint64_t bits = 0;
  for (int i = 5; i >= 0; --i) bits = (bits << 8) | bytes[i];
  return bits;
}

int colourDistance(const uint8_t* a, const uint8_t* b) {
  const int db = a[0] - b[0], dg = a[1] - b[1], dr = a[2] - b[2];
  return db * db + dg * dg + dr * dr;
}

uint32_t quantise565(const float* bgr) {
  auto level = [](float value, uint32_t top) {
    const float clamped = value < 0.0f ? 0.0f : (value > 255.0f ? 255.0f : value);
    return static_cast<uint32_t>((clamped * static_cast<float>(top) + 127.5f) / 255.0f);
  };
  return (level(bgr[2], 31) << 11) | (level(bgr[1], 63) << 5) | level(bgr[0], 31);
}

// End points along the principal axis of the opaque texels' colours: a few power
// iterations on their covariance give the axis, the extreme projections the ends.
void endPoints(const uint8_t texels[64], const bool used[16], uint32_t* c0, uint32_t* c1) {
  float mean[3] = {0, 0, 0};
  int count = 0;
  for (int t = 0; t < 16; ++t) {
    if (!used[t]) continue;
    for (int c = 0; c < 3; ++c) mean[c] += texels[t * 4 + c];
    ++count;
  }
  for (float& m : mean) m /= static_cast<float>(count);
  float cov[3][3] = {};
  for (int t = 0; t < 16; ++t) {
    if (!used[t]) continue;
    float d[3];
    for (int c = 0; c < 3; ++c) d[c] = texels[t * 4 + c] - mean[c];
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) cov[i][j] += d[i] * d[j];
  }
  // Start from the covariance row of the widest channel: unlike a fixed vector it is
  // never perpendicular to the principal axis unless all colours are alike.
  int widest = 0;
  for (int i = 1; i < 3; ++i)
    if (cov[i][i] > cov[widest][widest]) widest = i;
  float axis[3] = {cov[widest][0], cov[widest][1], cov[widest][2]};
  if (!(cov[widest][widest] > 0.0f)) axis[0] = axis[1] = axis[2] = 1.0f;
  for (int iteration = 0; iteration < 8; ++iteration) {
    float next[3];
    for (int i = 0; i < 3; ++i) next[i] = cov[i][0] * axis[0] + cov[i][1] * axis[1] + cov[i][2] * axis[2];
    const float length = std::sqrt(next[0] * next[0] + next[1] * next[1] + next[2] * next[2]);
    if (!(length > 1e-6f)) break;  // all texels (nearly) alike: any axis will do
    for (int i = 0; i < 3; ++i) axis[i] = next[i] / length;
  }
  float lowest = 0, highest = 0;
  int low = -1, high = -1;
  for (int t = 0; t < 16; ++t) {
    if (!used[t]) continue;
    float projection = 0;
    for (int c = 0; c < 3; ++c) projection += (texels[t * 4 + c] - mean[c]) * axis[c];
    if (low < 0 || projection < lowest) lowest = projection, low = t;
    if (high < 0 || projection > highest) highest = projection, high = t;
  }
  float ends[2][3];
  for (int c = 0; c < 3; ++c) {
    ends[0][c] = texels[high * 4 + c];
    ends[1][c] = texels[low * 4 + c];
  }
  *c0 = quantise565(ends[0]);
  *c1 = quantise565(ends[1]);
}

void encodeColour(const uint8_t texels[64], bool transparency, uint8_t* block) {
  bool used[16];
  bool anyTransparent = false, anyOpaque = false;
  for (int t = 0; t < 16; ++t) {
    used[t] = !transparency || texels[t * 4 + 3] >= 128;
    anyTransparent = anyTransparent || !used[t];
    anyOpaque = anyOpaque || used[t];
  }
  uint32_t c0 = 0, c1 = 0;
  if (anyOpaque) endPoints(texels, used, &c0, &c1);

  // Four colours need c0 > c1, three colours with transparency c0 <= c1.
  bool threeColour = anyTransparent;
  if (threeColour ? c0 > c1 : c0 < c1) {
    const uint32_t swap = c0;
    c0 = c1;
    c1 = swap;
  }
  if (c0 == c1) threeColour = true;  // one colour: index 0 in either mode, never the transparent 3
  uint8_t palette[4][4];
  colourPalette(c0, c1, true, palette);
  const int choices = threeColour ? 3 : 4;
  uint32_t indices = 0;
  for (int t = 0; t < 16; ++t) {
    uint32_t index = 3;
    if (used[t]) {
      index = 0;
      int best = colourDistance(texels + t * 4, palette[0]);
      for (int candidate = 1; candidate < choices; ++candidate) {
        const int distance = colourDistance(texels + t * 4, palette[candidate]);
        if (distance < best) best = distance, index = static_cast<uint32_t>(candidate);
      }
      if (c0 == c1) index = 0;
    }
    indices |= index << (2 * t);
  }
  writeLe16(block, c0);
  writeLe16(block + 2, c1);
  writeLe16(block + 4, indices & 0xffff);
  writeLe16(block + 6, indices >> 16);
}

void encodeExplicitAlpha(const uint8_t texels[64], uint8_t* block) {
  std::memset(block, 0, 8);
  for (int t = 0; t < 16; ++t) {
    const uint32_t level = (texels[t * 4 + 3] * 15u + 127u) / 255u;
    block[t / 2] = static_cast<uint8_t>(block[t / 2] | (level << (4 * (t & 1))));
  }
}

void encodeInterpolatedAlpha(const uint8_t texels[64], uint8_t* block) {
  uint32_t lowest = 255, highest = 0;
  for (int t = 0; t < 16; ++t) {
    const uint32_t alpha = texels[t * 4 + 3];
    if (alpha < lowest) lowest = alpha;
    if (alpha > highest) highest = alpha;
  }
  block[0] = static_cast<uint8_t>(highest);
  block[1] = static_cast<uint8_t>(lowest);
  uint8_t palette[8];
  alphaPalette(highest, lowest, palette);
  uint64_t bits = 0;
  if (highest != lowest) {  // equal ends: every index 0
    for (int t = 0; t < 16; ++t) {
      const int alpha = texels[t * 4 + 3];
      uint64_t index = 0;
      int best = 256;
      for (int candidate = 0; candidate < 8; ++candidate) {
        const int distance = std::abs(alpha - palette[candidate]);
        if (distance < best) best = distance, index = static_cast<uint64_t>(candidate);
      }
      bits |= index << (3 * t);
    }
  }
  for (int i = 0; i < 6; ++i) block[2 + i] = static_cast<uint8_t>(bits >> (8 * i));
}

}  // namespace

bool isBlockFormat(PixelFormat format) { return blockBytes(format) != 0; }

uint32_t blockBytes(PixelFormat format) {
  switch (format) {
    case PixelFormat::DXT1:
      return 8;
    case PixelFormat::DXT2:
    case PixelFormat::DXT3:
    case PixelFormat::DXT4:
    case PixelFormat::DXT5:
      return 16;
    default:
      return 0;
  }
}

uint8_t expand5(uint32_t value) { return static_cast<uint8_t>((value << 3) | (value >> 2)); }
uint8_t expand6(uint32_t value) { return static_cast<uint8_t>((value << 2) | (value >> 4)); }

void decodeBlock(PixelFormat format, const uint8_t* block, uint8_t texels[64]) {
  switch (format) {
    case PixelFormat::DXT1:
      decodeColour(block, true, false, texels);
      return;
    case PixelFormat::DXT2:
    case PixelFormat::DXT3:
      for (int t = 0; t < 16; ++t) texels[t * 4 + 3] = static_cast<uint8_t>(((block[t / 2] >> (4 * (t & 1))) & 0xf) * 17);
      decodeColour(block + 8, false, true, texels);
      return;
    case PixelFormat::DXT4:
    case PixelFormat::DXT5: {
      uint8_t palette[8];
      alphaPalette(block[0], block[1], palette);
      const uint64_t bits = readIndices48(block + 2);
      for (int t = 0; t < 16; ++t) texels[t * 4 + 3] = palette[(bits >> (3 * t)) & 7];
      decodeColour(block + 8, false, true, texels);
      return;
    }
    default:
      std::memset(texels, 0, 64);
      return;
  }
}

void encodeBlock(PixelFormat format, const uint8_t texels[64], uint8_t* block) {
  switch (format) {
    case PixelFormat::DXT1:
      encodeColour(texels, true, block);
      return;
    case PixelFormat::DXT3:
      encodeExplicitAlpha(texels, block);
      encodeColour(texels, false, block + 8);
      return;
    case PixelFormat::DXT5:
      encodeInterpolatedAlpha(texels, block);
      encodeColour(texels, false, block + 8);
      return;
    default:
      std::memset(block, 0, blockBytes(format));
      return;
  }
}

}  // namespace dxt
}  // namespace gfximage
