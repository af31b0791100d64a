#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "gfxhelper/image_ops.h"

namespace {

using gfximage::Filter;
using gfximage::Image;

// An image whose texels are given as B, G, R, A quadruples.
Image makeImage(uint32_t width, uint32_t height, const std::vector<uint8_t>& bgra) {
  Image image;
  image.allocate(width, height);
  image.pixels = bgra;
  return image;
}

// A grey image from levels, alpha 255.
Image greyImage(uint32_t width, uint32_t height, const std::vector<int>& levels) {
  std::vector<uint8_t> bgra;
  for (int level : levels) bgra.insert(bgra.end(), {static_cast<uint8_t>(level), static_cast<uint8_t>(level), static_cast<uint8_t>(level), 255});
  return makeImage(width, height, bgra);
}

std::vector<int> blueChannel(const Image& image) {
  std::vector<int> blue;
  for (size_t i = 0; i < image.pixels.size(); i += 4) blue.push_back(image.pixels[i]);
  return blue;
}

Image resampled(const Image& source, uint32_t width, uint32_t height, Filter filter) {
  Image target;
  const gfximage::Result result = gfximage::resample(source, width, height, filter, &target);
  EXPECT_TRUE(result.ok()) << result.reason;
  return target;
}

TEST(Resample, PointRepeatsTexels) {
  const Image source = greyImage(2, 2, {10, 20, 30, 40});
  EXPECT_EQ(blueChannel(resampled(source, 4, 4, Filter::Point)),
            (std::vector<int>{10, 10, 20, 20, 10, 10, 20, 20, 30, 30, 40, 40, 30, 30, 40, 40}));
}

TEST(Resample, BoxAveragesTheCoveredArea) {
  const Image source = greyImage(4, 4, {0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 48, 52, 56, 60});
  // Each target texel averages a 2 x 2 square: (0 + 4 + 16 + 20) / 4 = 10, and so on.
  EXPECT_EQ(blueChannel(resampled(source, 2, 2, Filter::Box)), (std::vector<int>{10, 18, 42, 50}));
  const Image three = greyImage(3, 3, {9, 18, 27, 36, 45, 54, 63, 72, 81});
  EXPECT_EQ(blueChannel(resampled(three, 1, 1, Filter::Box)), (std::vector<int>{45}));
  // 3 -> 2: each target covers one and a half texels: (9 + 18 / 2) / 1.5 = 12, (18 / 2 + 27) / 1.5 = 24.
  const Image row = greyImage(3, 1, {9, 18, 27});
  EXPECT_EQ(blueChannel(resampled(row, 2, 1, Filter::Box)), (std::vector<int>{12, 24}));
}

TEST(Resample, LinearInterpolatesBetweenCentres) {
  const Image source = greyImage(2, 1, {0, 200});
  // Target centres fall at -0.25 (clamped), 0.25, 0.75 and 1.25 (clamped) source texels.
  EXPECT_EQ(blueChannel(resampled(source, 4, 1, Filter::Linear)), (std::vector<int>{0, 50, 150, 200}));
}

TEST(Resample, NoneCopiesToTheCornerAndClearsTheRest) {
  const Image source = greyImage(2, 2, {10, 20, 30, 40});
  const Image bigger = resampled(source, 3, 3, Filter::None);
  EXPECT_EQ(blueChannel(bigger), (std::vector<int>{10, 20, 0, 30, 40, 0, 0, 0, 0}));
  EXPECT_EQ(bigger.texel(2, 2)[3], 0);
  EXPECT_EQ(blueChannel(resampled(source, 1, 1, Filter::None)), (std::vector<int>{10}));
}

TEST(Resample, SameSizeIsACopyForEveryFilter) {
  const Image source = greyImage(3, 2, {1, 2, 3, 4, 5, 6});
  for (Filter filter : {Filter::Point, Filter::Linear, Filter::Box})
    EXPECT_EQ(resampled(source, 3, 2, filter).pixels, source.pixels);
}

TEST(Resample, BadArgumentsAreRefused) {
  Image target;
  EXPECT_FALSE(gfximage::resample(Image(), 2, 2, Filter::Box, &target).ok());
  EXPECT_FALSE(gfximage::resample(greyImage(1, 1, {1}), 0, 2, Filter::Box, &target).ok());
}

TEST(MipLevels, HalveDownToOne) {
  Image level = greyImage(5, 3, std::vector<int>(15, 100));
  const uint32_t want[][2] = {{2, 1}, {1, 1}, {1, 1}};
  for (const auto& size : want) {
    Image next;
    ASSERT_TRUE(gfximage::nextMipLevel(level, Filter::Box, &next).ok());
    EXPECT_EQ(next.width, size[0]);
    EXPECT_EQ(next.height, size[1]);
    EXPECT_EQ(blueChannel(next), std::vector<int>(next.width * next.height, 100));
    level = next;
  }
}

TEST(ColorKey, OnlyTheExactColourWithItsAlpha) {
  Image image = makeImage(3, 1, {255, 0, 255, 255, /**/ 255, 0, 255, 128, /**/ 254, 0, 255, 255});
  gfximage::applyColorKey(&image, 0xFFFF00FFu);
  EXPECT_EQ(image.pixels, (std::vector<uint8_t>{0, 0, 0, 0, 255, 0, 255, 128, 254, 0, 255, 255}));
  gfximage::applyColorKey(&image, 0);  // no key
  EXPECT_EQ(image.pixels[4], 255);
}

// Decodes the vector stored in a texel.
std::vector<float> normalAt(const Image& normals, uint32_t x, uint32_t y) {
  const uint8_t* t = normals.texel(x, y);
  return {t[2] / 127.5f - 1.0f, t[1] / 127.5f - 1.0f, t[0] / 127.5f - 1.0f};
}

Image normalMap(const Image& heights, const gfximage::NormalMapOptions& options) {
  Image normals;
  const gfximage::Result result = gfximage::computeNormalMap(heights, options, &normals);
  EXPECT_TRUE(result.ok()) << result.reason;
  return normals;
}

// A horizontal ramp of grey levels: 2 per texel.
Image ramp(uint32_t width, uint32_t height) {
  std::vector<int> levels;
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x) levels.push_back(static_cast<int>(2 * x + 40));
  return greyImage(width, height, levels);
}

TEST(NormalMap, FlatIsStraightUpAndOpen) {
  gfximage::NormalMapOptions options;
  options.amplitude = 10.0f;
  options.occlusion = true;
  const Image normals = normalMap(greyImage(4, 4, std::vector<int>(16, 90)), options);
  for (uint32_t i = 0; i < 16; ++i) {
    // (0, 0, 1) stored as 255 * (n + 1) / 2: 127.5 rounds to 128.
    EXPECT_EQ((std::vector<uint8_t>(normals.pixels.begin() + 4 * i, normals.pixels.begin() + 4 * i + 4)),
              (std::vector<uint8_t>{255, 128, 128, 255}));
  }
}

TEST(NormalMap, RampTiltsAgainstTheSlope) {
  gfximage::NormalMapOptions options;
  options.amplitude = 10.0f;
  const Image normals = normalMap(ramp(64, 4), options);
  // Central difference of heights 2/255 apart per texel, times the amplitude.
  const float slope = 10.0f * 2.0f / 255.0f;
  const float length = std::sqrt(1.0f + slope * slope);
  for (uint32_t x = 1; x < 63; ++x) {
    const std::vector<float> n = normalAt(normals, x, 2);
    EXPECT_NEAR(n[0], -slope / length, 0.01f) << x;
    EXPECT_NEAR(n[1], 0.0f, 0.01f) << x;
    EXPECT_NEAR(n[2], 1.0f / length, 0.01f) << x;
  }
  // Wrapping: at the left edge the neighbour is the ramp's top, so the slope turns.
  EXPECT_GT(normalAt(normals, 0, 2)[0], 0.5f);

  options.invertSign = true;
  const Image inverted = normalMap(ramp(64, 4), options);
  EXPECT_NEAR(normalAt(inverted, 30, 2)[0], slope / length, 0.01f);
}

TEST(NormalMap, MirrorRepeatsTheEdgeInsteadOfWrapping) {
  gfximage::NormalMapOptions options;
  options.amplitude = 10.0f;
  options.mirrorU = true;
  const Image normals = normalMap(ramp(64, 4), options);
  // At the edge the outer neighbour is the edge texel itself: half the slope.
  const float slope = 10.0f * 1.0f / 255.0f;
  EXPECT_NEAR(normalAt(normals, 0, 0)[0], -slope / std::sqrt(1.0f + slope * slope), 0.01f);
  EXPECT_NEAR(normalAt(normals, 63, 0)[0], -slope / std::sqrt(1.0f + slope * slope), 0.01f);
}

TEST(NormalMap, ChannelChoosesTheHeight) {
  // Red rises to the right, green is flat.
  std::vector<uint8_t> bgra;
  for (int x = 0; x < 32; ++x) bgra.insert(bgra.end(), {0, 100, static_cast<uint8_t>(8 * x), 255});
  const Image image = makeImage(32, 1, bgra);
  gfximage::NormalMapOptions options;
  options.amplitude = 4.0f;
  options.channel = gfximage::kChannelGreen;
  EXPECT_NEAR(normalAt(normalMap(image, options), 10, 0)[0], 0.0f, 0.01f);
  options.channel = gfximage::kChannelRed;
  EXPECT_LT(normalAt(normalMap(image, options), 10, 0)[0], -0.1f);
  options.channel = gfximage::kChannelRed | gfximage::kChannelGreen;
  Image normals;
  EXPECT_EQ(gfximage::computeNormalMap(image, options, &normals).status, gfximage::Status::InvalidArgument);
}

TEST(NormalMap, OcclusionOfARampAndAPit) {
  gfximage::NormalMapOptions options;
  options.amplitude = 10.0f;
  options.occlusion = true;
  const Image normals = normalMap(ramp(64, 4), options);
  // Uphill (+x) the horizon rises at the ramp's slope s; along the two uphill
  // diagonals at s / sqrt 2 per unit of distance; the other five directions are open.
  const float s = 10.0f * 2.0f / 255.0f, d = s / std::sqrt(2.0f);
  const float blocked = s / std::sqrt(1 + s * s) + 2 * d / std::sqrt(1 + d * d);
  EXPECT_NEAR(normals.texel(30, 1)[3], (1.0f - blocked / 8.0f) * 255.0f, 1.0f);

  std::vector<int> levels(9 * 9, 200);
  levels[4 * 9 + 4] = 0;
  const Image pit = normalMap(greyImage(9, 9, levels), options);
  EXPECT_LT(pit.texel(4, 4)[3], 64) << "a deep pit sees little sky";
  EXPECT_EQ(pit.texel(0, 0)[3], 255) << "looking down into the pit hides nothing";
}

TEST(NormalMap, RenormalizeAfterFiltering) {
  // (1, 0, 1) scaled to half length: stored 255 * (0.35 + 1) / 2 and so on.
  Image image = makeImage(1, 1, {172, 128, 172, 77});
  gfximage::renormalize(&image);
  const std::vector<float> n = normalAt(image, 0, 0);
  EXPECT_NEAR(std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]), 1.0f, 0.01f);
  EXPECT_NEAR(n[0], n[2], 0.01f);
  EXPECT_EQ(image.pixels[3], 77) << "alpha is kept";
}

}  // namespace
