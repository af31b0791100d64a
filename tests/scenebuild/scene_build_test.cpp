#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "scene/render_queue.h"
#include "scene/scene_hierarchy.h"
#include "scenebuild/scene_builder.h"
#include "tests/context/context_fixture.h"
#include "tests/scenebuild/rich_scene.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

// A scene made in code, written as a file, read back and drawn: the whole chain from the
// builder through every chunk class to the pixels.
namespace {

using tstest::RichScene;

class SceneBuildTest : public tstest::ContextTest {
 protected:
  void drawFrame(ts3d::SceneHierarchy& scene, float time) {
    scene.update(time);
    context->beginScene();
    scene.clear(time);
    scene.render();
    context->endScene();
    ASSERT_EQ(readTarget().size(), 640u * 480u);
  }

  // The last frame's pixel at a place of the scene's plane z = 0.
  uint32_t seen(float x, float y) const { return rgbAt(RichScene::column(x), RichScene::row(y)); }
  int red(float x, float y) const { return static_cast<int>((seen(x, y) >> 16) & 0xff); }
};

TEST_F(SceneBuildTest, AWrittenSceneReadsBackTheSameAndDrawsWhatWasBuilt) {
  tstest::RecordingTracer tracer;
  scenebuild::SceneBuilder builder;
  tstest::buildRichScene(builder);
  const std::vector<uint8_t> plain = builder.bytes(0), packed = builder.bytes(1);

  // Both forms read back to a scene that stores to the very same bytes: every field of
  // every class survived the trip.
  std::unique_ptr<tsio::Serializable> fromPacked(tstest::loadFromBytes(packed)), loaded(tstest::loadFromBytes(plain));
  auto* scene = dynamic_cast<ts3d::SceneHierarchy*>(loaded.get());
  ASSERT_NE(scene, nullptr);
  EXPECT_EQ(tstest::storeToBytes(scene, 0), plain);
  EXPECT_EQ(tstest::storeToBytes(fromPacked.get(), 0), plain);
  EXPECT_EQ(scene->meshes.size(), 11u);
  // Storing logs each chunk; nothing may warn or ask for a box.
  EXPECT_EQ(tracer.count('w') + tracer.count('b'), 0u);

  scene->createResources();
  drawFrame(*scene, 0.0f);
  const D3DLIGHT9& light = static_cast<ts3d::LightOmni*>(scene->lights[0])->d3dLight;
  EXPECT_EQ(light.Specular.r, RichScene::kHighlight.r);
  std::unique_ptr<ts3d::RenderQueue> visible(scene->collectVisible());
  // The box beyond the far plane is culled; the composite-material mesh gives one item per child.
  EXPECT_EQ(visible->items().size(), scene->meshes.size() - 1 + 2);

  // The sphere: lit from +x, dark on the far side, with diffuse falling off in between.
  const int lit = red(1.8f, 0), middle = red(0, 0), shaded = red(-1.4f, 0);
  EXPECT_GT(lit, 150);
  EXPECT_LT(shaded, 40);
  EXPECT_GT(middle, shaded + 10);
  EXPECT_LT(middle, lit - 30);
  EXPECT_EQ(static_cast<int>((seen(1.8f, 0) >> 8) & 0xff), lit);  // white light on white

  // The textured quad, red on its left half and green on its right at time 0: a pixel at
  // u = 0.6 is green.
  EXPECT_TRUE(tstest::pixelNear(seen(-5.7f, 3), 255, 0, 0, 12)) << std::hex << seen(-5.7f, 3);
  const float slid = -6.5f + 0.6f * 3.0f;
  EXPECT_TRUE(tstest::pixelNear(seen(slid, 3), 0, 255, 0, 12)) << std::hex << seen(slid, 3);

  // The child box stands 1 above its turned parent at x = 3 (time 0), not yet at 5. Over its
  // middle, yellow glass then red: half red over a mix of yellow and cyan.
  EXPECT_TRUE(tstest::pixelNear(seen(3.5f, -2), 0, 255, 255, 12)) << std::hex << seen(3.5f, -2);
  EXPECT_TRUE(tstest::pixelNear(seen(5, -2), 0, 0, 255, 12)) << std::hex << seen(5, -2);
  EXPECT_TRUE(tstest::pixelNear(seen(3, -2), 191, 128, 64, 8)) << std::hex << seen(3, -2);
  // The watcher at (-4, -3) aims its long box up at the quad; unturned, the box would point at
  // the camera and end well below this pixel.
  EXPECT_TRUE(tstest::pixelNear(seen(-4.2f, -2.05f), 0, 255, 255, 12)) << std::hex << seen(-4.2f, -2.05f);
  // The skinned arm lies straight: its hand reaches x = 1.5.
  EXPECT_TRUE(tstest::pixelNear(seen(1.2f, -3.5f), 255, 0, 255, 12)) << std::hex << seen(1.2f, -3.5f);

  // Half a time later the texture has slid a quarter along u, to the right: the pixel at
  // u = 0.6 now shows u = 0.35, red. The parent has carried the child box to x = 4.
  drawFrame(*scene, 0.5f);
  EXPECT_TRUE(tstest::pixelNear(seen(slid, 3), 255, 0, 0, 12)) << std::hex << seen(slid, 3);
  EXPECT_TRUE(tstest::pixelNear(seen(4, -2), 0, 255, 255, 12)) << std::hex << seen(4, -2);

  // At time 1 the forearm has turned a quarter clockwise about the elbow at (0, -3.5): a point
  // (x, y) of the arm's own space goes to (y, -x - 3.5) by the forearm, to (x, y - 3.5) by the
  // upper arm, and to the mean of both on the elbow.
  drawFrame(*scene, 1.0f);
  EXPECT_TRUE(tstest::pixelNear(seen(0, -4.8f), 255, 0, 255, 12)) << std::hex << seen(0, -4.8f);
  EXPECT_FALSE(tstest::pixelNear(seen(1.2f, -3.5f), 255, 0, 255, 60)) << std::hex << seen(1.2f, -3.5f);
  auto* arm = static_cast<ts3d::MeshSimple*>(scene->meshes.back());
  const auto& bind = static_cast<ts3d::GeometrySimple*>(arm->geometry())->positions;
  const auto& posed = static_cast<ts3d::GeometrySimple*>(arm->currentGeometry())->positions;
  const struct {
    ts3d::vect3 bind, posed;
  } kArm[] = {{{1.5f, 0.25f, 0}, {0.25f, -5, 0}},
              {{1.5f, -0.25f, 0}, {-0.25f, -5, 0}},
              {{0, 0.25f, 0}, {0.125f, -3.375f, 0}},
              {{-1.5f, -0.25f, 0}, {-1.5f, -3.75f, 0}}};
  for (const auto& vertex : kArm) {
    const size_t i = static_cast<size_t>(std::find(bind.begin(), bind.end(), vertex.bind) - bind.begin());
    ASSERT_LT(i, posed.size());
    EXPECT_NEAR(posed[i].x, vertex.posed.x, 1e-5f) << i;
    EXPECT_NEAR(posed[i].y, vertex.posed.y, 1e-5f) << i;
    EXPECT_NEAR(posed[i].z, vertex.posed.z, 1e-5f) << i;
  }
}

TEST_F(SceneBuildTest, WriteReplacesAFileWholeOrLeavesItAlone) {
  scenebuild::SceneBuilder builder;
  tstest::buildRichScene(builder);
  const std::string path = "scene_build_write.ts2";
  std::string error;
  ASSERT_TRUE(builder.write(path, 1, &error)) << error;
  {
    std::ifstream in(path, std::ios::binary);
    EXPECT_EQ(std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {}), builder.bytes(1));
  }

  // A folder that doesn't exist: a message naming the file, and nothing written.
  EXPECT_FALSE(builder.write("no such folder/scene.ts2", 0, &error));
  EXPECT_NE(error.find("no such folder/scene.ts2"), std::string::npos) << error;
  EXPECT_EQ(GetFileAttributesA("no such folder"), INVALID_FILE_ATTRIBUTES);
  std::remove(path.c_str());
}

}  // namespace
