#include <gtest/gtest.h>

#include "renderers/scene_renderer_mirror.h"
#include "scenebuild/scene_builder.h"
#include "tests/context/context_fixture.h"
#include "tests/scenebuild/rich_scene.h"

// A stencil mirror on the device: the reflection shows inside the mirror's shape and nowhere else.
namespace {

using namespace ts3d;
using tstest::RichScene;

class MirrorPixels : public tstest::ContextTest {};

TEST_F(MirrorPixels, TheReflectedObjectShowsInsideTheMirrorOnlyUnderItsHalfTransparentSurface) {
  scenebuild::SceneBuilder builder;
  builder.camera(builder.node(builder.root(), vect3(0, 0, 10)), 1.0f, 0.5f, 100.0f);
  // A red cube in front of the mirror and to its right; its reflection stands at z = -5, where
  // the mirror's right edge (x = 4/3 in the plane z = 0) cuts through it on screen.
  builder.mesh(builder.node(builder.root(), vect3(2, 0, 5)), scenebuild::box(1, 1, 1),
               builder.material(tstest::flat(color(1, 0, 0, 1))), false);
  MeshSimple* glass = builder.mesh(builder.node(builder.root(), vect3(-4.0f / 3, 0, 0)),
                                   scenebuild::plane(16.0f / 3, 4, 1, 1),
                                   builder.material(tstest::flat(color(0, 0, 1, 1), 0.5f)), false);
  builder.mirror({glass});
  SceneHierarchy& scene = *builder.scene();
  scene.createResources();
  drawScene(scene);
  ASSERT_TRUE(SceneRendererMirror::stencilUsable);

  // The mirror's edge falls on column 378; the reflection spans columns 365 to 395.
  const int edge = RichScene::column(4.0f / 3);
  EXPECT_TRUE(tstest::pixelNear(rgbAt(edge - 7, 240), 128, 0, 128, 8)) << std::hex << rgbAt(edge - 7, 240);
  EXPECT_TRUE(tstest::pixelNear(rgbAt(edge + 8, 240), 0, 0, 0)) << std::hex << rgbAt(edge + 8, 240);
  EXPECT_TRUE(tstest::pixelNear(rgbAt(edge - 60, 240), 0, 0, 128, 8)) << "the mirror over nothing reflected";
}

}  // namespace
