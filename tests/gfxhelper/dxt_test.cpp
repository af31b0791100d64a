// DXT blocks encoded by hand from the documented block layout, and the colours that
// the layout's rules give for them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "gfxhelper/dxt.h"
#include "tests/gfxhelper/test_images.h"

namespace {

using gfximage::PixelFormat;
namespace dxt = gfximage::dxt;

struct Bgra {
  int b, g, r, a;
};

void expectTexel(const uint8_t* texels, int index, Bgra want, int tolerance = 0) {
  const uint8_t* t = texels + index * 4;
  EXPECT_NEAR(t[0], want.b, tolerance) << "blue of texel " << index;
  EXPECT_NEAR(t[1], want.g, tolerance) << "green of texel " << index;
  EXPECT_NEAR(t[2], want.r, tolerance) << "red of texel " << index;
  EXPECT_NEAR(t[3], want.a, tolerance) << "alpha of texel " << index;
}

const int kCycle[16] = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3};

// R5G6B5 words of pure colours.
constexpr uint16_t kRed = 0xF800, kGreen = 0x07E0, kBlue = 0x001F, kWhite = 0xFFFF, kBlack = 0x0000;

TEST(DxtExpand, FiveAndSixBitsSpanZeroTo255WithinOneOfExactScaling) {
  for (uint32_t v = 0; v < 32; ++v) EXPECT_LT(std::fabs(dxt::expand5(v) - v * 255.0 / 31.0), 1.0) << v;
  for (uint32_t v = 0; v < 64; ++v) EXPECT_LT(std::fabs(dxt::expand6(v) - v * 255.0 / 63.0), 1.0) << v;
  EXPECT_EQ(dxt::expand5(0), 0);
  EXPECT_EQ(dxt::expand5(31), 255);
  EXPECT_EQ(dxt::expand6(63), 255);
  EXPECT_EQ(dxt::expand5(16), 132);  // 10000b repeated into 10000100b
  EXPECT_EQ(dxt::expand6(32), 130);  // 100000b repeated into 10000010b
}

TEST(DxtDecode, Dxt1FourColoursWhenFirstEndPointIsGreater) {
  // Red over blue: red > blue as 16-bit words, so two thirds and one third between them.
  const tstest::Bytes block = tstest::dxtColourBlock(kRed, kBlue, kCycle);
  uint8_t texels[64];
  dxt::decodeBlock(PixelFormat::DXT1, block.data(), texels);
  for (int t = 0; t < 16; t += 4) {
    expectTexel(texels, t + 0, {0, 0, 255, 255});
    expectTexel(texels, t + 1, {255, 0, 0, 255});
    expectTexel(texels, t + 2, {85, 0, 170, 255});  // (2 * 255 + 0) / 3 = 170 red, 255 / 3 = 85 blue
    expectTexel(texels, t + 3, {170, 0, 85, 255});
  }
}

TEST(DxtDecode, Dxt1ThreeColoursAndTransparentBlackWhenFirstEndPointIsNotGreater) {
  const tstest::Bytes block = tstest::dxtColourBlock(kBlue, kGreen, kCycle);
  uint8_t texels[64];
  dxt::decodeBlock(PixelFormat::DXT1, block.data(), texels);
  expectTexel(texels, 0, {255, 0, 0, 255});
  expectTexel(texels, 1, {0, 255, 0, 255});
  expectTexel(texels, 2, {128, 128, 0, 255}, 1);  // half of 255, rounded either way
  expectTexel(texels, 3, {0, 0, 0, 0});
}

TEST(DxtDecode, Dxt1EqualEndPointsAreThreeColourMode) {
  const tstest::Bytes block = tstest::dxtColourBlock(kWhite, kWhite, kCycle);
  uint8_t texels[64];
  dxt::decodeBlock(PixelFormat::DXT1, block.data(), texels);
  expectTexel(texels, 2, {255, 255, 255, 255});
  expectTexel(texels, 3, {0, 0, 0, 0});
}

TEST(DxtDecode, Dxt3ExplicitAlphaAndAlwaysFourColours) {
  tstest::Bytes block;
  for (int pair = 0; pair < 8; ++pair) block.push_back(static_cast<uint8_t>((2 * pair) | ((2 * pair + 1) << 4)));
  // Black before white would be three-colour mode in DXT1; in DXT3 it is not.
  const tstest::Bytes colour = tstest::dxtColourBlock(kBlack, kWhite, kCycle);
  block.insert(block.end(), colour.begin(), colour.end());
  uint8_t texels[64];
  dxt::decodeBlock(PixelFormat::DXT3, block.data(), texels);
  for (int t = 0; t < 16; ++t) EXPECT_EQ(texels[t * 4 + 3], 17 * t) << "4-bit alpha " << t << " widens to 17 times";
  expectTexel(texels, 0, {0, 0, 0, 0});
  expectTexel(texels, 1, {255, 255, 255, 17});
  expectTexel(texels, 2, {85, 85, 85, 34});  // (2 * 0 + 255) / 3
  expectTexel(texels, 3, {170, 170, 170, 51});
}

tstest::Bytes dxt5Block(uint8_t a0, uint8_t a1, const int indices[16], const tstest::Bytes& colour) {
  tstest::Bytes block = {a0, a1};
  uint64_t bits = 0;
  for (int t = 0; t < 16; ++t) bits |= static_cast<uint64_t>(indices[t] & 7) << (3 * t);
  for (int i = 0; i < 6; ++i) block.push_back(static_cast<uint8_t>(bits >> (8 * i)));
  block.insert(block.end(), colour.begin(), colour.end());
  return block;
}

TEST(DxtDecode, Dxt5EightAlphaStepsWhenFirstIsGreater) {
  const int indices[16] = {0, 1, 2, 3, 4, 5, 6, 7, 7, 6, 5, 4, 3, 2, 1, 0};
  const tstest::Bytes block = dxt5Block(210, 0, indices, tstest::dxtColourBlock(kWhite, kWhite, kCycle));
  uint8_t texels[64];
  dxt::decodeBlock(PixelFormat::DXT5, block.data(), texels);
  // a0, a1, then (6 a0 + a1) / 7 ... (a0 + 6 a1) / 7: 210 divides by 7 exactly.
  const int want[8] = {210, 0, 180, 150, 120, 90, 60, 30};
  for (int t = 0; t < 16; ++t) EXPECT_EQ(texels[t * 4 + 3], want[indices[t]]) << t;
  expectTexel(texels, 3, {255, 255, 255, want[3]});
}

TEST(DxtDecode, Dxt5SixAlphaStepsThenZeroAnd255WhenFirstIsNotGreater) {
  const int indices[16] = {0, 1, 2, 3, 4, 5, 6, 7, 0, 0, 0, 0, 7, 7, 7, 7};
  const tstest::Bytes block = dxt5Block(0, 255, indices, tstest::dxtColourBlock(kRed, kRed, kCycle));
  uint8_t texels[64];
  dxt::decodeBlock(PixelFormat::DXT5, block.data(), texels);
  const int want[8] = {0, 255, 51, 102, 153, 204, 0, 255};  // (4 a0 + a1) / 5 ... (a0 + 4 a1) / 5
  for (int t = 0; t < 16; ++t) EXPECT_EQ(texels[t * 4 + 3], want[indices[t]]) << t;
  expectTexel(texels, 0, {0, 0, 255, 0});
}

TEST(DxtDecode, Dxt2AndDxt4ReadAsDxt3AndDxt5) {
  const int indices[16] = {0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 3, 4, 5, 6, 7};
  const tstest::Bytes five = dxt5Block(210, 0, indices, tstest::dxtColourBlock(kBlack, kRed, kCycle));
  uint8_t a[64], b[64];
  dxt::decodeBlock(PixelFormat::DXT5, five.data(), a);
  dxt::decodeBlock(PixelFormat::DXT4, five.data(), b);
  for (int i = 0; i < 64; ++i) EXPECT_EQ(a[i], b[i]) << i;
  dxt::decodeBlock(PixelFormat::DXT3, five.data(), a);
  dxt::decodeBlock(PixelFormat::DXT2, five.data(), b);
  for (int i = 0; i < 64; ++i) EXPECT_EQ(a[i], b[i]) << i;
}

// Texels of two colours that R5G6B5 holds exactly come back exactly from the encoder.
TEST(DxtEncode, TwoExactColoursSurviveEveryFormat) {
  const uint32_t pairs[][2] = {{kRed, kBlue}, {kWhite, kBlack}, {0x8410, 0x4208}, {0x07E0, 0xFFE0}, {0x1234, 0xFEDC}};
  for (const auto& pair : pairs) {
    uint8_t colours[2][4];
    for (int i = 0; i < 2; ++i) {
      colours[i][0] = dxt::expand5(pair[i] & 0x1f);
      colours[i][1] = dxt::expand6((pair[i] >> 5) & 0x3f);
      colours[i][2] = dxt::expand5(pair[i] >> 11);
      colours[i][3] = 255;
    }
    uint8_t texels[64];
    for (int t = 0; t < 16; ++t)
      for (int c = 0; c < 4; ++c) texels[t * 4 + c] = colours[(t * 7 / 3) % 2][c];
    for (PixelFormat format : {PixelFormat::DXT1, PixelFormat::DXT3, PixelFormat::DXT5}) {
      uint8_t block[16], back[64];
      dxt::encodeBlock(format, texels, block);
      dxt::decodeBlock(format, block, back);
      for (int i = 0; i < 64; ++i) ASSERT_EQ(back[i], texels[i]) << "format " << static_cast<uint32_t>(format) << " byte " << i;
    }
  }
}

TEST(DxtEncode, AnyColourComesBackWithinOneQuantisationStep) {
  uint32_t seed = 12345;
  for (int round = 0; round < 200; ++round) {
    uint8_t texels[64];
    for (int t = 0; t < 16; ++t) {
      for (int c = 0; c < 4; ++c) {
        seed = seed * 1664525u + 1013904223u;
        texels[t * 4 + c] = static_cast<uint8_t>(seed >> 24);
      }
    }
    // A smooth block: a solid colour; the encoder's error is bounded by the 5-bit step.
    for (int t = 1; t < 16; ++t)
      for (int c = 0; c < 3; ++c) texels[t * 4 + c] = texels[c];
    uint8_t block[16], back[64];
    dxt::encodeBlock(PixelFormat::DXT5, texels, block);
    dxt::decodeBlock(PixelFormat::DXT5, block, back);
    for (int t = 0; t < 16; ++t) {
      // Half a 5-bit step, plus what widening by repeated bits adds.
      for (int c = 0; c < 3; ++c) EXPECT_LE(std::abs(back[t * 4 + c] - texels[t * 4 + c]), 5) << round;
      // Eight alpha steps over the block's range: half a step at most, plus rounding.
      int lowest = 255, highest = 0;
      for (int u = 0; u < 16; ++u) {
        lowest = std::min<int>(lowest, texels[u * 4 + 3]);
        highest = std::max<int>(highest, texels[u * 4 + 3]);
      }
      EXPECT_LE(std::abs(back[t * 4 + 3] - texels[t * 4 + 3]), (highest - lowest) / 14 + 1) << round;
    }
    dxt::encodeBlock(PixelFormat::DXT3, texels, block);
    dxt::decodeBlock(PixelFormat::DXT3, block, back);
    for (int t = 0; t < 16; ++t) EXPECT_LE(std::abs(back[t * 4 + 3] - texels[t * 4 + 3]), 8) << round;
  }
}

TEST(DxtEncode, Dxt1KeepsTransparentTexelsTransparent) {
  uint8_t texels[64];
  for (int t = 0; t < 16; ++t) {
    const bool clear = t % 3 == 0;
    texels[t * 4 + 0] = 0;
    texels[t * 4 + 1] = 255;
    texels[t * 4 + 2] = 255;
    texels[t * 4 + 3] = clear ? 10 : 250;
  }
  uint8_t block[8], back[64];
  dxt::encodeBlock(PixelFormat::DXT1, texels, block);
  dxt::decodeBlock(PixelFormat::DXT1, block, back);
  for (int t = 0; t < 16; ++t) {
    if (t % 3 == 0) {
      expectTexel(back, t, {0, 0, 0, 0});
    } else {
      expectTexel(back, t, {0, 255, 255, 255});
    }
  }
}

TEST(DxtEncode, Dxt1AllTransparent) {
  uint8_t texels[64] = {};
  uint8_t block[8], back[64];
  dxt::encodeBlock(PixelFormat::DXT1, texels, block);
  dxt::decodeBlock(PixelFormat::DXT1, block, back);
  for (int t = 0; t < 16; ++t) expectTexel(back, t, {0, 0, 0, 0});
}

TEST(DxtFormats, BlockSizes) {
  EXPECT_EQ(dxt::blockBytes(PixelFormat::DXT1), 8u);
  EXPECT_EQ(dxt::blockBytes(PixelFormat::DXT3), 16u);
  EXPECT_EQ(dxt::blockBytes(PixelFormat::DXT5), 16u);
  EXPECT_EQ(dxt::blockBytes(PixelFormat::A8R8G8B8), 0u);
  EXPECT_EQ(static_cast<uint32_t>(PixelFormat::DXT1), tstest::fourCC('D', 'X', 'T', '1'));
}

}  // namespace
