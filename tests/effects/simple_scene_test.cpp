#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <memory>

#include "driver/data_item.h"
#include "driver/driver_kmt.h"
#include "effects/fx_simple_scene.h"
#include "scenebuild/scene_builder.h"
#include "tests/effects/effect_support.h"

namespace {

using tstest::describeEffect;
using tstest::EffectTest;
using tstest::pixelNear;

EffectDescriptor sceneDescriptor(const char* data, const char* camera, const char* time) {
  return describeEffect("fx_simple_scene", {{4, data}, {2, camera}, {1, time}});
}

// A red box that slides from x = 0 at scene time 0 to x = 3 at scene time 100, seen by a
// first camera from z = 10; a second camera at z = -10 looks away from it.
std::unique_ptr<DataItem> writeAndLoadBoxScene(const std::string& path) {
  scenebuild::SceneBuilder builder;
  ts3d::HierarchyNode* root = builder.root();
  builder.camera(builder.node(root, ts3d::vect3(0, 0, 10)), 1.0f, 1.0f, 100.0f);
  builder.camera(builder.node(root, ts3d::vect3(0, 0, -10)), 1.0f, 1.0f, 100.0f);
  // Lit without lights, so only the emissive colour shows.
  scenebuild::MaterialSettings red;
  red.diffuse = ts3d::color(0, 0, 0, 1);
  red.ambient = ts3d::color(0, 0, 0, 1);
  red.emissive = ts3d::color(1, 0, 0, 1);
  ts3d::HierarchyNode* moving = builder.node(
      root, scenebuild::keyed<ts3d::vect3>({{0.0f, ts3d::vect3(0, 0, 0)}, {100.0f, ts3d::vect3(3, 0, 0)}}));
  builder.mesh(moving, scenebuild::box(2, 2, 2), builder.material(red), false);
  std::string error;
  EXPECT_TRUE(builder.write(path, 1, &error)) << error;
  return std::unique_ptr<DataItem>(theDriver.loadData(path));
}

// A scene that counts its steps.
class CountingScene : public ts3d::SceneHierarchy {
 public:
  void onHierarchyUpdated() override { ++updates; }
  int updates = 0;
};

TEST_F(EffectTest, SceneIsDrawnThroughTheChosenCamera) {
  const std::string path = "fx_scene_box.ts2";
  std::unique_ptr<DataItem> item = writeAndLoadBoxScene(path);
  ASSERT_NE(item, nullptr);
  lookup.items["box"] = item.get();
  std::unique_ptr<TimelineItem> effect(makeEffect(sceneDescriptor("box", "0", "0")));
  ASSERT_NE(effect, nullptr);
  effect->open();
  EXPECT_EQ(tracer.count('w') + tracer.count('b'), 0u) << "the scene is there: nothing to say";

  std::vector<uint32_t> pixels = drawFrame(effect.get(), 0.0f);
  EXPECT_TRUE(pixelNear(at(pixels, 320, 240), 255, 0, 0)) << std::hex << at(pixels, 320, 240);
  EXPECT_TRUE(pixelNear(at(pixels, 5, 5), 0, 0, 255)) << "the scene's clear";
  keepOnFailure(pixels, "fx_scene_first");

  // The second camera looks away.
  setParam(effect.get(), 1, "1");
  pixels = drawFrame(effect.get(), 0.0f);
  EXPECT_TRUE(pixelNear(at(pixels, 320, 240), 0, 0, 255)) << std::hex << at(pixels, 320, 240);
  keepOnFailure(pixels, "fx_scene_second");

  // An index past the end, or below zero, means the first camera.
  for (const char* index : {"2", "5", "-1"}) {
    setParam(effect.get(), 1, "1");
    drawFrame(effect.get(), 0.0f);
    setParam(effect.get(), 1, index);
    pixels = drawFrame(effect.get(), 0.0f);
    EXPECT_TRUE(pixelNear(at(pixels, 320, 240), 255, 0, 0)) << "camera index " << index;
  }
  keepOnFailure(pixels, "fx_scene_past_end");

  // The time parameter is the scene's time in hundredths, whatever the effect's own span: at 1
  // the box stands at x = 3, out of the centre; the host's update time plays no part.
  setParam(effect.get(), 1, "0");
  setParam(effect.get(), 2, "1");
  pixels = drawFrame(effect.get(), 123.0f);
  EXPECT_TRUE(pixelNear(at(pixels, 320, 240), 0, 0, 255)) << std::hex << at(pixels, 320, 240);
  const int boxColumn = 320 + static_cast<int>(3.0f / (10.0f * std::tan(0.5f)) * 240.0f);
  EXPECT_TRUE(pixelNear(at(pixels, boxColumn, 240), 255, 0, 0)) << std::hex << at(pixels, boxColumn, 240);
  keepOnFailure(pixels, "fx_scene_time");
  effect->close();
  std::remove(path.c_str());
}

TEST_F(EffectTest, SceneStepsOncePerFrameWhetherOrNotItCleared) {
  auto* scene = new CountingScene;
  DataScene item(scene);
  lookup.items["counting"] = &item;
  std::unique_ptr<TimelineItem> effect(makeEffect(sceneDescriptor("counting", "0", "0")));
  ASSERT_NE(effect, nullptr);
  effect->open();

  // Bottom layer: clearFrame steps it, render doesn't again.
  effect->update(0, 0.0f);
  effect->clearFrame();
  EXPECT_EQ(scene->updates, 1);
  effect->render();
  EXPECT_EQ(scene->updates, 1);
  // Upper layer: render alone steps it, every frame.
  effect->render();
  EXPECT_EQ(scene->updates, 2);
  effect->render();
  EXPECT_EQ(scene->updates, 3);
  // Bottom layer again.
  effect->clearFrame();
  effect->render();
  EXPECT_EQ(scene->updates, 4);
  effect->close();
  EXPECT_TRUE(tracer.messages.empty());
}

TEST_F(EffectTest, SceneWithoutDataWarnsAndLeavesTheTargetAlone) {
  std::unique_ptr<TimelineItem> effect(makeEffect(sceneDescriptor("nothing", "0", "0")));
  ASSERT_NE(effect, nullptr);
  effect->open();
  EXPECT_EQ(tracer.texts('w'), std::vector<std::string>{"No scene data for effect."});
  EXPECT_EQ(tracer.count('b'), 0u);

  // A green picture stays: no clear, no drawing.
  context->setClearColor(ts3d::color(0, 1, 0, 1));
  context->clear(7, true);
  context->setClearColor(ts3d::color(0, 0, 1, 1));
  proxy->clearLog();
  const std::vector<uint32_t> pixels = drawFrame(effect.get(), 0.0f);
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::Clear), 0u);
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::DrawIndexedPrimitive), 0u);
  EXPECT_TRUE(pixelNear(at(pixels, 320, 240), 0, 255, 0)) << std::hex << at(pixels, 320, 240);
  effect->close();
}

}  // namespace
