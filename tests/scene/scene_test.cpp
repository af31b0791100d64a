#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "scene/atmospheric.h"
#include "scene/camera.h"
#include "scene/controller/const.h"
#include "scene/controller_transformation.h"
#include "scene/hierarchy_node.h"
#include "scene/scene_hierarchy.h"
#include "scene/scene_renderer.h"
#include "tests/context/context_fixture.h"
#include "tests/support/heap_count.h"
#include "tests/support/test_chunks.h"

namespace {

using ts3d::HierarchyNode;
using ts3d::SceneHierarchy;

// Far deeper than a file may nest, and within the objects a file holds.
constexpr size_t kDeepChain = 60000;

// Trees built in code have no depth limit: update, store and delete walk them without
// recursion. A file of a tree deeper than the cap is refused, one as deep as the cap loads.
TEST(SceneTree, ChainsOfAnyDepthAreUpdatedAndStoredAndOnlyFilesBeyondTheCapAreRefused) {
  for (size_t depth : {size_t{SceneHierarchy::kMaxTreeDepth}, size_t{SceneHierarchy::kMaxTreeDepth} + 1, kDeepChain}) {
    SCOPED_TRACE(depth);
    std::vector<uint8_t> file;
    {
      // The root stands at y = 2, every node below it at its parent's place.
      SceneHierarchy scene;
      scene.root = new HierarchyNode;
      scene.root->transformation = new ts3d::ControllerTransformation;
      scene.root->transformation->positionController = new ts3d::controller::Const<ts3d::vect3>(ts3d::vect3(0, 2, 0));
      HierarchyNode* leaf = scene.root;
      for (size_t level = 1; level < depth; ++level) {
        leaf->children = {new HierarchyNode};
        leaf->children[0]->parent = leaf;
        leaf = leaf->children[0];
      }
      scene.update(0.0f);
      EXPECT_EQ(leaf->worldMatrix._42, 2.0f);
      file = tstest::storeToBytes(&scene, 0);
    }
    if (depth <= SceneHierarchy::kMaxTreeDepth) {
      const tstest::CountedRead read = tstest::readCounted(file);
      EXPECT_TRUE(read.loaded);
      EXPECT_TRUE(read.boxes.empty());
      EXPECT_EQ(read.leaked, 0);
    } else {
      tstest::expectRefused(file, "the tree of nodes is deeper than 256 levels in chunk SCHE (id 0)");
    }
  }
}

// What the renderers and atmospheres below met, in order.
std::vector<std::string> met;

class LoggedRenderer : public ts3d::SceneRenderer {
 public:
  LoggedRenderer(const char* rendererName, int rendererPasses) : name(rendererName), passes(rendererPasses) {}
  void update(float) override {}
  void render(SceneHierarchy& scene, ts3d::Camera*) override {
    for (int pass = 0; pass < passes; ++pass) {
      met.push_back(name + " at depth " + std::to_string(scene.rendererDepth));
      scene.render();
    }
  }
  bool load(tsio::InStream&) override { return false; }
  void store(tsio::OutStream&) override {}

  std::string name;
  int passes;
};

class LoggedAtmosphere : public ts3d::Atmospheric {
 public:
  explicit LoggedAtmosphere(const char* atmosphereName) : name(atmosphereName) {}
  void update(float) override {}
  void enter(ts3d::Camera*) override { met.push_back("enter " + name); }
  void leave() override { met.push_back("leave " + name); }
  bool load(tsio::InStream&) override { return false; }
  void store(tsio::OutStream&) override {}

  std::string name;
};

class SceneRenderTest : public tstest::ContextTest {};

// The last renderer is outermost and draws the rest of the chain once per pass; a null one
// passes straight on. Inside them all come the contents: atmospheres around the meshes, then
// the overlays.
TEST_F(SceneRenderTest, RenderersNestFromTheLastAndTheContentsComeInsideThemAll) {
  SceneHierarchy scene;
  scene.renderers = {new LoggedRenderer("A", 1), nullptr, new LoggedRenderer("B", 2)};
  scene.atmospheres = {new LoggedAtmosphere("fog")};
  scene.overlays = {new LoggedAtmosphere("sky")};
  scene.cameras = {new ts3d::CameraSimple};
  scene.activeCamera = scene.cameras[0];
  scene.update(0.0f);
  context->beginScene();
  scene.render();
  context->endScene();
  const std::vector<std::string> inner = {"A at depth 3", "enter fog", "leave fog", "enter sky"};
  std::vector<std::string> expected;
  for (int pass = 0; pass < 2; ++pass) {
    expected.push_back("B at depth 1");
    expected.insert(expected.end(), inner.begin(), inner.end());
  }
  EXPECT_EQ(met, expected);
  EXPECT_EQ(scene.rendererDepth, 0u);
}

}  // namespace
