#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "driver/data_item.h"
#include "driver/driver_kmt.h"
#include "effects/fx_blur_radial.h"
#include "effects/fx_simple_bmp.h"
#include "io/persistence.h"
#include "materials/texture_bitmap_file.h"
#include "player/host/host_controllers.h"
#include "scene/scene_hierarchy.h"
#include "scenebuild/scene_builder.h"
#include "tests/context/context_fixture.h"
#include "tests/gfxhelper/test_images.h"
#include "tests/support/host_bridge.h"
#include "tests/support/recording_tracer.h"

namespace {

using tstest::driverSide;
using tstest::hostSide;
using tstest::pixelNear;

// Each parameter of a library entry as the host would read it: its kind and initial value.
using ParamDeclarations = std::initializer_list<std::pair<uint32_t, const char*>>;

EffectDescriptor describeEffect(const char* typeName, ParamDeclarations params) {
  EffectDescriptor descriptor;
  descriptor.name = typeName;
  for (const auto& [kind, initialValue] : params) descriptor.params.push_back({kind, "", initialValue, {}, 0});
  return descriptor;
}

// Data items by name, as the host resolves a data parameter's value.
class ItemLookup : public host::DataLookup {
 public:
  host::DataItem* find(const std::string& name) const override {
    const auto found = items.find(name);
    return found == items.end() ? nullptr : hostSide(found->second);
  }
  std::map<std::string, DataItem*> items;
};

// Effects made by the global driver from library entries, with the host's controllers, on
// the pixel fixture's Context with a blue clear colour; messages are recorded.
class EffectTest : public tstest::ContextTest {
 protected:
  void SetUp() override {
    ContextTest::SetUp();
    context->setClearColor(ts3d::color(0, 0, 1, 1));
    theDriver.setControllerFactory(driverSide(&factory));
  }
  void TearDown() override {
    theDriver.setControllerFactory(nullptr);
    // The pools' surfaces belong to this device, which the render window would have emptied.
    theDriver.screenSurfaces.empty();
    theDriver.smallSurfaces.empty();
    ContextTest::TearDown();
  }

  std::unique_ptr<TimelineItem> makeEffect(const char* typeName, ParamDeclarations params) {
    return std::unique_ptr<TimelineItem>(theDriver.createEffect(describeEffect(typeName, params), "layer"));
  }
  // Gives parameter `index` a new constant and delivers every value, as the host's reset does.
  static void setParam(TimelineItem* effect, uint32_t index, const std::string& value) {
    static_cast<host::HostParamController*>(hostSide(effect->controller(index)))->setConstant(value);
    effect->reset();
  }
  // One frame of a bottom layer: update, clearFrame, render; then the target is read.
  void drawFrame(TimelineItem* effect, float time = 0.0f) {
    effect->update(0, time);
    effect->clearFrame();
    effect->render();
    readTarget();
  }

  tstest::RecordingTracer tracer;
  ItemLookup lookup;
  host::HostControllerFactory factory{&lookup};
};

// An effect that writes down every value its setters receive, in order.
class RecordingEffect : public EffectBase {
 public:
  using EffectBase::EffectBase;
  void setFloat(uint32_t index, float value) override { record('f', index, std::to_string(value)); }
  void setInt(uint32_t index, int32_t value) override { record('i', index, std::to_string(value)); }
  void setString(uint32_t index, const std::string& value) override { record('s', index, value); }
  void setData(uint32_t index, DataItem* item) override { record('d', index, item ? "item" : "null"); }
  std::string deliveries;

 private:
  void record(char setter, uint32_t index, const std::string& value) {
    deliveries += setter + std::to_string(index) + "=" + value + " ";
  }
};

TEST(TimelineBase, UpdateDeliversCurvesByKindAndResetDeliversEveryKnownKind) {
  host::HostControllerFactory factory;
  // String, float, integer, integer read at reset, data, a fixed float, a kind nobody knows.
  RecordingEffect effect(describeEffect("fx_test", {{0, ""}, {1, ""}, {2, ""}, {3, ""}, {4, ""}, {1, "9"}, {7, ""}}),
                         "e", driverSide(&factory));
  for (uint32_t i : {0, 1, 2, 3, 4, 6})
    static_cast<host::HostParamController*>(hostSide(effect.controller(i)))->setKeys({{0, "0"}, {1, "4"}});
  effect.setStartTime(2.0f);
  effect.setDuration(4.0f);
  effect.update(0, 3.0f);  // a quarter through
  EXPECT_EQ(effect.deliveries, "s0=0 f1=1.000000 i2=0 d4=null ");
  effect.deliveries.clear();
  effect.reset();
  EXPECT_EQ(effect.deliveries, "s0=0 f1=1.000000 i2=0 i3=0 d4=null f5=9.000000 ");
}

TEST_F(EffectTest, ColorFillsTheTargetWithItsBlend) {
  std::unique_ptr<TimelineItem> effect =
      makeEffect("fx_simple_color", {{1, "0"}, {1, "0"}, {1, "0"}, {1, "1"}, {2, "0"}, {2, "1"}});
  effect->open();
  // Red, green, blue, alpha, destination and source choice, over the blue of the clear; the
  // opaque and the alpha blends show in the offline render of the player's tests.
  struct Row {
    const char* values[6];
    int r, g, b;
  } const rows[] = {
      {{"0", "1", "0", "1", "1", "1"}, 0, 255, 255},       // added
      {{"2.5", "-1", "0.5", "1", "0", "1"}, 255, 0, 128},  // packed to the range's ends
      {{"1", "0", "0", "0.5", "2", "9"}, 255, 0, 128},     // a choice past the table keeps the source's one
  };
  for (const Row& row : rows) {
    for (uint32_t i = 0; i < 6; ++i) setParam(effect.get(), i, row.values[i]);
    drawFrame(effect.get());
    EXPECT_TRUE(pixelNear(rgbAt(0, 0), row.r, row.g, row.b, 4)) << std::hex << rgbAt(0, 0);
    EXPECT_TRUE(pixelNear(rgbAt(639, 479), row.r, row.g, row.b, 4)) << std::hex << rgbAt(639, 479);
  }
  EXPECT_TRUE(tracer.messages.empty());
}

TEST_F(EffectTest, BmpDrawsItsTextureWhereTheReferenceFramePlacesIt) {
  // A black picture: without its texture the quad would be white.
  const std::vector<uint8_t> texels(8 * 8 * 3, 0), png = tstest::encodePng(8, 8, 3, texels.data());
  FILE* file = std::fopen("fx_bmp.png", "wb");
  ASSERT_NE(file, nullptr);
  std::fwrite(png.data(), 1, png.size(), file);
  std::fclose(file);
  std::unique_ptr<DataItem> picture(theDriver.loadData("fx_bmp.png"));
  std::remove("fx_bmp.png");
  lookup.items["black"] = picture.get();
  // Data, top, left, bottom, right, alpha, destination and source choice.
  std::unique_ptr<TimelineItem> effect = makeEffect(
      "fx_simple_bmp", {{4, "black"}, {1, "0.1"}, {1, "0.1"}, {1, "0.2"}, {1, "0.3"}, {1, "1"}, {2, "0"}, {2, "1"}});
  // On a 320 x 240 target the reference 100..300 x 100..200 lands at 50..150 x 50..100.
  std::unique_ptr<ts3d::RenderSurface> half(ts3d::RenderSurface::create(320, 240, false, false));
  ts3d::RenderSurface* back = context->renderTarget();
  context->setRenderTarget(half.get());
  effect->open();
  drawFrame(effect.get());
  for (auto [x, y] : {std::pair{100, 75}, {52, 52}, {148, 98}})
    EXPECT_TRUE(pixelNear(rgbAt(x, y), 0, 0, 0)) << "inside at " << x << ", " << y;
  for (auto [x, y] : {std::pair{47, 75}, {153, 75}, {100, 47}, {100, 103}})
    EXPECT_TRUE(pixelNear(rgbAt(x, y), 0, 0, 255)) << "outside at " << x << ", " << y;

  // Half its alpha, blended over the blue.
  setParam(effect.get(), 5, "0.5");
  setParam(effect.get(), 6, "2");
  setParam(effect.get(), 7, "3");
  drawFrame(effect.get());
  EXPECT_TRUE(pixelNear(rgbAt(100, 75), 0, 0, 127, 4)) << std::hex << rgbAt(100, 75);
  context->setRenderTarget(back);
  EXPECT_TRUE(tracer.messages.empty());
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
  red.diffuse = red.ambient = ts3d::color(0, 0, 0, 1);
  red.emissive = ts3d::color(1, 0, 0, 1);
  ts3d::HierarchyNode* moving = builder.node(
      root, scenebuild::keyed<ts3d::vect3>({{0.0f, ts3d::vect3(0, 0, 0)}, {100.0f, ts3d::vect3(3, 0, 0)}}));
  builder.mesh(moving, scenebuild::box(2, 2, 2), builder.material(red), false);
  std::string error;
  EXPECT_TRUE(builder.write(path, 1, &error)) << error;
  std::unique_ptr<DataItem> item(theDriver.loadData(path));
  std::remove(path.c_str());
  return item;
}

TEST_F(EffectTest, SceneIsDrawnThroughTheChosenCameraAtItsOwnTime) {
  std::unique_ptr<DataItem> item = writeAndLoadBoxScene("fx_scene_box.ts2");
  ASSERT_NE(item, nullptr);
  lookup.items["box"] = item.get();
  std::unique_ptr<TimelineItem> effect = makeEffect("fx_simple_scene", {{4, "box"}, {2, "0"}, {1, "0"}});
  effect->open();
  // A camera index past the end, or below zero, means the first camera. The time parameter is
  // the scene's time in hundredths: at 1 the box stands at x = 3; the host's time plays no part.
  const int boxColumn = 320 + static_cast<int>(3.0f / (10.0f * std::tan(0.5f)) * 240.0f);
  struct Row {
    const char *camera, *time;
    int column;
    bool red;
  } const rows[] = {{"0", "0", 320, true},  {"1", "0", 320, false}, {"2", "0", 320, true},      {"1", "0", 320, false},
                    {"-1", "0", 320, true}, {"0", "1", 320, false}, {"0", "1", boxColumn, true}};
  for (const Row& row : rows) {
    setParam(effect.get(), 1, row.camera);
    setParam(effect.get(), 2, row.time);
    drawFrame(effect.get(), 123.0f);
    EXPECT_TRUE(pixelNear(rgbAt(row.column, 240), row.red ? 255 : 0, 0, row.red ? 0 : 255))
        << row.camera << " " << row.time << " " << std::hex << rgbAt(row.column, 240);
    EXPECT_TRUE(pixelNear(rgbAt(5, 5), 0, 0, 255)) << "the scene's clear";
  }
  EXPECT_EQ(tracer.count('w') + tracer.count('b'), 0u);
}

TEST_F(EffectTest, WithoutTheirDataBmpAndSceneWarnAtOpenAndDrawSafely) {
  std::unique_ptr<TimelineItem> scene = makeEffect("fx_simple_scene", {{4, "nothing"}, {2, "0"}, {1, "0"}});
  std::unique_ptr<TimelineItem> bmp = makeEffect(
      "fx_simple_bmp", {{4, "nothing"}, {1, "0"}, {1, "0"}, {1, "0.48"}, {1, "0.64"}, {1, "1"}, {2, "0"}, {2, "1"}});
  scene->open();
  bmp->open();
  EXPECT_EQ(tracer.texts('w'), (std::vector<std::string>{"No scene data for effect.", "No texture data for effect."}));

  // The scene neither clears nor draws: a green picture stays.
  context->setClearColor(ts3d::color(0, 1, 0, 1));
  context->clear(7, true);
  drawFrame(scene.get());
  EXPECT_TRUE(pixelNear(rgbAt(320, 240), 0, 255, 0)) << std::hex << rgbAt(320, 240);

  // The bitmap draws its quad all the same, also when its item is a scene.
  DataScene notATexture;
  static_cast<FxSimpleBmp*>(bmp.get())->setData(0, &notATexture);
  proxy->clearLog();
  drawFrame(bmp.get());
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::DrawPrimitiveUP), 1u);
  EXPECT_EQ(tracer.count('w'), 2u) << "only open warns";
  EXPECT_EQ(tracer.count('b'), 0u);
}

// A picture as the host's layers would draw it into the current target, scaled from the
// 640 x 480 frame to the target's viewport: a background, and a square around the centre.
struct Picture {
  uint32_t background;
  bool square;
};

void paint(ts3d::Context* context, const Picture& picture) {
  const D3DVIEWPORT9& viewport = context->renderTarget()->viewport;
  const auto scaled = [&](LONG x, LONG y) { return std::pair<LONG, LONG>(x * viewport.Width / 640, y * viewport.Height / 480); };
  const auto [right, bottom] = scaled(640, 480);
  const auto [left, top] = scaled(280, 200);
  const auto [squareRight, squareBottom] = scaled(360, 280);
  const D3DRECT whole = {0, 0, right, bottom}, square = {left, top, squareRight, squareBottom};
  context->device->Clear(1, &whole, D3DCLEAR_TARGET, 0xFF000000u | picture.background, 1.0f, 0);
  if (picture.square) context->device->Clear(1, &square, D3DCLEAR_TARGET, 0xFF28A0DCu, 1.0f, 0);
}

// Each filter and transition on an 800 x 600 target filled green, over inputs painted as the
// host draws them on the effect's request: what shows in the background, at the centre of the
// square (40, 160, 220), just right of the square, and beyond the 640 x 480 frame and the
// blur's largest copy; and how
// many draws its render makes.
TEST_F(EffectTest, FiltersAndTransitionsShowTheirInputsChanged) {
  const Picture a{0xC80064, false}, b{0x0064C8, false}, scene{0xC86428, true};
  const ParamDeclarations blur0 = {{2, "0"}, {1, "0.32"}, {1, "0.24"}, {1, "0.2"}, {1, "1"}, {2, "2"}, {2, "3"}};
  const ParamDeclarations blur8 = {{2, "8"}, {1, "0.32"}, {1, "0.24"}, {1, "0.2"}, {1, "1"}, {2, "2"}, {2, "3"}};
  struct Row {
    const char* type;
    ParamDeclarations params;
    Picture inputs[2];
    uint32_t background, centre, nearSquare, beyond;
    int tolerance;
    size_t draws;
  } const rows[] = {
      {"fx_trans_direct", {{1, "0.5"}}, {a, b}, 0x0064C8, 0x0064C8, 0x0064C8, 0x0064C8, 0, 0},  // the cut
      {"fx_trans_white", {{1, "0"}}, {a, b}, 0xC80064, 0xC80064, 0xC80064, 0xC80064, 0, 1},
      {"fx_trans_white", {{1, "0.5"}}, {a, b}, 0xFFFFFF, 0xFFFFFF, 0xFFFFFF, 0xFFFFFF, 0, 1},
      {"fx_trans_white", {{1, "1"}}, {a, b}, 0x0064C8, 0x0064C8, 0x0064C8, 0x0064C8, 0, 1},
      {"fx_trans_blend", {{1, "0.5"}}, {a, b}, 0x643296, 0x643296, 0x643296, 0x643296, 2, 1},  // the mean
      {"fx_render_bw", {{1, "0.33333"}}, {scene}, 0x717171, 0x8C8C8C, 0x717171, 0x00FF00, 3, 1},  // the average
      {"fx_render_bw", {{1, "0"}}, {scene}, 0x000000, 0x000000, 0x000000, 0x00FF00, 3, 1},
      {"fx_render_rgb", {{1, "0"}}, {scene}, 0xC86428, 0x28A0DC, 0xC86428, 0x00FF00, 3, 3},
      {"fx_blur_radial", blur0, {scene}, 0xC86428, 0x28A0DC, 0xC86428, 0x000000, 3, 2},
      // The last three of eight copies, up to 1.36 times the frame, reach past the square.
      {"fx_blur_radial", blur8, {scene}, 0xC86428, 0x28A0DC, 0x99765D, 0x000000, 8, 2},
  };
  std::unique_ptr<ts3d::RenderSurface> large(ts3d::RenderSurface::create(800, 600, false, false));
  ts3d::RenderSurface* back = context->renderTarget();
  context->setRenderTarget(large.get());
  for (const Row& row : rows) {
    context->device->Clear(0, nullptr, D3DCLEAR_TARGET, 0xFF00FF00u, 1.0f, 0);
    std::unique_ptr<TimelineItem> effect = makeEffect(row.type, row.params);
    effect->open();
    effect->update(0, 0.0f);
    if (effect->isTransition()) {
      auto* transition = static_cast<TransitionBase*>(effect.get());
      for (int32_t input = 1; input <= 2; ++input) {
        if (!transition->needsInput(input)) continue;
        transition->beginInput(input);
        paint(context, row.inputs[input - 1]);
        transition->endCapture();
      }
    } else {
      effect->beginCapture();
      paint(context, row.inputs[0]);
      effect->endCapture();
    }
    proxy->clearLog();
    effect->render();
    EXPECT_EQ(proxy->count(tstest::DeviceCallKind::DrawPrimitiveUP), row.draws) << row.type;
    readTarget();
    const std::pair<int, int> places[4] = {{100, 100}, {320, 240}, {370, 240}, {790, 590}};
    const uint32_t expected[4] = {row.background, row.centre, row.nearSquare, row.beyond};
    for (int i = 0; i < 4; ++i) {
      const auto [x, y] = places[i];
      const uint32_t e = expected[i];
      EXPECT_TRUE(pixelNear(rgbAt(x, y), e >> 16, e >> 8 & 0xFF, e & 0xFF, row.tolerance))
          << row.type << " " << row.params.begin()->second << " at " << x << ", " << y << ": " << std::hex << rgbAt(x, y);
    }
    if (auto* blur = dynamic_cast<FxBlurRadial*>(effect.get())) {
      // The centre's cross in yellow, ten pixels each way, over what the blur drew.
      blur->drawCenterMark();
      readTarget();
      EXPECT_EQ(rgbAt(325, 240), 0xFFFF00u);
      EXPECT_EQ(rgbAt(320, 235), 0xFFFF00u);
      EXPECT_EQ(rgbAt(320, 255), rgbAt(330, 250)) << "beyond the arm";
    }
  }
  context->setRenderTarget(back);
  EXPECT_TRUE(tracer.messages.empty());
}

TEST(DataScene, RefusesAFileWhoseRootIsNoScene) {
  std::unique_ptr<ts3d::TextureBitmapFile> texture(new ts3d::TextureBitmapFile("sky.png", 0));
  std::unique_ptr<tsio::OutStream> out(tsio::openOutStream("fx_texture_root.ts2", 0));
  ASSERT_NE(out, nullptr);
  out->writeObject(texture.get());
  out.reset();
  DataScene scene;
  EXPECT_FALSE(scene.load("fx_texture_root.ts2"));
  EXPECT_EQ(scene.payload, nullptr);
  EXPECT_TRUE(scene.name().empty());
  std::remove("fx_texture_root.ts2");
}

}  // namespace
