#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "renderers/scene_renderer_blur.h"
#include "renderers/scene_renderer_channels.h"
#include "scene/scene_hierarchy.h"
#include "scenebuild/scene_builder.h"
#include "tests/context/context_fixture.h"
#include "io/chunk_walk.h"
#include "io/trace.h"
#include "tests/support/heap_count.h"
#include "tests/scenebuild/rich_scene.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

// A hostile scene file must never take the process down: every cut of a rich scene and
// thousands of seeded bit flips go through reading, device resources, updates and drawing.
namespace {

// Keeps the last box in a fixed buffer, so that counting heap blocks around a read sees only
// what the read left behind.
class LastBox : public trace::Tracer {
 public:
  void box(const char* format, va_list arguments) override { std::vsnprintf(text, sizeof text, format, arguments); }
  void warn(const char*, va_list) override {}
  void log(const char*, va_list) override {}
  char text[512] = "";
};

// The check that refused a file: its message without the chunk it names, each number as '#'.
std::string checkOf(const std::string& box) {
  const size_t reason = box.find("Unreadable file : ");
  std::string text = reason == std::string::npos ? box : box.substr(reason + 18);
  text = text.substr(0, text.find(" in chunk"));
  // Which chunk a size check met is the damage's chance, not the check.
  if (text.compare(0, 6, "chunk ") == 0 && text.find(") ") != std::string::npos)
    text = "a chunk " + text.substr(text.find(") ") + 2);
  std::string check;
  for (char c : text)
    if (!std::isdigit(static_cast<unsigned char>(c)))
      check += c;
    else if (check.empty() || check.back() != '#')
      check += '#';
  return check;
}

// ts2 check's walk by the description of the bodies over a NONE file; a scene file's root
// must be a scene.
tsio::layout::WalkResult walkScene(const uint8_t* data, size_t size) {
  constexpr size_t kMagicBytes = 4;
  tsio::layout::WalkResult walk;
  if (size >= kMagicBytes)
    walk = tsio::layout::walkObjectStream(data + kMagicBytes, size - kMagicBytes, kMagicBytes, nullptr);
  walk.ok = walk.ok && walk.rootCode == ts3d::SceneHierarchy::kCode;
  return walk;
}

class SceneRobustnessTest : public tstest::ContextTest {
 protected:
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
  LastBox last;
  trace::Tracer* previous = trace::setTracer(&last);
  tstest::RecordingMessageBoxes boxes;
  scenebuild::SceneBuilder builder;
  tstest::buildRichScene(builder);
  // Outermost, around the rich scene's shadow and mirror renderers.
  std::vector<ts3d::SceneRenderer*>& chain = builder.scene()->renderers;
  chain.insert(chain.end(), {new ts3d::SceneRendererBlur, new ts3d::SceneRendererChannels});
  // A lens on the camera, so that its chunk is damaged too. Without the effect sources in this
  // program it draws plainly: compiling the effect for every drawn file would take minutes.
  builder.depthOfField(builder.scene()->activeCamera, nullptr, scenebuild::constant(10.0f));
  const std::vector<uint8_t> file = builder.bytes(0);
  ASSERT_GT(file.size(), 1000u);
  ASSERT_TRUE(readAndDraw(file.data(), file.size()));  // the context's lasting blocks made once
  ASSERT_TRUE(walkScene(file.data(), file.size()).ok) << walkScene(file.data(), file.size()).fault;
  const auto started = std::chrono::steady_clock::now();
  std::map<std::string, int> refusedBy;
  long leaked = 0, kept = 0;
  // ts2 check finds a fault in every file the driver refuses; it may find more (a body that
  // ends early, ids out of order), which the driver reads past.
  int walkMissed = 0, walkStricter = 0;
  // Null or drawn. A refused file leaves nothing behind; a drawn one may leave what the context
  // keeps for good (a cache entry for a vertex format it meets for the first time).
  auto attempt = [&](const uint8_t* data, size_t size) {
    last.text[0] = 0;
    const long before = tstest::liveHeapBlocks();
    const bool drawn = readAndDraw(data, size);
    (drawn ? kept : leaked) += tstest::liveHeapBlocks() - before;
    const bool walked = walkScene(data, size).ok;
    walkMissed += !drawn && walked;
    walkStricter += drawn && !walked;
    if (!drawn) ++refusedBy[last.text[0] ? checkOf(last.text) : "no persistence file or no scene at the root"];
    return drawn;
  };

  // A cut file is refused whatever the length: every chunk's size reaches to the end.
  int cutsDrawn = 0, cutsWalkedPast = 0;
  for (size_t length = 0; length < file.size(); ++length) {
    cutsDrawn += attempt(file.data(), length);
    const tsio::layout::WalkResult walk = walkScene(file.data(), length);
    cutsWalkedPast += walk.ok || walk.faultOffset > static_cast<int64_t>(length);
  }
  EXPECT_EQ(cutsDrawn, 0);
  EXPECT_EQ(cutsWalkedPast, 0) << "cuts whose fault ts2 check finds behind the cut";

  // One to three flipped bits anywhere but the magic.
  std::mt19937 random(20261123);
  int drawn = 0;
  constexpr int kFlips = 3000;
  for (int round = 0; round < kFlips; ++round) {
    std::vector<uint8_t> damaged = file;
    const int bits = 1 + static_cast<int>(random() % 3);
    for (int b = 0; b < bits; ++b) {
      const size_t at = 4 + random() % (damaged.size() - 4);
      damaged[at] = static_cast<uint8_t>(damaged[at] ^ (1u << (random() % 8)));
    }
    drawn += attempt(damaged.data(), damaged.size());
  }
  trace::setTracer(previous);
  // Most flips land in vertex data and still draw; many hit counts, codes and sizes.
  EXPECT_GT(drawn, kFlips / 4);
  EXPECT_LT(drawn, kFlips);
  EXPECT_EQ(leaked, 0) << "heap blocks left behind by refused files";
  EXPECT_EQ(walkMissed, 0) << "files the driver refused and ts2 check passed";
  std::printf("%zu cuts and %d flips in %.1f s: %d flipped files loaded and drew (%ld heap blocks kept by the "
              "context), %d refused\n",
              file.size(), kFlips, std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count(),
              drawn, kept, kFlips - drawn);
  for (const auto& [check, count] : refusedBy) std::printf("  refused %5d times by: %s\n", count, check.c_str());
  std::printf("ts2 check faulted %d files that loaded and drew\n", walkStricter);

  // The device and the context came through: the intact file still draws.
  EXPECT_TRUE(readAndDraw(file.data(), file.size()));
  EXPECT_EQ(context->device->TestCooperativeLevel(), D3D_OK);
}

}  // namespace
