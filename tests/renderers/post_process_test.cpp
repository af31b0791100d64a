#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "driver/data_item.h"
#include "effects/fx_sr_channels.h"
#include "effects/fx_sr_gaussian.h"
#include "tests/context/context_fixture.h"
#include "tests/gfxhelper/test_images.h"
#include "tests/scenebuild/rich_scene.h"
#include "tests/support/recording_tracer.h"

// The post-process effects on a scene item, on the device: what reaches the picture.
namespace {

using ts3d::color;
using tstest::RichScene;

struct Square {
  float x, size;
  color colour;
};

class PostProcess : public tstest::ContextTest {
 protected:
  void SetUp() override {
    ContextTest::SetUp();
    ts3d::Context::setResourceModule(GetModuleHandleA(nullptr));
  }
  // Flat squares on the x axis, seen by the rich scene's camera.
  static std::unique_ptr<DataScene> squares(std::initializer_list<Square> list) {
    scenebuild::SceneBuilder builder;
    builder.camera(builder.node(builder.root(), ts3d::vect3(0, 0, 10)), 1.0f, 1.0f, 100.0f);
    for (const Square& square : list)
      builder.mesh(builder.node(builder.root(), ts3d::vect3(square.x, 0, 0)),
                   scenebuild::plane(square.size, square.size, 1, 1), builder.material(tstest::flat(square.colour)),
                   false);
    auto item = std::make_unique<DataScene>(builder.release());
    item->payload->createResources();
    return item;
  }
  // One frame of the scene over black, read back.
  void drawFrame(DataScene& item) {
    item.payload->update(0.0f);
    context->setClearColor(color(0, 0, 0, 1));
    context->beginScene();
    context->clear(ts3d::Context::ClearAll, true);
    item.payload->render();
    context->endScene();
    readTarget();
  }
};

TEST_F(PostProcess, BloomSpreadsASmallBrightSquareIntoAHaloThatFallsOffAndWidensWithTheRadius) {
  const auto item = squares({{0.0f, 0.5f, color(1, 1, 1, 1)}});  // 22 pixels wide
  FxSrGaussian bloom;
  bloom.setData(0, item.get());
  bloom.open();
  ASSERT_TRUE(bloom.renderer && bloom.renderer->ready);
  // The first column from the square's centre outwards whose green is below a trace. Radii of
  // more than about a texel part the four taps into copies of the square rather than a halo.
  auto reach = [&](float radius) {
    bloom.setFloat(1, radius);
    drawFrame(*item);
    int previous = 255;
    for (unsigned int x = 320; x < frameWidth; ++x) {
      const int level = static_cast<int>(rgbAt(x, 240) >> 8 & 0xFF);
      EXPECT_LE(level, previous + 1) << "brighter outwards at " << x << ", radius " << radius;
      previous = level;
      if (level < 8) return static_cast<int>(x) - 320;
    }
    return static_cast<int>(frameWidth);
  };
  const int narrow = reach(0.5f), wide = reach(1.0f);
  EXPECT_GT(narrow, 11 + 10) << "no halo beyond the square's edge";
  EXPECT_GT(wide, narrow + 6);
  EXPECT_LT(wide, 320);
  bloom.close();
}

TEST_F(PostProcess, GradingThroughALookupThatInvertsRedKeepsGreenAndBlueOnEitherPixelShaderPath) {
  const auto item = squares({{-2.0f, 3.0f, color(0.8f, 0.4f, 0.2f, 1)}, {2.0f, 3.0f, color(0.1f, 0.9f, 0.6f, 1)}});
  std::vector<uint8_t> curves;
  for (int level = 0; level < 256; ++level)
    curves.insert(curves.end(), {static_cast<uint8_t>(255 - level), static_cast<uint8_t>(level), static_cast<uint8_t>(level)});
  const tstest::Bytes png = tstest::encodePng(256, 1, 3, curves.data());
  std::ofstream("invert_red.png", std::ios::binary).write(reinterpret_cast<const char*>(png.data()), png.size());
  DataTexture lookup("invert_red.png");
  const int columns[2] = {RichScene::column(-2.0f), RichScene::column(2.0f)};
  drawFrame(*item);
  const uint32_t plain[2] = {rgbAt(columns[0], 240), rgbAt(columns[1], 240)};

  FxSrChannels grading;
  grading.setData(0, item.get());
  grading.setData(1, &lookup);
  grading.setFloat(2, 0.5f);  // the curves unshifted
  grading.open();
  ts3d::SceneRendererChannels* renderer = grading.renderer;
  ASSERT_TRUE(renderer && renderer->ready);
  uint32_t graded[2][2];
  for (int path = 0; path < 2; ++path) {
    renderer->effect->setTechnique(path == 0 ? "filter" : "filter1_3");
    renderer->followTechnique();
    ASSERT_EQ(renderer->usesFilter13, path == 1);
    drawFrame(*item);
    for (int i = 0; i < 2; ++i) {
      graded[path][i] = rgbAt(columns[i], 240);
      EXPECT_TRUE(tstest::pixelNear(graded[path][i], 255 - static_cast<int>(plain[i] >> 16),
                                    plain[i] >> 8 & 0xFF, plain[i] & 0xFF))
          << "path " << path << std::hex << ": " << plain[i] << " became " << graded[path][i];
    }
  }
  for (int i = 0; i < 2; ++i)
    EXPECT_TRUE(tstest::pixelNear(graded[1][i], graded[0][i] >> 16, graded[0][i] >> 8 & 0xFF, graded[0][i] & 0xFF));
  grading.close();
}

TEST_F(PostProcess, WithoutTheirEffectSourcesTheRenderersDrawThePlainScene) {
  const auto item = squares({{0.0f, 3.0f, color(0.8f, 0.4f, 0.2f, 1)}});
  drawFrame(*item);
  const std::vector<uint32_t> plain = frame;
  ts3d::Context::setResourceModule(GetModuleHandleA("kernel32.dll"));
  tstest::RecordingTracer tracer;
  DataTexture lookup("no_such_image.png");
  FxSrGaussian bloom;
  FxSrChannels grading;
  for (EffectBase* effect : {static_cast<EffectBase*>(&bloom), static_cast<EffectBase*>(&grading)}) {
    effect->setData(0, item.get());
    effect->setData(1, &lookup);
    effect->open();
    ASSERT_EQ(item->payload->renderers.size(), 1u);
    drawFrame(*item);
    EXPECT_TRUE(frame == plain) << (effect == &bloom ? "bloom" : "grading");
    effect->close();
  }
}

TEST_F(PostProcess, TwoRenderersOfEachClassServeAtOnceAndClosingLeavesTheChainAsItWas) {
  tstest::RecordingTracer tracer;
  const auto item = squares({});
  std::vector<ts3d::SceneRenderer*>& chain = item->payload->renderers;
  chain = {new ts3d::SceneRendererChannels};  // the scene's own
  const std::vector<ts3d::SceneRenderer*> before = chain;
  const std::function<EffectBase*()> classes[] = {[] { return new FxSrGaussian; }, [] { return new FxSrChannels; }};
  std::vector<std::unique_ptr<EffectBase>> effects;
  for (const auto& make : classes) {
    for (int i = 0; i < 3; ++i) {
      effects.emplace_back(make());
      effects.back()->setData(0, item.get());
      effects.back()->open();
    }
    const size_t classesOpen = effects.size() / 3;
    EXPECT_EQ(chain.size(), before.size() + 2 * classesOpen);
    EXPECT_EQ(std::set<ts3d::SceneRenderer*>(chain.begin(), chain.end()).size(), chain.size());
    ASSERT_EQ(tracer.count('b'), classesOpen);
    EXPECT_EQ(tracer.texts('b').back(), "You cannot use more than 2 scene renderers at the same time");
  }
  for (auto& effect : effects) effect->close();
  EXPECT_EQ(chain, before);
}

}  // namespace
