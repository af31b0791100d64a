#include <gtest/gtest.h>

#include <cmath>

#include "scene/transformation.h"
#include "scenebuild/import/motion_scene.h"

namespace {

using ts3d::quat;
using ts3d::vect3;

// An arm: the shoulder stands still at (0, 2, 0); the elbow, 1 along x from it, turns about z
// a quarter at time 1 and half at time 2. The skin binds vertex 0 to the shoulder and vertex
// 1, the hand at x = 2, to the elbow.
TEST(ImportMotionScene, AKeyedElbowTurnsAndTheSkinnedHandFollowsIt) {
  const float half = std::sqrt(0.5f);
  const struct {
    float time;
    quat turn;
    vect3 hand;
  } kKeys[] = {{0, {0, 0, 0, 1}, {2, 2, 0}}, {1, {0, 0, half, half}, {1, 3, 0}}, {2, {0, 0, 1, 0}, {0, 2, 0}}};
  tsimport::Model model;
  model.nodes.resize(2);
  model.nodes[0].position = {0, 2, 0};
  model.nodes[1].position = {1, 0, 0};
  for (const auto& key : kKeys) {
    model.nodes[1].animation.rotation.times.push_back(key.time);
    model.nodes[1].animation.rotation.values.push_back(key.turn);
  }
  tsimport::Skin skin{{0, 1}, {}};
  skin.inverseBind.resize(2);
  D3DXMatrixTranslation(&skin.inverseBind[0], 0, -2, 0);
  D3DXMatrixTranslation(&skin.inverseBind[1], -1, -2, 0);
  tsimport::MeshPart part;
  part.influences = {{{0, 1, 0, 0}, {1, 0, 0, 0}}, {{1, 0, 0, 0}, {1, 0, 0, 0}}, {{0, 1, 0, 0}, {0.5f, 0.5f, 0, 0}}};
  scenebuild::Shape shape;
  shape.positions = {{0.5f, 2, 0}, {2, 2, 0}, {1, 2, 0}};
  shape.normals.assign(3, {0, 0, 1});
  shape.u.assign(3, 0);
  shape.v.assign(3, 0);
  shape.faces = {{{0, 1, 2}}};

  scenebuild::SceneBuilder builder;
  ts3d::HierarchyNode* shoulder = tsimport::animatedNode(builder, builder.root(), model.nodes[0]);
  ts3d::HierarchyNode* elbow = tsimport::animatedNode(builder, shoulder, model.nodes[1]);
  ts3d::MeshSimple* arm = tsimport::skinnedPart(builder, shape, part, builder.material({}), skin, {shoulder, elbow});
  for (const auto& key : kKeys) {
    builder.scene()->update(key.time);
    const ts3d::matrix expected = ts3d::composeMatrix({1, 2, 0}, key.turn, {1, 1, 1});
    for (int i = 0; i < 16; ++i) EXPECT_NEAR((*elbow->matrix())[i], expected[i], 1e-5f) << key.time << " " << i;
    const auto& posed = static_cast<ts3d::GeometrySimple*>(arm->currentGeometry())->positions;
    ASSERT_EQ(posed.size(), 3u);
    EXPECT_NEAR(posed[0].x, 0.5f, 1e-5f) << key.time;
    EXPECT_NEAR(posed[1].x, key.hand.x, 1e-5f) << key.time;
    EXPECT_NEAR(posed[1].y, key.hand.y, 1e-5f) << key.time;
  }
}

}  // namespace
