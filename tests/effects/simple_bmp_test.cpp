#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

#include "driver/data_item.h"
#include "driver/driver_kmt.h"
#include "effects/fx_simple_bmp.h"
#include "tests/effects/effect_support.h"

namespace {

using tstest::describeEffect;
using tstest::EffectTest;
using tstest::LargeEffectTest;
using tstest::pixelNear;

// A green picture registered with the lookup under "green", and an effect that shows it at
// the given top, left, bottom, right.
class BmpTest {
 public:
  BmpTest(tstest::ItemLookup& lookup, const char* file) : path(file) {
    EXPECT_TRUE(tstest::writeFile(path, tstest::solidPng(8, 8, 0, 255, 0)));
    item.reset(theDriver.loadData(path));
    lookup.items["green"] = item.get();
  }
  ~BmpTest() { std::remove(path.c_str()); }
  BmpTest(const BmpTest&) = delete;
  BmpTest& operator=(const BmpTest&) = delete;

  static EffectDescriptor descriptor(const char* data, const char* top, const char* left, const char* bottom,
                                     const char* right) {
    return describeEffect("fx_simple_bmp",
                          {{4, data}, {1, top}, {1, left}, {1, bottom}, {1, right}, {1, "1"}, {2, "0"}, {2, "1"}});
  }

  std::string path;
  std::unique_ptr<DataItem> item;
};

TEST_F(EffectTest, BmpDrawsItsTextureWhereItsParametersSay) {
  BmpTest picture(lookup, "fx_bmp_place.png");
  ASSERT_NE(picture.item, nullptr);
  std::unique_ptr<TimelineItem> effect(makeEffect(BmpTest::descriptor("green", "0.1", "0.1", "0.2", "0.3")));
  ASSERT_NE(effect, nullptr);
  auto* bmp = static_cast<FxSimpleBmp*>(effect.get());
  EXPECT_EQ(bmp->data, picture.item.get());
  EXPECT_FLOAT_EQ(bmp->top, 100.0f);
  EXPECT_FLOAT_EQ(bmp->left, 100.0f);
  EXPECT_FLOAT_EQ(bmp->bottom, 200.0f);
  EXPECT_FLOAT_EQ(bmp->right, 300.0f);
  effect->open();
  EXPECT_TRUE(tracer.messages.empty());
  // open places the corners as they stand, with the texture's corners in strip order.
  const float expected[4][4] = {{100, 100, 0, 0}, {100, 200, 0, 1}, {300, 100, 1, 0}, {300, 200, 1, 1}};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(bmp->vertices[i].x, expected[i][0]);
    EXPECT_EQ(bmp->vertices[i].y, expected[i][1]);
    EXPECT_EQ(bmp->vertices[i].u, expected[i][2]);
    EXPECT_EQ(bmp->vertices[i].v, expected[i][3]);
    EXPECT_EQ(bmp->vertices[i].color, 0xffffffffu);
  }

  std::vector<uint32_t> pixels = drawFrame(effect.get(), 0.0f);
  EXPECT_TRUE(pixelNear(at(pixels, 200, 150), 0, 255, 0)) << std::hex << at(pixels, 200, 150);
  EXPECT_TRUE(pixelNear(at(pixels, 102, 102), 0, 255, 0));
  EXPECT_TRUE(pixelNear(at(pixels, 297, 197), 0, 255, 0));
  for (auto [x, y] : {std::pair{95, 150}, {305, 150}, {200, 95}, {200, 205}, {0, 0}})
    EXPECT_TRUE(pixelNear(at(pixels, x, y), 0, 0, 255)) << "outside at " << x << ", " << y;
  keepOnFailure(pixels, "fx_bmp_place");

  // Half its alpha, blended over the blue.
  setParam(effect.get(), 5, "0.5");
  setParam(effect.get(), 6, "2");
  setParam(effect.get(), 7, "3");
  pixels = drawFrame(effect.get(), 0.0f);
  EXPECT_EQ(bmp->vertices[0].color, 0x80ffffffu);
  EXPECT_TRUE(pixelNear(at(pixels, 200, 150), 0, 128, 127, 4)) << std::hex << at(pixels, 200, 150);
  keepOnFailure(pixels, "fx_bmp_half");
  effect->close();
}

// 0.64 and 0.48 are the reference frame's right and bottom: the whole screen at any size.
TEST_F(EffectTest, BmpAtTheReferenceCornersCoversA640x480Screen) {
  BmpTest picture(lookup, "fx_bmp_full.png");
  std::unique_ptr<TimelineItem> effect(makeEffect(BmpTest::descriptor("green", "0", "0", "0.48", "0.64")));
  effect->open();
  const std::vector<uint32_t> pixels = drawFrame(effect.get(), 0.0f);
  auto* bmp = static_cast<FxSimpleBmp*>(effect.get());
  EXPECT_FLOAT_EQ(bmp->vertices[3].x, 640.0f);
  EXPECT_FLOAT_EQ(bmp->vertices[3].y, 480.0f);
  for (auto [x, y] : {std::pair{0, 0}, {639, 0}, {0, 479}, {639, 479}, {320, 240}})
    EXPECT_TRUE(pixelNear(at(pixels, x, y), 0, 255, 0)) << x << ", " << y;
  keepOnFailure(pixels, "fx_bmp_full640");
}

TEST_F(LargeEffectTest, BmpAtTheReferenceCornersCoversA1024x768Screen) {
  BmpTest picture(lookup, "fx_bmp_full_large.png");
  std::unique_ptr<TimelineItem> effect(makeEffect(BmpTest::descriptor("green", "0", "0", "0.48", "0.64")));
  effect->open();
  const std::vector<uint32_t> pixels = drawFrame(effect.get(), 0.0f);
  ASSERT_EQ(pixels.size(), 1024u * 768u) << "the back buffer is 1024 x 768";
  auto* bmp = static_cast<FxSimpleBmp*>(effect.get());
  EXPECT_FLOAT_EQ(bmp->vertices[3].x, 1024.0f);
  EXPECT_FLOAT_EQ(bmp->vertices[3].y, 768.0f);
  for (auto [x, y] : {std::pair{0, 0}, {1023, 0}, {0, 767}, {1023, 767}, {700, 600}})
    EXPECT_TRUE(pixelNear(at(pixels, x, y), 0, 255, 0)) << x << ", " << y;
  keepOnFailure(pixels, "fx_bmp_full1024");

  // A rectangle of the reference frame lands scaled: 100..300 x 100..200 becomes 160..480 x 160..320.
  setParam(effect.get(), 1, "0.1");
  setParam(effect.get(), 2, "0.1");
  setParam(effect.get(), 3, "0.2");
  setParam(effect.get(), 4, "0.3");
  const std::vector<uint32_t> placed = drawFrame(effect.get(), 0.0f);
  EXPECT_TRUE(pixelNear(at(placed, 165, 165), 0, 255, 0));
  EXPECT_TRUE(pixelNear(at(placed, 475, 315), 0, 255, 0));
  EXPECT_TRUE(pixelNear(at(placed, 155, 165), 0, 0, 255));
  EXPECT_TRUE(pixelNear(at(placed, 485, 315), 0, 0, 255));
  EXPECT_TRUE(pixelNear(at(placed, 300, 325), 0, 0, 255));
  keepOnFailure(placed, "fx_bmp_placed1024");
}

TEST_F(EffectTest, BmpWithoutDataWarnsAtOpenAndStillDraws) {
  std::unique_ptr<TimelineItem> effect(makeEffect(BmpTest::descriptor("nothing", "0", "0", "0.48", "0.64")));
  ASSERT_NE(effect, nullptr);
  EXPECT_TRUE(tracer.messages.empty());
  effect->open();
  EXPECT_EQ(tracer.texts('w'), std::vector<std::string>{"No texture data for effect."});
  EXPECT_EQ(tracer.count('b'), 0u);
  proxy->clearLog();
  drawFrame(effect.get(), 0.0f);
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::DrawPrimitiveUP), 1u) << "the quad is drawn all the same";

  // A scene item is no texture: the quad is drawn as without data, and nothing breaks.
  DataScene scene;
  static_cast<FxSimpleBmp*>(effect.get())->setData(0, &scene);
  proxy->clearLog();
  drawFrame(effect.get(), 0.0f);
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::DrawPrimitiveUP), 1u);
  effect->close();
  EXPECT_EQ(tracer.count('w'), 1u) << "only open warns";
}

}  // namespace
