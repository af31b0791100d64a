#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <random>
#include <vector>

#include "scene/register.h"
#include "scene/scene_hierarchy.h"
#include "scenebuild/scene_builder.h"
#include "tests/context/context_fixture.h"
#include "tests/scenebuild/rich_scene.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

// A hostile scene file must never take the process down: every cut of a rich scene and
// thousands of seeded bit flips go through reading, device resources, updates and drawing.
namespace {

class SceneRobustnessTest : public tstest::ContextTest {
 protected:
  void SetUp() override {
    tstest::ContextTest::SetUp();
    ts3d::registerSceneChunks();
  }

  // Null, or a scene that was made ready and drawn at two times. True when drawn.
  bool readAndDraw(const uint8_t* data, size_t size) {
    std::unique_ptr<tsio::Serializable> read(tstest::loadFromBytes(data, size));
    if (!read) return false;
    auto* scene = dynamic_cast<ts3d::SceneHierarchy*>(read.get());
    // A flipped code can only name another registered class; a scene file's root that
    // isn't a scene is refused by whoever opens it.
    if (!scene) return false;
    scene->createResources();
    for (float time : {0.0f, 0.7f}) {
      scene->update(time);
      context->beginScene();
      scene->clear(time);
      scene->render();
      context->endScene();
    }
    return true;
  }
};

TEST_F(SceneRobustnessTest, EveryCutAndThousandsOfBitFlipsGiveNullOrADrawableScene) {
  tstest::RecordingTracer tracer;
  tstest::RecordingMessageBoxes boxes;
  scenebuild::SceneBuilder builder;
  tstest::buildRichScene(builder);
  const std::vector<uint8_t> file = builder.bytes(0);
  ASSERT_GT(file.size(), 1000u);
  const auto started = std::chrono::steady_clock::now();

  // A cut file is refused whatever the length: every chunk's size reaches to the end.
  int cutsDrawn = 0;
  for (size_t length = 0; length < file.size(); ++length) cutsDrawn += readAndDraw(file.data(), length);
  EXPECT_EQ(cutsDrawn, 0);

  // One to three flipped bits anywhere but the magic.
  std::mt19937 random(20261123);
  int drawn = 0, refused = 0;
  constexpr int kFlips = 3000;
  for (int round = 0; round < kFlips; ++round) {
    std::vector<uint8_t> damaged = file;
    const int bits = 1 + static_cast<int>(random() % 3);
    for (int b = 0; b < bits; ++b) {
      const size_t at = 4 + random() % (damaged.size() - 4);
      damaged[at] = static_cast<uint8_t>(damaged[at] ^ (1u << (random() % 8)));
    }
    if (readAndDraw(damaged.data(), damaged.size()))
      ++drawn;
    else
      ++refused;
  }
  // Most flips land in vertex data and still draw; many hit counts, codes and sizes.
  EXPECT_GT(drawn, kFlips / 4);
  EXPECT_GT(refused, 50);
  std::printf("%zu cuts and %d flips (%d drawn, %d refused) in %.1f s, %zu messages\n", file.size(), kFlips, drawn,
              refused,
              std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count(),
              tracer.messages.size());

  // The device and the context came through: the intact file still draws.
  EXPECT_TRUE(readAndDraw(file.data(), file.size()));
  EXPECT_EQ(context->device->TestCooperativeLevel(), D3D_OK);
}

}  // namespace
