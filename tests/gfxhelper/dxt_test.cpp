// DXT blocks encoded by hand from the documented block layout, and the colours that
// the layout's rules give for them.
#include <gtest/gtest.h>

#include <cstring>

#include "gfxhelper/dxt.h"
#include "tests/gfxhelper/test_images.h"

namespace {

using gfximage::PixelFormat;
using tstest::Bytes;
namespace dxt = gfximage::dxt;

const int kCycle[16] = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3};
constexpr uint16_t kRed = 0xF800, kGreen = 0x07E0, kBlue = 0x001F, kWhite = 0xFFFF, kBlack = 0x0000;

Bytes join(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// DXT3's alpha half: texel t has 4-bit alpha t % 8.
Bytes explicitAlpha() {
  Bytes half;
  for (int pair = 0; pair < 8; ++pair) half.push_back(static_cast<uint8_t>((2 * pair % 8) | ((2 * pair + 1) % 8) << 4));
  return half;
}

// DXT5's alpha half: the two end points, then texel t takes index t % 8.
Bytes interpolatedAlpha(uint8_t a0, uint8_t a1) {
  uint64_t bits = 0;
  for (int t = 0; t < 16; ++t) bits |= static_cast<uint64_t>(t % 8) << (3 * t);
  Bytes half = {a0, a1};
  for (int i = 0; i < 6; ++i) half.push_back(static_cast<uint8_t>(bits >> (8 * i)));
  return half;
}

TEST(DxtDecode, BlocksGiveTheColoursOfTheLayoutsRules) {
  const Bytes redBlue = tstest::dxtColourBlock(kRed, kBlue, kCycle), white = tstest::dxtColourBlock(kWhite, kWhite, kCycle);
  const Bytes blackWhite = tstest::dxtColourBlock(kBlack, kWhite, kCycle);
  const struct {
    const char* name;
    PixelFormat format;
    Bytes block;
    int bgr[4][3];  // texels 0 to 3 of each row, which take indices 0 to 3
    int alpha[8];   // texel t has alpha[t % 8]
  } cases[] = {
      // c0 > c1: two thirds and one third between them; (2 * 255 + 0) / 3 = 170.
      {"four colours", PixelFormat::DXT1, redBlue, {{0, 0, 255}, {255, 0, 0}, {85, 0, 170}, {170, 0, 85}},
       {255, 255, 255, 255, 255, 255, 255, 255}},
      {"three colours and transparent black", PixelFormat::DXT1, tstest::dxtColourBlock(kBlue, kGreen, kCycle),
       {{255, 0, 0}, {0, 255, 0}, {128, 128, 0}, {0, 0, 0}}, {255, 255, 255, 0, 255, 255, 255, 0}},
      {"equal end points are three colours", PixelFormat::DXT1, white,
       {{255, 255, 255}, {255, 255, 255}, {255, 255, 255}, {0, 0, 0}}, {255, 255, 255, 0, 255, 255, 255, 0}},
      // Black before white would be three colours in DXT1; with alpha it is not. 4 bits widen 17 times.
      {"explicit alpha", PixelFormat::DXT3, join(explicitAlpha(), blackWhite),
       {{0, 0, 0}, {255, 255, 255}, {85, 85, 85}, {170, 170, 170}}, {0, 17, 34, 51, 68, 85, 102, 119}},
      {"premultiplied explicit alpha", PixelFormat::DXT2, join(explicitAlpha(), blackWhite),
       {{0, 0, 0}, {255, 255, 255}, {85, 85, 85}, {170, 170, 170}}, {0, 17, 34, 51, 68, 85, 102, 119}},
      // a0 > a1: (6 a0 + a1) / 7 ... (a0 + 6 a1) / 7, and 210 divides by 7.
      {"eight alpha steps", PixelFormat::DXT5, join(interpolatedAlpha(210, 0), redBlue),
       {{0, 0, 255}, {255, 0, 0}, {85, 0, 170}, {170, 0, 85}}, {210, 0, 180, 150, 120, 90, 60, 30}},
      {"premultiplied alpha steps", PixelFormat::DXT4, join(interpolatedAlpha(210, 0), redBlue),
       {{0, 0, 255}, {255, 0, 0}, {85, 0, 170}, {170, 0, 85}}, {210, 0, 180, 150, 120, 90, 60, 30}},
      // a0 <= a1: (4 a0 + a1) / 5 ... (a0 + 4 a1) / 5, then 0 and 255.
      {"six alpha steps", PixelFormat::DXT5, join(interpolatedAlpha(0, 255), white),
       {{255, 255, 255}, {255, 255, 255}, {255, 255, 255}, {255, 255, 255}}, {0, 255, 51, 102, 153, 204, 0, 255}},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(c.block.size(), dxt::blockBytes(c.format)) << c.name;
    uint8_t texels[64];
    dxt::decodeBlock(c.format, c.block.data(), texels);
    for (int t = 0; t < 16; ++t) {
      const int want[4] = {c.bgr[t % 4][0], c.bgr[t % 4][1], c.bgr[t % 4][2], c.alpha[t % 8]};
      for (int channel = 0; channel < 4; ++channel)
        EXPECT_EQ(texels[t * 4 + channel], want[channel]) << c.name << ", texel " << t << ", channel " << channel;
    }
  }
}

// Colours that R5G6B5 holds exactly come back exactly; alpha as closely as each format keeps it.
TEST(DxtEncode, ExactColoursSurviveAndAlphaIsKept) {
  const uint16_t pairs[][2] = {{kRed, kBlue}, {0x8410, 0x4208}, {0x1234, 0xFEDC}, {kGreen, kGreen}};
  for (const auto& pair : pairs) {
    uint8_t texels[64];
    for (int t = 0; t < 16; ++t) {
      const uint16_t c = pair[(t * 7 / 3) % 2];
      const uint8_t bgra[4] = {dxt::expand5(c & 0x1f), dxt::expand6((c >> 5) & 0x3f), dxt::expand5(c >> 11),
                               static_cast<uint8_t>(17 * t)};
      std::memcpy(texels + 4 * t, bgra, 4);
    }
    for (PixelFormat format : {PixelFormat::DXT1, PixelFormat::DXT3, PixelFormat::DXT5}) {
      uint8_t block[16], back[64];
      dxt::encodeBlock(format, texels, block);
      dxt::decodeBlock(format, block, back);
      for (int t = 0; t < 16; ++t) {
        // DXT1 keeps one bit of alpha: below 128 a texel is transparent black.
        const bool cleared = format == PixelFormat::DXT1 && texels[t * 4 + 3] < 128;
        for (int channel = 0; channel < 3; ++channel)
          EXPECT_EQ(back[t * 4 + channel], cleared ? 0 : texels[t * 4 + channel]) << pair[0] << " texel " << t;
        const int alpha = format != PixelFormat::DXT1 ? texels[t * 4 + 3] : cleared ? 0 : 255;
        // DXT5: eight steps from 0 to 255, so within half a step.
        EXPECT_NEAR(back[t * 4 + 3], alpha, format == PixelFormat::DXT5 ? 19 : 0) << pair[0] << " texel " << t;
      }
    }
  }
}

}  // namespace
