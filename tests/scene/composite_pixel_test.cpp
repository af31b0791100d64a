#include <gtest/gtest.h>

#include <fstream>

#include "scenebuild/scene_builder.h"
#include "tests/context/context_fixture.h"
#include "tests/renderers/effect_sources.h"
#include "tests/scenebuild/rich_scene.h"

// A composite mesh under a composite material on the device: each child in its own sub-material.
namespace {

using namespace ts3d;
using tstest::RichScene;

class CompositePixels : public tstest::ContextTest {};

TEST_F(CompositePixels, EachChildIsDrawnWithTheSubMaterialOfItsIdThroughTheQueueAndDirectly) {
  std::ofstream("composite_green.fx", std::ios::binary) << tstest::kTwoTechniques;  // paints green
  scenebuild::SceneBuilder builder;
  builder.camera(builder.node(builder.root(), vect3(0, 0, 10)), 1.0f, 0.5f, 100.0f);
  // Listed green first, so that the ids, not the order of the list, decide.
  MaterialComposite* table = builder.compositeMaterial(
      {{9, builder.effectMaterial("composite_green.fx")}, {4, builder.material(tstest::flat(color(1, 0, 0, 1)))}});
  const scenebuild::Shape square = scenebuild::plane(2, 2, 1, 1);
  MeshSimple* mesh = builder.compositeMesh(
      builder.root(), {{square, vect3(-1.5f, 0, 0), 4}, {square, vect3(1.5f, 0, 0), 9}}, table, false);
  SceneHierarchy& scene = *builder.scene();
  scene.createResources();
  scene.update(0.0f);
  context->setClearColor(color(0, 0, 0, 1));
  for (bool direct : {false, true}) {
    SCOPED_TRACE(direct ? "drawn directly" : "through the queue");
    context->beginScene();
    scene.clear(0.0f);
    scene.activeCamera->apply();
    if (direct)
      mesh->draw();
    else
      scene.renderContents();
    context->endScene();
    readTarget();
    const uint32_t left = rgbAt(RichScene::column(-1.5f), 240), right = rgbAt(RichScene::column(1.5f), 240);
    EXPECT_TRUE(tstest::pixelNear(left, 255, 0, 0)) << std::hex << left;
    EXPECT_TRUE(tstest::pixelNear(right, 0, 255, 0)) << std::hex << right;
  }
}

}  // namespace
