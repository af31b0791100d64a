#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "scene/transformation.h"
#include "scenebuild/import/import.h"
#include "scenebuild/import/model_scene.h"
#include "tests/import/gltf_build.h"

namespace {

using ts3d::quat;
using ts3d::vect3;

// An arm as a GLB file: the shoulder (node 0) stands still at (0, 2, 0); the elbow (node 1),
// 1 along x from it, turns about z a quarter by time 1 and half by time 2. Node 2's triangle
// is skinned: vertex 0 to the shoulder, vertex 1 (the hand at x = 2) to the elbow.
TEST(ImportMotionScene, AKeyedElbowTurnsAndTheSkinnedHandFollowsIt) {
  const float half = std::sqrt(0.5f);
  const struct {
    float time;
    quat turn;
    vect3 hand;
  } kKeys[] = {{0, {0, 0, 0, 1}, {2, 2, 0}}, {1, {0, 0, half, half}, {1, 3, 0}}, {2, {0, 0, 1, 0}, {0, 2, 0}}};
  tinygltf::Model gltf;
  gltf.nodes.resize(3);
  gltf.nodes[0].translation = {0, 2, 0};
  gltf.nodes[0].children = {1};
  gltf.nodes[1].translation = {1, 0, 0};
  gltf.nodes[2].mesh = 0;
  gltf.nodes[2].skin = 0;
  gltf.skins.emplace_back();
  gltf.skins[0].joints = {0, 1};
  gltf.skins[0].inverseBindMatrices = motiontest::floats(
      gltf, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -2, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -1, -2, 0, 1},
      TINYGLTF_TYPE_MAT4);
  tinygltf::Primitive arm;
  arm.attributes["POSITION"] = motiontest::floats(gltf, {0.5f, 2, 0, 2, 2, 0, 1, 2.5f, 0}, TINYGLTF_TYPE_VEC3);
  arm.attributes["JOINTS_0"] = motiontest::joints(gltf, {0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0});
  arm.attributes["WEIGHTS_0"] = motiontest::floats(gltf, {1, 0, 0, 0, 1, 0, 0, 0, 0.5f, 0.5f, 0, 0}, TINYGLTF_TYPE_VEC4);
  gltf.meshes.emplace_back();
  gltf.meshes[0].primitives.push_back(arm);
  std::vector<float> times, turns;
  for (const auto& key : kKeys) {
    times.push_back(key.time);
    turns.insert(turns.end(), {key.turn.x, key.turn.y, key.turn.z, key.turn.w});
  }
  gltf.animations.emplace_back();
  tinygltf::AnimationSampler sampler;
  sampler.input = motiontest::floats(gltf, times, TINYGLTF_TYPE_SCALAR);
  sampler.output = motiontest::floats(gltf, turns, TINYGLTF_TYPE_VEC4);
  gltf.animations[0].samplers.push_back(sampler);
  tinygltf::AnimationChannel channel;
  channel.sampler = 0;
  channel.target_node = 1;
  channel.target_path = "rotation";
  gltf.animations[0].channels.push_back(channel);
  gltf.scenes.emplace_back();
  gltf.scenes[0].nodes = {0, 2};
  std::ostringstream written;
  ASSERT_TRUE(tinygltf::TinyGLTF().WriteGltfSceneToStream(&gltf, written, false, true));
  const std::string glb = written.str();

  tsimport::Model model;
  std::string error;
  ASSERT_TRUE(tsimport::importBytes({glb.begin(), glb.end()}, tsimport::Format::Gltf, ".", tsimport::Conversion(),
                                    model, error))
      << error;
  scenebuild::SceneBuilder builder;
  EXPECT_NE(tsimport::buildScene(model, builder).line().find("1 animated node, 1 skin, 2.00 s of animation"),
            std::string::npos);
  ts3d::HierarchyNode* elbow = builder.root()->children[0]->children[0];
  auto* skinned = static_cast<ts3d::MeshSimple*>(builder.scene()->meshes[0]);
  for (const auto& key : kKeys) {
    builder.scene()->update(key.time);
    const ts3d::matrix expected = ts3d::composeMatrix({1, 2, 0}, key.turn, {1, 1, 1});
    for (int i = 0; i < 16; ++i) EXPECT_NEAR((*elbow->matrix())[i], expected[i], 1e-5f) << key.time << " " << i;
    const auto& posed = static_cast<ts3d::GeometrySimple*>(skinned->currentGeometry())->positions;
    ASSERT_EQ(posed.size(), 3u);
    EXPECT_NEAR(posed[0].x, 0.5f, 1e-5f) << key.time;
    EXPECT_NEAR(posed[1].x, key.hand.x, 1e-5f) << key.time;
    EXPECT_NEAR(posed[1].y, key.hand.y, 1e-5f) << key.time;
  }
}

}  // namespace
