#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "gfxhelper/image_ops.h"

namespace {

using gfximage::Filter;
using gfximage::Image;

// A grey image from levels, alpha 255.
Image greyImage(uint32_t width, uint32_t height, const std::vector<int>& levels) {
  Image image;
  image.allocate(width, height);
  for (size_t i = 0; i < levels.size(); ++i) {
    for (int channel = 0; channel < 3; ++channel) image.pixels[i * 4 + channel] = static_cast<uint8_t>(levels[i]);
    image.pixels[i * 4 + 3] = 255;
  }
  return image;
}

std::vector<int> blueChannel(const Image& image) {
  std::vector<int> blue;
  for (size_t i = 0; i < image.pixels.size(); i += 4) blue.push_back(image.pixels[i]);
  return blue;
}

TEST(Resample, EachFilterByHand) {
  const Image two = greyImage(2, 2, {10, 20, 30, 40});
  const struct {
    const char* name;
    Image source;
    uint32_t width, height;
    Filter filter;
    std::vector<int> blue;
  } cases[] = {
      {"point repeats", two, 4, 4, Filter::Point, {10, 10, 20, 20, 10, 10, 20, 20, 30, 30, 40, 40, 30, 30, 40, 40}},
      // Each target texel averages a 2 x 2 square: (0 + 4 + 16 + 20) / 4 = 10, and so on.
      {"box averages", greyImage(4, 4, {0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 48, 52, 56, 60}), 2, 2, Filter::Box,
       {10, 18, 42, 50}},
      // 3 -> 2: each target covers one and a half texels: (9 + 18 / 2) / 1.5 = 12.
      {"box of partial texels", greyImage(3, 1, {9, 18, 27}), 2, 1, Filter::Box, {12, 24}},
      // Target centres at -0.25 (clamped), 0.25, 0.75 and 1.25 (clamped) source texels.
      {"linear between centres", greyImage(2, 1, {0, 200}), 4, 1, Filter::Linear, {0, 50, 150, 200}},
      {"none copies to the corner", two, 3, 3, Filter::None, {10, 20, 0, 30, 40, 0, 0, 0, 0}},
      {"same size, point", two, 2, 2, Filter::Point, {10, 20, 30, 40}},
      {"same size, linear", two, 2, 2, Filter::Linear, {10, 20, 30, 40}},
      {"same size, box", two, 2, 2, Filter::Box, {10, 20, 30, 40}},
  };
  for (const auto& c : cases) {
    Image target;
    ASSERT_TRUE(gfximage::resample(c.source, c.width, c.height, c.filter, &target).ok()) << c.name;
    EXPECT_EQ(blueChannel(target), c.blue) << c.name;
  }
  Image target;
  EXPECT_FALSE(gfximage::resample(Image(), 2, 2, Filter::Box, &target).ok());
  EXPECT_FALSE(gfximage::resample(two, 0, 2, Filter::Box, &target).ok());
}

TEST(MipLevels, HalveDownToOne) {
  Image level = greyImage(5, 3, std::vector<int>(15, 100));
  for (const auto& size : {std::vector<uint32_t>{2, 1}, {1, 1}, {1, 1}}) {
    Image next;
    ASSERT_TRUE(gfximage::nextMipLevel(level, Filter::Box, &next).ok());
    EXPECT_EQ((std::vector<uint32_t>{next.width, next.height}), size);
    EXPECT_EQ(blueChannel(next), std::vector<int>(next.width * next.height, 100));
    level = next;
  }
}

TEST(ColorKey, OnlyTheExactColourWithItsAlpha) {
  Image image = greyImage(3, 1, {});
  image.pixels = {255, 0, 255, 255, /**/ 255, 0, 255, 128, /**/ 254, 0, 255, 255};
  gfximage::applyColorKey(&image, 0xFFFF00FFu);
  EXPECT_EQ(image.pixels, (std::vector<uint8_t>{0, 0, 0, 0, 255, 0, 255, 128, 254, 0, 255, 255}));
}

// The vector stored in a texel, and its alpha.
std::vector<float> normalAt(const Image& normals, uint32_t x, uint32_t y) {
  const uint8_t* t = normals.texel(x, y);
  return {t[2] / 127.5f - 1.0f, t[1] / 127.5f - 1.0f, t[0] / 127.5f - 1.0f, static_cast<float>(t[3])};
}

Image normalMap(const Image& heights, float amplitude, void (*change)(gfximage::NormalMapOptions&) = nullptr) {
  gfximage::NormalMapOptions options;
  options.amplitude = amplitude;
  if (change) change(options);
  Image normals;
  EXPECT_TRUE(gfximage::computeNormalMap(heights, options, &normals).ok());
  return normals;
}

// A horizontal ramp of grey levels rising 2 a texel.
Image ramp() {
  std::vector<int> levels;
  for (uint32_t i = 0; i < 64 * 4; ++i) levels.push_back(static_cast<int>(2 * (i % 64) + 40));
  return greyImage(64, 4, levels);
}

TEST(NormalMap, SlopesByHand) {
  // Central differences 2 / 255 apart, times the amplitude: the normal leans against the slope.
  const float s = 10.0f * 2.0f / 255.0f, length = std::sqrt(1.0f + s * s);
  // Occlusion: uphill the horizon rises at the slope s, along the two uphill diagonals at
  // s / sqrt 2; the other five directions are open.
  const float d = s / std::sqrt(2.0f), blocked = s / length + 2 * d / std::sqrt(1 + d * d);
  const auto occlusion = [](gfximage::NormalMapOptions& o) { o.occlusion = true; };
  const Image normals = normalMap(ramp(), 10.0f, occlusion);
  for (uint32_t x = 1; x < 63; ++x) {
    const std::vector<float> n = normalAt(normals, x, 2);
    EXPECT_NEAR(n[0], -s / length, 0.01f) << x;
    EXPECT_NEAR(n[1], 0.0f, 0.01f) << x;
    EXPECT_NEAR(n[2], 1.0f / length, 0.01f) << x;
  }
  EXPECT_NEAR(normalAt(normals, 30, 1)[3], (1.0f - blocked / 8.0f) * 255.0f, 1.0f);
  EXPECT_GT(normalAt(normals, 0, 2)[0], 0.5f) << "wrapped: the left neighbour is the ramp's top";
  const Image mirrored = normalMap(ramp(), 10.0f, [](gfximage::NormalMapOptions& o) { o.mirrorU = true; });
  EXPECT_NEAR(normalAt(mirrored, 0, 0)[0], -(s / 2) / std::sqrt(1 + s * s / 4), 0.01f) << "half the slope at the edge";
  const Image inverted = normalMap(ramp(), 10.0f, [](gfximage::NormalMapOptions& o) { o.invertSign = true; });
  EXPECT_NEAR(normalAt(inverted, 30, 2)[0], s / length, 0.01f);

  EXPECT_EQ(normalAt(normalMap(greyImage(4, 4, std::vector<int>(16, 90)), 10.0f, occlusion), 1, 1),
            (std::vector<float>{128 / 127.5f - 1, 128 / 127.5f - 1, 1, 255})) << "flat is straight up and open";
  std::vector<int> levels(9 * 9, 200);
  levels[4 * 9 + 4] = 0;
  const Image pit = normalMap(greyImage(9, 9, levels), 10.0f, occlusion);
  EXPECT_LT(pit.texel(4, 4)[3], 64) << "a deep pit sees little sky";
  EXPECT_EQ(pit.texel(0, 0)[3], 255) << "looking down into the pit hides nothing";
}

TEST(NormalMap, ChannelChoosesTheHeight) {
  Image image = greyImage(32, 1, std::vector<int>(32, 100));
  for (uint32_t x = 0; x < 32; ++x) image.texel(x, 0)[2] = static_cast<uint8_t>(8 * x);  // red rises, green is flat
  EXPECT_NEAR(normalAt(normalMap(image, 4.0f, [](gfximage::NormalMapOptions& o) { o.channel = gfximage::kChannelGreen; }), 10, 0)[0],
              0.0f, 0.01f);
  EXPECT_LT(normalAt(normalMap(image, 4.0f, [](gfximage::NormalMapOptions& o) { o.channel = gfximage::kChannelRed; }), 10, 0)[0],
            -0.1f);
  gfximage::NormalMapOptions both;
  both.channel = gfximage::kChannelRed | gfximage::kChannelGreen;
  Image normals;
  EXPECT_EQ(gfximage::computeNormalMap(image, both, &normals).status, gfximage::Status::InvalidArgument);
}

TEST(NormalMap, RenormalizeAfterFiltering) {
  // (1, 0, 1) at half length: stored 255 * (0.35 + 1) / 2 and so on.
  Image image = greyImage(1, 1, {});
  image.pixels = {172, 128, 172, 77};
  gfximage::renormalize(&image);
  const std::vector<float> n = normalAt(image, 0, 0);
  EXPECT_NEAR(std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]), 1.0f, 0.01f);
  EXPECT_NEAR(n[0], n[2], 0.01f);
  EXPECT_EQ(n[3], 77) << "alpha is kept";
}

}  // namespace
