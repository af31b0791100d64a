#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "scene/scene_hierarchy.h"
#include "scenebuild/scene_builder.h"
#include "tests/context/context_fixture.h"
#include "tests/scenebuild/rich_scene.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"
#include "io/persistence.h"

// A scene made in code, written as a file, read back and drawn: the whole chain from the
// builder through every chunk class to the pixels.
namespace {

using tstest::RichScene;

class SceneBuildTest : public tstest::ContextTest {
 protected:
  void SetUp() override {
    tstest::ContextTest::SetUp();
    context->setClearColor(ts3d::color(0, 0, 1, 1));
  }

  std::vector<uint32_t> drawFrame(ts3d::SceneHierarchy& scene, float time) {
    scene.update(time);
    context->beginScene();
    scene.clear(time);
    scene.render();
    context->endScene();
    return readTarget(context->currentTarget->surface.get());
  }

  static uint32_t at(const std::vector<uint32_t>& pixels, int x, int y) {
    return pixels[static_cast<size_t>(y) * 640 + static_cast<size_t>(x)];
  }
  static int red(uint32_t p) { return static_cast<int>((p >> 16) & 0xff); }
  static int green(uint32_t p) { return static_cast<int>((p >> 8) & 0xff); }
  static int blue(uint32_t p) { return static_cast<int>(p & 0xff); }

  static void keepOnFailure(const std::vector<uint32_t>& pixels, const char* name) {
    if (testing::Test::HasFailure()) tstest::saveFailedFrame(pixels, 640, 480, name);
  }
};

TEST_F(SceneBuildTest, AWrittenSceneReadsBackTheSameAndDrawsWhatWasBuilt) {
  tstest::RecordingTracer tracer;
  scenebuild::SceneBuilder builder;
  tstest::buildRichScene(builder);
  const std::vector<uint8_t> plain = builder.bytes(0), packed = builder.bytes(1);
  ASSERT_GT(plain.size(), 1000u);

  // Both forms read back to a scene that stores to the very same bytes: every field of
  // every class survived the trip.
  std::unique_ptr<tsio::Serializable> fromPacked(tstest::loadFromBytes(packed));
  std::unique_ptr<tsio::Serializable> loaded(tstest::loadFromBytes(plain));
  ASSERT_NE(dynamic_cast<ts3d::SceneHierarchy*>(fromPacked.get()), nullptr);
  auto* scene = dynamic_cast<ts3d::SceneHierarchy*>(loaded.get());
  ASSERT_NE(scene, nullptr);
  EXPECT_EQ(tstest::storeToBytes(scene, 0), plain);
  EXPECT_EQ(tstest::storeToBytes(fromPacked.get(), 0), plain);
  EXPECT_EQ(scene->meshes.size(), 6u);
  EXPECT_EQ(scene->materials.size(), 4u);
  EXPECT_EQ(scene->textures.size(), 1u);
  // Storing logs each chunk; nothing may warn or ask for a box.
  EXPECT_EQ(tracer.count('w') + tracer.count('b'), 0u);

  scene->createResources();
  const std::vector<uint32_t> start = drawFrame(*scene, 0.0f);
  ASSERT_EQ(start.size(), 640u * 480u);

  // The sphere: lit from +x, dark on the far side, with diffuse falling off in between.
  const int lit = red(at(start, RichScene::column(1.8f), 240)), middle = red(at(start, 320, 240)),
            shaded = red(at(start, RichScene::column(-1.4f), 240));
  EXPECT_GT(lit, 150);
  EXPECT_LT(shaded, 40);
  EXPECT_GT(middle, shaded + 10);
  EXPECT_LT(middle, lit - 30);
  EXPECT_EQ(green(at(start, RichScene::column(1.8f), 240)), lit);  // white light on white

  // The textured quad, red on its left half and green on its right at time 0.
  const int quadRow = RichScene::row(3.0f), quadLeft = RichScene::column(-5.7f), quadRight = RichScene::column(-4.3f);
  EXPECT_TRUE(tstest::pixelNear(at(start, quadLeft, quadRow), 255, 0, 0, 12)) << std::hex << at(start, quadLeft, quadRow);
  EXPECT_TRUE(tstest::pixelNear(at(start, quadRight, quadRow), 0, 255, 0, 12)) << std::hex << at(start, quadRight, quadRow);

  // The child box stands 1 above its parent at x = 3 (time 0); the glass over the clear
  // colour blends to grey, drawn after everything opaque.
  EXPECT_TRUE(tstest::pixelNear(at(start, RichScene::column(3.0f), RichScene::row(-2.0f)), 0, 0, 255, 12));
  EXPECT_TRUE(tstest::pixelNear(at(start, RichScene::column(5.0f), RichScene::row(-2.0f)), 0, 0, 255, 12));
  const int glassX = 320 + static_cast<int>(1.5f * 240.0f / (7.0f * 0.5463025f)),
            glassY = 240 + static_cast<int>(1.5f * 240.0f / (7.0f * 0.5463025f));
  EXPECT_TRUE(tstest::pixelNear(at(start, glassX, glassY), 128, 128, 128, 6)) << std::hex << at(start, glassX, glassY);
  keepOnFailure(start, "scene_build_start");

  // Half a time later the texture has slid a quarter along u, to the right: a pixel at
  // u = 0.6, green before, now shows u = 0.35, red. The parent has carried the child box
  // to x = 4.
  const std::vector<uint32_t> later = drawFrame(*scene, 0.5f);
  ASSERT_EQ(later.size(), 640u * 480u);
  const int slid = RichScene::column(-6.5f + 0.6f * 3.0f);
  EXPECT_TRUE(tstest::pixelNear(at(start, slid, quadRow), 0, 255, 0, 12)) << std::hex << at(start, slid, quadRow);
  EXPECT_TRUE(tstest::pixelNear(at(later, slid, quadRow), 255, 0, 0, 12)) << std::hex << at(later, slid, quadRow);
  EXPECT_TRUE(tstest::pixelNear(at(later, RichScene::column(4.0f), RichScene::row(-2.0f)), 0, 0, 255, 12));
  keepOnFailure(later, "scene_build_later");
}

TEST_F(SceneBuildTest, WriteReplacesAFileWholeOrLeavesItAlone) {
  scenebuild::SceneBuilder builder;
  tstest::buildRichScene(builder);
  const std::string path = "scene_build_write.ts2";
  std::string error;
  ASSERT_TRUE(builder.write(path, 1, &error)) << error;
  std::unique_ptr<tsio::InStream> in(tsio::openInStream(path));
  ASSERT_NE(in, nullptr);
  std::unique_ptr<tsio::Serializable> read(in->readObject());
  in.reset();
  EXPECT_NE(dynamic_cast<ts3d::SceneHierarchy*>(read.get()), nullptr);

  // A folder that doesn't exist: a message naming the file, and nothing written.
  EXPECT_FALSE(builder.write("no such folder/scene.ts2", 0, &error));
  EXPECT_NE(error.find("no such folder/scene.ts2"), std::string::npos) << error;
  EXPECT_EQ(GetFileAttributesA("no such folder"), INVALID_FILE_ATTRIBUTES);
  std::remove(path.c_str());
}

}  // namespace
