#include <gtest/gtest.h>

#include <windows.h>

#include <memory>

#include "context/context.h"
#include "driver/data_item.h"
#include "driver/data_kind.h"
#include "driver/driver_kmt.h"
#include "driver/exported_animation.h"
#include "io/chunk_walk.h"
#include "io/persistence.h"
#include "materials/texture_bitmap_file.h"
#include "platform/whole_file.h"
#include "scenebuild/scene_builder.h"
#include "tests/device/test_device.h"
#include "tests/gfxhelper/test_images.h"
#include "tests/support/list_project.h"
#include "tests/support/recording_tracer.h"

namespace {

TEST(DataKind, TheLastDotDecidesCaseSensitively) {
  // The image extensions themselves are the table in the code; one stands for them.
  const std::pair<const char*, DataKind> rows[] = {
      {"c:\\demo\\my.scene.ts2", DataKind::Scene}, {"a.png", DataKind::Texture},        {"scene.TS2", DataKind::None},
      {"scene.ts2.bak", DataKind::None},           {"dir.v2\\picture", DataKind::None}, {"", DataKind::None}};
  for (const auto& [path, kind] : rows) EXPECT_EQ(dataKindOf(path), kind) << path;
  EXPECT_EQ(theDriver.loadData("music.ogg"), nullptr);
}

TEST(RenderWindow, PoolsReuseFreedSurfacesAndEmptyWhenTheWindowCloses) {
  HWND window = tstest::createHiddenWindow(640, 480);
  ASSERT_TRUE(theDriver.renderWindow()->open(window, nullptr, 640, 480, 32, true, 0));
  ts3d::RenderSurface* first = theDriver.acquireSurface(0);
  ts3d::RenderSurface* second = theDriver.acquireSurface(0);
  ASSERT_NE(first, nullptr);
  EXPECT_NE(first, second);
  theDriver.releaseSurface(first);
  EXPECT_EQ(theDriver.acquireSurface(0), first) << "the freed surface is handed out again";
  EXPECT_NE(theDriver.acquireSurface(0), first) << "but not while it is in use";

  // Harmless releases: null, twice; kinds outside the two give nothing.
  theDriver.releaseSurface(nullptr);
  theDriver.releaseSurface(second);
  theDriver.releaseSurface(second);
  EXPECT_EQ(theDriver.acquireSurface(0), second);
  EXPECT_EQ(theDriver.acquireSurface(2), nullptr);
  EXPECT_EQ(theDriver.acquireSurface(-1), nullptr);
  ASSERT_NE(theDriver.acquireSurface(1), nullptr);

  // Closing frees them with the device: nothing of ours keeps the device alive.
  IDirect3DDevice9* device = ts3d::Context::instance->device.get();
  device->AddRef();
  theDriver.renderWindow()->close();
  EXPECT_EQ(device->Release(), 0u);
  DestroyWindow(window);
}

struct TextureChunks : tsio::layout::WalkVisitor {
  void chunk(const tsio::layout::ChunkHeader& header) override { count += header.code == ts3d::TextureBitmapFile::kCode; }
  int count = 0;
};

std::vector<std::string> boxTexts(const char* title) {
  std::vector<std::string> texts;
  for (const auto& box : tstest::RecordingMessageBoxes::boxes())
    if (box.title == title) texts.push_back(box.text);
  return texts;
}

// '@' in a row stands for the folder of the test's files.
std::string placed(std::string text, const std::string& folder) {
  for (size_t at; (at = text.find('@')) != std::string::npos;) text.replace(at, 1, folder + "\\");
  return text;
}

TEST(AnimationExport, MergesTexturesByPathAndTellsWhatWentIn) {
  const std::string folder = "animation_export", bundle = folder + "\\out.stfx";
  CreateDirectoryA(folder.c_str(), nullptr);
  const uint8_t texel[3] = {255, 0, 0};
  const tstest::Bytes png = tstest::encodePng(1, 1, 3, texel);
  ASSERT_TRUE(platform::writeWholeFile(folder + "\\a.png", png.data(), png.size()));
  const std::string longName(trace::TracerDefault::kBufferSize, 'x');
  const struct {
    const char* name;
    std::vector<std::vector<std::string>> scenes;  // per scene, the image of each stage
    std::vector<std::string> unused;               // images in the first scene's list that no stage shows
    std::vector<std::string> bitmaps;              // image data items
    std::string report;                            // the merge's box
    std::vector<std::string> keys;                 // of the file's textures
    int textureChunks;
    int bitmapCount;  // in the second box
  } rows[] = {
      {"one path in two scenes", {{"@a.png"}, {"@a.png"}}, {}, {},
       "Replaced references to textures : 1.\nTexture with references not found : 0\n@a.png\n", {"@a.png"}, 1, 1},
      {"the path written two ways", {{"@a.png"}, {"@.\\a.png"}}, {}, {},
       "Replaced references to textures : 0.\nTexture with references not found : 0\n@.\\a.png\n@a.png\n",
       {"@.\\a.png", "@a.png"}, 2, 2},
      {"a texture no stage shows", {{}}, {"@a.png"}, {},
       "Replaced references to textures : 0.\nTexture with references not found : 1\nNot found list :\n@a.png", {"0"}, 1, 1},
      {"a bitmap item no scene uses", {}, {}, {"@a.png"},
       "Replaced references to textures : 0.\nTexture with references not found : 0\n@a.png\n", {"@a.png"}, 1, 1},
      {"a report longer than the tracer holds", {{}}, {longName}, {},
       ("Replaced references to textures : 0.\nTexture with references not found : 1\nNot found list :\n" + longName)
           .substr(0, trace::TracerDefault::kBufferSize - 1),
       {"0"}, 1, 1},
  };
  HWND window = tstest::createHiddenWindow(640, 480);
  ASSERT_TRUE(theDriver.renderWindow()->open(window, nullptr, 640, 480, 32, true, 0));
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    tstest::ListProject project;
    project.soundtrack = "c:\\music\\tune.wav";
    project.textOf = [](const std::string& soundtrack) { return "<soundtrack path=\"" + soundtrack + "\"/>"; };
    for (size_t s = 0; s < row.scenes.size(); ++s) {
      scenebuild::SceneBuilder builder;
      ts3d::MaterialSimple* material = builder.material({});
      for (const std::string& image : row.scenes[s])
        builder.stage(material, builder.textureFile(placed(image, folder)));
      for (const std::string& image : s == 0 ? row.unused : std::vector<std::string>())
        builder.textureFile(placed(image, folder));
      const std::string path = folder + "\\scene" + std::to_string(s) + ".ts2";
      ASSERT_TRUE(builder.write(path, 0, nullptr));
      project.items.emplace_back(theDriver.loadData(path));
    }
    for (const std::string& image : row.bitmaps) project.items.emplace_back(theDriver.loadData(placed(image, folder)));
    tstest::RecordingMessageBoxes boxes;
    theDriver.exportAnimation(&project, bundle);
    const std::string counts = "DriverKMT - Exported animation :\n" + std::to_string(row.scenes.size()) + " 3d Scenes.\n" +
                               std::to_string(row.bitmapCount) + " Bitmaps.";
    EXPECT_EQ(boxTexts("TracerDefault::Box"), (std::vector<std::string>{placed(row.report, folder), counts}));
    EXPECT_EQ(project.soundtrack, "c:\\music\\tune.wav") << "the project keeps its own";

    std::vector<uint8_t> file;
    ASSERT_TRUE(platform::readWholeFile(bundle, file, 1 << 20));
    TextureChunks textures;
    EXPECT_TRUE(tsio::layout::walkObjectStream(file.data() + 4, file.size() - 4, 4, &textures).ok);
    EXPECT_EQ(textures.count, row.textureChunks);
    std::unique_ptr<tsio::InStream> in(tsio::openInStream(bundle));
    std::unique_ptr<tsio::Serializable> root(in->readObject());
    auto* animation = dynamic_cast<ExportedAnimation*>(root.get());
    ASSERT_NE(animation, nullptr);
    EXPECT_EQ(animation->projectText, "<soundtrack path=\"tune.wav\"/>") << "the animation names the file alone";
    std::vector<std::string> keys;
    for (const auto& entry : animation->textures) keys.push_back(entry.first);
    std::vector<std::string> expected;
    for (const std::string& key : row.keys) expected.push_back(placed(key, folder));
    EXPECT_EQ(keys, expected);
  }

  // Cut, and with a bit of the root's size flipped: no animation, no text, and a box naming the file.
  std::vector<uint8_t> file;
  ASSERT_TRUE(platform::readWholeFile(bundle, file, 1 << 20));
  std::vector<uint8_t> flipped = file;
  flipped[15] ^= 0x40;
  for (const auto& damaged : {std::vector<uint8_t>(file.begin(), file.begin() + file.size() / 2), flipped}) {
    ASSERT_TRUE(platform::writeWholeFile(bundle, damaged.data(), damaged.size()));
    tstest::RecordingMessageBoxes boxes;
    std::string text = "left over";
    theDriver.loadAnimation(bundle, text);
    EXPECT_EQ(text, "");
    EXPECT_EQ(theDriver.animation, nullptr);
    const std::vector<std::string> shown = boxTexts("TracerDefault::Box");
    ASSERT_FALSE(shown.empty());
    EXPECT_NE(shown.back().find(bundle), std::string::npos) << shown.back();
  }
  theDriver.renderWindow()->close();
  DestroyWindow(window);
}

}  // namespace
