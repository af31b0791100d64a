#include <gtest/gtest.h>

#include <memory>

#include "effects/fx_simple_bmp.h"
#include "effects/fx_simple_color.h"
#include "tests/effects/effect_support.h"

namespace {

using tstest::describeEffect;
using tstest::EffectTest;
using tstest::pixelNear;

EffectDescriptor colorDescriptor(const char* r, const char* g, const char* b, const char* a, const char* dest,
                                 const char* src) {
  return describeEffect("fx_simple_color", {{1, r}, {1, g}, {1, b}, {1, a}, {2, dest}, {2, src}});
}

// Both effects map each choice through the same table, recompute both factors on every
// integer, whatever its index, and ignore choices outside the table.
TEST_F(EffectTest, BlendChoicesSelectBothFactorsFromTheStoredChoices) {
  std::unique_ptr<TimelineItem> item(makeEffect(colorDescriptor("1", "0", "0", "1", "0", "1")));
  ASSERT_NE(item, nullptr);
  auto* color = dynamic_cast<FxSimpleColor*>(item.get());
  ASSERT_NE(color, nullptr);
  EXPECT_EQ(color->states.destBlend, ts3d::BlendZero) << "opaque until told otherwise";
  EXPECT_EQ(color->states.srcBlend, ts3d::BlendOne);

  const std::pair<int32_t, int32_t> expected[] = {
      {ts3d::BlendZero, 0}, {ts3d::BlendOne, 1}, {ts3d::BlendInvSrcAlpha, 2}, {ts3d::BlendSrcAlpha, 3}};
  int32_t source = ts3d::BlendOne;
  for (const auto& [factor, choice] : expected) {
    setParam(item.get(), 4, std::to_string(choice));
    EXPECT_EQ(color->states.destBlend, factor) << "destination choice " << choice;
    EXPECT_EQ(color->states.srcBlend, source) << "the source stays with its own choice";
    setParam(item.get(), 5, std::to_string(choice));
    EXPECT_EQ(color->states.srcBlend, factor) << "source choice " << choice;
    EXPECT_EQ(color->states.destBlend, factor) << "the destination stays with its own choice";
    source = factor;
  }

  // A choice outside the table leaves that factor as it was; the other still follows its choice.
  color->setInt(4, 2);
  color->setInt(5, 3);
  color->setInt(4, 4);
  EXPECT_EQ(color->states.destBlend, ts3d::BlendInvSrcAlpha);
  color->setInt(5, -1);
  EXPECT_EQ(color->states.srcBlend, ts3d::BlendSrcAlpha);
  // Another index still recomputes both from what is stored.
  color->destChoice = 1;
  color->srcChoice = 0;
  color->setInt(0, 99);
  EXPECT_EQ(color->states.destBlend, ts3d::BlendOne);
  EXPECT_EQ(color->states.srcBlend, ts3d::BlendZero);

  // The bitmap's choices sit at 6 and 7.
  std::unique_ptr<TimelineItem> bmpItem(makeEffect(describeEffect(
      "fx_simple_bmp", {{4, ""}, {1, "0"}, {1, "0"}, {1, "0.1"}, {1, "0.1"}, {1, "1"}, {2, "2"}, {2, "3"}})));
  auto* bmp = dynamic_cast<FxSimpleBmp*>(bmpItem.get());
  ASSERT_NE(bmp, nullptr);
  EXPECT_EQ(bmp->states.destBlend, ts3d::BlendInvSrcAlpha);
  EXPECT_EQ(bmp->states.srcBlend, ts3d::BlendSrcAlpha);
  setParam(bmpItem.get(), 6, "1");
  setParam(bmpItem.get(), 7, "1");
  EXPECT_EQ(bmp->states.destBlend, ts3d::BlendOne);
  EXPECT_EQ(bmp->states.srcBlend, ts3d::BlendOne);
  EXPECT_TRUE(tracer.messages.empty()) << "nothing opened, nothing said";
}

TEST_F(EffectTest, ColorFillsTheTargetWithItsBlend) {
  std::unique_ptr<TimelineItem> effect(makeEffect(colorDescriptor("1", "0", "0", "1", "0", "1")));
  ASSERT_NE(effect, nullptr);
  effect->open();
  std::vector<uint32_t> pixels = drawFrame(effect.get(), 0.0f);
  for (auto [x, y] : {std::pair{0, 0}, {639, 0}, {0, 479}, {639, 479}, {320, 240}})
    EXPECT_TRUE(pixelNear(at(pixels, x, y), 255, 0, 0)) << "opaque red at " << x << ", " << y;
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::DrawPrimitiveUP), 1u);
  keepOnFailure(pixels, "fx_color_opaque");

  // Half-transparent red over the blue that the clear leaves: inverse source alpha for the
  // destination, source alpha for the source.
  setParam(effect.get(), 3, "0.5");
  setParam(effect.get(), 4, "2");
  setParam(effect.get(), 5, "3");
  pixels = drawFrame(effect.get(), 0.0f);
  EXPECT_TRUE(pixelNear(at(pixels, 320, 240), 128, 0, 127, 4)) << std::hex << at(pixels, 320, 240);
  keepOnFailure(pixels, "fx_color_half");

  // Adding green to the blue gives cyan.
  setParam(effect.get(), 0, "0");
  setParam(effect.get(), 1, "1");
  setParam(effect.get(), 3, "1");
  setParam(effect.get(), 4, "1");
  setParam(effect.get(), 5, "1");
  pixels = drawFrame(effect.get(), 0.0f);
  EXPECT_TRUE(pixelNear(at(pixels, 100, 400), 0, 255, 255)) << std::hex << at(pixels, 100, 400);
  keepOnFailure(pixels, "fx_color_add");

  // Colours beyond the range pack to its ends; the rectangle is the target's viewport.
  setParam(effect.get(), 0, "2.5");
  setParam(effect.get(), 1, "-1");
  setParam(effect.get(), 2, "0.5");
  effect->update(0, 0.0f);
  const ScreenVertex* quad = static_cast<FxSimpleColor*>(effect.get())->vertices;
  EXPECT_EQ(quad[0].color, 0xffff0080u);
  const float corners[4][2] = {{0, 0}, {0, 480}, {640, 0}, {640, 480}};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(quad[i].x, corners[i][0]);
    EXPECT_EQ(quad[i].y, corners[i][1]);
    EXPECT_EQ(quad[i].color, quad[0].color);
  }
  effect->close();
  EXPECT_EQ(static_cast<FxSimpleColor*>(effect.get())->vertices, nullptr);
  effect->close();  // safe twice
  EXPECT_TRUE(tracer.messages.empty());
}

}  // namespace
