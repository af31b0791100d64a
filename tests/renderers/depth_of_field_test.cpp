#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "renderers/scene_renderer_dof.h"
#include "scenebuild/scene_builder.h"
#include "tests/context/context_fixture.h"
#include "tests/scenebuild/rich_scene.h"

// Depth of field on the device: what stands at the focus distance stays as sharp as the plain
// drawing, what lies far behind it is blurred, and a camera without an entry draws plainly.
namespace {

using namespace ts3d;
using tstest::RichScene;

class DepthOfFieldPixels : public tstest::ContextTest {
 protected:
  int green(int x) const { return static_cast<int>((rgbAt(static_cast<unsigned int>(x), 240) >> 8) & 0xFF); }
  // The largest step of green between neighbours of row 240 within `reach` of column `at`.
  int edgeContrast(int at, int reach) const {
    int largest = 0;
    for (int x = at - reach; x < at + reach; ++x) largest = std::max(largest, std::abs(green(x + 1) - green(x)));
    return largest;
  }
};

TEST_F(DepthOfFieldPixels, TheFocusedObjectStaysSharpAndTheFarOneBlurs) {
  Context::setResourceModule(GetModuleHandleA(nullptr));
  scenebuild::SceneBuilder builder;
  HierarchyNode* eye = builder.node(builder.root(), vect3(0, 0, 10));
  Camera* focused = builder.camera(eye, 1.0f, 0.5f, 1000.0f);  // the active one
  Camera* plainCamera = builder.camera(eye, 1.0f, 0.5f, 1000.0f);
  // White beside black at the focus distance; far behind them, a white square to the right.
  MaterialSimple* white = builder.material(tstest::flat(color(1, 1, 1, 1)));
  builder.mesh(builder.node(builder.root(), vect3(-3, 0, 0)), scenebuild::plane(2, 2, 1, 1), white);
  builder.mesh(builder.node(builder.root(), vect3(-1, 0, 0)), scenebuild::plane(2, 2, 1, 1),
               builder.material(tstest::flat(color(0, 0, 0, 1))));
  builder.mesh(builder.node(builder.root(), vect3(25, 0, -50)), scenebuild::plane(20, 20, 1, 1), white);
  SceneRendererDOF* renderer = builder.depthOfField(focused, nullptr, scenebuild::constant(10.0f));
  SceneHierarchy& scene = *builder.scene();
  scene.createResources();
  ASSERT_TRUE(renderer->ready);

  // Columns around the edge in focus and around the far square's left edge, at 60 units.
  const int focusedEdge = RichScene::column(-2.0f), farEdge = static_cast<int>(320 + 15 * RichScene::kPixelsPerUnit / 6);
  std::vector<SceneRenderer*> chain;
  std::swap(chain, scene.renderers);
  drawScene(scene);
  const std::vector<uint32_t> plain = frame;
  const int plainNear = edgeContrast(focusedEdge, 8), plainFar = edgeContrast(farEdge, 12);
  ASSERT_GT(std::min(plainNear, plainFar), 200);

  std::swap(chain, scene.renderers);
  drawScene(scene);
  EXPECT_NEAR(edgeContrast(focusedEdge, 8), plainNear, plainNear / 10);
  EXPECT_LT(edgeContrast(farEdge, 12), plainFar / 2);
  EXPECT_GT(green(farEdge + 40), 200) << "blurred, the far square is still there";

  scene.activeCamera = plainCamera;
  drawScene(scene);
  EXPECT_TRUE(frame == plain) << "a camera without an entry draws the plain picture";
}

}  // namespace
