#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "geometry/geometry_composite.h"
#include "materials/material_simple.h"
#include "materials/texture_stage.h"
#include "scene/controller/conv.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/scene_hierarchy.h"
#include "scenebuild/scene_builder.h"
#include "tests/context/context_fixture.h"
#include "tests/support/heap_count.h"
#include "platform/message_box.h"
#include "tests/support/test_chunks.h"

// Files that other writers produce and the format allows, each refused whole once: every one
// must load, draw, and leave no heap block or device reference behind.
namespace {

using scenebuild::constant;
using ts3d::color;
using ts3d::SceneHierarchy;
using ts3d::vect3;
using Bytes = std::vector<uint8_t>;

constexpr uint32_t kRed = 0xFF0000u;
constexpr uint32_t kNotRed = 0xFFFFFFFFu;  // drawn, in the neutral device colours
constexpr uint32_t kBlue = 0x0000FFu;       // the context's clear colour

// Where a 4-byte word first stands in the file from `from` on; the file's size when nowhere.
size_t find(const Bytes& file, uint32_t word, size_t from = 4) {
  for (size_t at = from; at + 4 <= file.size(); ++at)
    if (std::memcmp(&file[at], &word, 4) == 0) return at;
  return file.size();
}

void put(Bytes& file, size_t at, uint32_t word) {
  ASSERT_LE(at + 4, file.size());
  std::memcpy(&file[at], &word, 4);
}

struct AllowedFile {
  const char* name;
  // Adds to the base scene what the file needs.
  std::function<void(scenebuild::SceneBuilder&)> build;
  // Changes the stored bytes where our own writer wouldn't write them so.
  std::function<void(Bytes&)> patch;
  // Checks the scene read back; the square in the middle must be red unless `tinted` says.
  std::function<void(SceneHierarchy&)> check;
  uint32_t centre = kRed;  // the colour the file gives the square, or kNotRed
};

class AllowedFilesTest : public tstest::ContextTest {
 protected:
  // A camera at the origin looking along -Z at a red (emissive) square 5 units away.
  static ts3d::MaterialSimple* base(scenebuild::SceneBuilder& builder) {
    builder.camera(builder.node(builder.root(), vect3(0, 0, 0)), 1.0f);
    scenebuild::MaterialSettings red;
    red.emissive = color(1, 0, 0, 1);
    red.ambient = color(0, 0, 0, 1);
    red.diffuse = color(0, 0, 0, 1);
    ts3d::MaterialSimple* material = builder.material(red);
    builder.mesh(builder.node(builder.root(), vect3(0, 0, -5)), scenebuild::plane(4, 4, 1, 1), material, false);
    return material;
  }

  uint32_t drawCentre(SceneHierarchy& scene) {
    scene.createResources();
    scene.update(0.0f);
    context->beginScene();
    scene.clear(0.0f);
    scene.render();
    context->endScene();
    readTarget();
    return rgbAt(320, 240);
  }

  ULONG deviceReferences() {
    proxy->real()->AddRef();
    return proxy->real()->Release() + proxy->references();
  }
};

TEST_F(AllowedFilesTest, EachLoadsDrawsAndLeavesNothingBehind) {
  const std::vector<AllowedFile> files = {
      {"a stage shared by two materials",
       [](scenebuild::SceneBuilder& b) {
         auto* first = static_cast<ts3d::MaterialSimple*>(b.scene()->materials[0]);
         ts3d::TextureStage* shared = b.stage(first, nullptr);
         shared->states.colorOp = ts3d::TextureSelectArg2;  // the lit colour passes unchanged
         ts3d::MaterialSimple* second = b.material(scenebuild::MaterialSettings());
         second->setStage(0, shared);
       },
       nullptr,
       [](SceneHierarchy& s) {
         ASSERT_EQ(s.materials.size(), 2u);
         auto* first = static_cast<ts3d::MaterialSimple*>(s.materials[0]);
         auto* second = static_cast<ts3d::MaterialSimple*>(s.materials[1]);
         EXPECT_NE(first->stage(0), nullptr);
         EXPECT_EQ(first->stage(0), second->stage(0));
       }},
      {"a colour conversion whose source nothing else owns",
       [](scenebuild::SceneBuilder& b) {
         auto* conv = new ts3d::controller::Conv<color, vect3>;
         conv->source = constant(vect3(0, 1, 0));  // nothing owns it: stored inside the conversion
         static_cast<ts3d::MaterialSimple*>(b.scene()->materials[0])->setEmissiveController(conv);
         b.scene()->keep(conv->source);
       },
       nullptr, nullptr, 0x00FF00u},
      {"a composite geometry with a null child",
       [](scenebuild::SceneBuilder& b) {
         ts3d::MeshSimple* mesh = static_cast<ts3d::MeshSimple*>(b.scene()->meshes[0]);
         mesh->setGeometry(new ts3d::GeometryComposite(
             {scenebuild::makeGeometry(scenebuild::plane(4, 4, 1, 1), false), nullptr}));
       },
       nullptr,
       [](SceneHierarchy& s) {
         auto* composite = dynamic_cast<ts3d::GeometryComposite*>(s.meshes[0]->geometry());
         ASSERT_NE(composite, nullptr);
         ASSERT_EQ(composite->children.size(), 2u);
         EXPECT_EQ(composite->children[1], nullptr);
       }},
      {"a composite geometry with a child of an unknown class",
       [](scenebuild::SceneBuilder& b) {
         ts3d::MeshSimple* mesh = static_cast<ts3d::MeshSimple*>(b.scene()->meshes[0]);
         mesh->setGeometry(new ts3d::GeometryComposite({scenebuild::makeGeometry(scenebuild::plane(4, 4, 1, 1), false),
                                                        scenebuild::makeGeometry(scenebuild::box(1, 1, 1), false)}));
       },
       [](Bytes& file) {
         put(file, find(file, tsio::fourCC("GOSM"), find(file, tsio::fourCC("GOSM")) + 1), tsio::fourCC("ZZZZ"));
       },
       [](SceneHierarchy& s) {
         auto* composite = dynamic_cast<ts3d::GeometryComposite*>(s.meshes[0]->geometry());
         ASSERT_NE(composite, nullptr);
         ASSERT_EQ(composite->children.size(), 2u);
         EXPECT_NE(composite->children[0], nullptr);
         EXPECT_EQ(composite->children[1], nullptr);
       }},
      {"a triangle list of a later version",
       nullptr,
       [](Bytes& file) {
         const size_t at = find(file, tsio::fourCC("GOSM"));
         ASSERT_LT(at, file.size());
         file[at + 4] = 7;
       },
       nullptr},
      {"a triangle list with a texture channel and no vertices",
       [](scenebuild::SceneBuilder& b) {
         auto* empty = new ts3d::GeometrySimple;
         empty->textureChannels.resize(1);
         auto* mesh = new ts3d::MeshSimple;
         mesh->setGeometry(empty);
         b.scene()->meshes.push_back(mesh);
       },
       nullptr,
       [](SceneHierarchy& s) {
         ASSERT_EQ(s.meshes.size(), 2u);
         auto* empty = dynamic_cast<ts3d::GeometrySimple*>(s.meshes[1]->geometry());
         ASSERT_NE(empty, nullptr);
         EXPECT_EQ(empty->textureChannels.size(), 1u);
         EXPECT_TRUE(empty->positions.empty());
       }},
      {"a reference to an object that isn't in the file",
       nullptr,
       [](Bytes& file) {
         // The mesh's material (id 1, the first object behind the scene): its reference word.
         put(file, find(file, 0x80000001u, find(file, tsio::fourCC("MESM"))), 0x8000FFF0u);
       },
       [](SceneHierarchy& s) { EXPECT_EQ(s.meshes[0]->material(), nullptr); }, kNotRed},
      {"a chunk of an unknown class in a list",
       [](scenebuild::SceneBuilder& b) { b.light(b.root(), color(0, 0, 0, 1), 1.0f); },
       [](Bytes& file) { put(file, find(file, tsio::fourCC("LTOM")), tsio::fourCC("QQQQ")); },
       [](SceneHierarchy& s) {
         ASSERT_EQ(s.lights.size(), 1u);
         EXPECT_EQ(s.lights[0], nullptr);  // null members keep their places
       }},
  };

  // The unknown chunks' boxes, counted without a heap block that would look like a leak.
  static int boxes;
  const platform::MessageBoxHandler previous = platform::setMessageBoxHandler([](const char*, const char*, unsigned) {
    ++boxes;
    return 1;
  });
  for (const AllowedFile& row : files) {
    SCOPED_TRACE(row.name);
    Bytes file;
    {
      scenebuild::SceneBuilder builder;
      base(builder);
      if (row.build) row.build(builder);
      file = builder.bytes(0);
    }
    if (row.patch) row.patch(file);
    // Resources made once before counting: the context keeps some for good.
    {
      std::unique_ptr<tsio::Serializable> warmUp(tstest::loadFromBytes(file));
      if (auto* scene = dynamic_cast<SceneHierarchy*>(warmUp.get())) drawCentre(*scene);
    }
    const long blocks = tstest::liveHeapBlocks();
    const ULONG references = deviceReferences();
    {
      std::unique_ptr<tsio::Serializable> read(tstest::loadFromBytes(file));
      auto* scene = dynamic_cast<SceneHierarchy*>(read.get());
      ASSERT_NE(scene, nullptr) << "refused";
      if (row.check) row.check(*scene);
      const uint32_t centre = drawCentre(*scene);
      if (row.centre == kNotRed) {
        EXPECT_NE(centre, kRed);
        EXPECT_NE(centre, kBlue) << "the square is missing";
      } else {
        EXPECT_EQ(centre, row.centre);
      }
    }
    EXPECT_EQ(tstest::liveHeapBlocks(), blocks);
    EXPECT_EQ(deviceReferences(), references);
  }
  EXPECT_EQ(boxes, 2 * 2) << "one box per unknown chunk and read";
  platform::setMessageBoxHandler(previous);
}

}  // namespace
