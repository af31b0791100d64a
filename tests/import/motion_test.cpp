#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "scene/controller/linear.h"
#include "scenebuild/import/gltf_motion.h"
#include "tests/import/gltf_build.h"

namespace {

using motiontest::floats;
using motiontest::joints;

// Node 0 shows mesh 0 through skin 0, whose eight joints are nodes 1 to 8. Nodes 1, 2 and 3
// move along x from 0 through 10 (at time 1) to 20 (time 2) by step, linear and cubic samplers
// (the cubic one leaves with slope 8 and reaches 10 at time 1); node 4 turns by unnormalised
// quaternions. Vertex 0 has eight influences, vertex 1 none of any weight.
struct Fixture {
  tinygltf::Model gltf;
  tsimport::Model model;

  Fixture() {
    gltf.nodes.resize(9);
    gltf.nodes[0].mesh = 0;
    gltf.nodes[0].skin = 0;
    gltf.skins.emplace_back();
    for (int n = 1; n <= 8; ++n) gltf.skins[0].joints.push_back(n);
    tinygltf::Primitive primitive;
    primitive.attributes["JOINTS_0"] = joints(gltf, {0, 1, 2, 3, 3, 0, 0, 0});
    primitive.attributes["WEIGHTS_0"] = floats(gltf, {0.05f, 0.3f, 0.1f, 0, 0, 0, 0, 0}, TINYGLTF_TYPE_VEC4);
    primitive.attributes["JOINTS_1"] = joints(gltf, {4, 5, 6, 7, 0, 0, 0, 0});
    primitive.attributes["WEIGHTS_1"] = floats(gltf, {0.2f, 0.02f, 0.25f, 0.08f, 0, 0, 0, 0}, TINYGLTF_TYPE_VEC4);
    gltf.meshes.emplace_back();
    gltf.meshes[0].primitives.push_back(primitive);

    const int times = floats(gltf, {0, 1, 2}, TINYGLTF_TYPE_SCALAR);
    const int xs = floats(gltf, {0, 0, 0, 10, 0, 0, 20, 0, 0}, TINYGLTF_TYPE_VEC3);
    // In-tangent, value, out-tangent per key.
    const int cubic = floats(gltf, {0, 0, 0, 0, 0, 0, 8, 0, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 20, 0, 0, 0, 0, 0},
                             TINYGLTF_TYPE_VEC3);
    const int turns = floats(gltf, {0, 0, 0, 3, 0, 0, 2, 2, 0, 0, 5, 0}, TINYGLTF_TYPE_VEC4);
    tinygltf::Animation animation;
    for (const auto& [interpolation, output] :
         {std::pair<std::string, int>{"STEP", xs}, {"LINEAR", xs}, {"CUBICSPLINE", cubic}, {"LINEAR", turns}}) {
      tinygltf::AnimationSampler sampler;
      sampler.input = times;
      sampler.output = output;
      sampler.interpolation = interpolation;
      animation.samplers.push_back(sampler);
      tinygltf::AnimationChannel channel;
      channel.sampler = static_cast<int>(animation.samplers.size() - 1);
      channel.target_node = channel.sampler + 1;
      channel.target_path = output == turns ? "rotation" : "translation";
      animation.channels.push_back(channel);
    }
    gltf.animations.push_back(animation);

    // As the reader of nodes and meshes leaves them.
    model.nodes.resize(gltf.nodes.size());
    model.nodes[0].meshes = {0};
    model.nodes[0].skin = 0;
    model.meshes.emplace_back();
    model.meshes[0].parts.emplace_back();
    model.meshes[0].parts[0].sourcePrimitive = 0;
    model.meshes[0].parts[0].sourceVertices = {1, 0};
  }

  bool read(std::string& error) { return tsimport::readMotion(gltf, tsimport::Conversion(), model, error); }
};

// A track as the engine plays it.
template <class T>
T play(const tsimport::Track<T>& track, float time) {
  ts3d::controller::Linear<T> keyed;
  for (size_t k = 0; k < track.times.size(); ++k) keyed.keys.emplace_back(track.times[k], track.values[k]);
  keyed.update(time);
  return keyed.value;
}

TEST(ImportMotion, SamplersPlayAsTheFileSaysAndSkinsKeepTheFourStrongestJoints) {
  Fixture fixture;
  std::string error;
  ASSERT_TRUE(fixture.read(error)) << error;
  const auto hermite = [](float s) { return (s * s * s - 2 * s * s + s) * 8 + (-2 * s * s * s + 3 * s * s) * 10; };
  const struct {
    int node;
    float time, x;
  } kMoves[] = {{1, 0, 0},     {1, 0.5f, 0},      {1, 0.9999f, 0},  {1, 1, 10},        {1, 1.5f, 10}, {1, 2, 20},
                {2, 0.5f, 5},  {2, 1, 10},        {2, 1.75f, 17.5f}, {3, 0.25f, hermite(0.25f)},
                {3, 0.11f, hermite(0.11f)},       {3, 0.5f, hermite(0.5f)}, {3, 1, 10}, {3, 3, 20}};
  for (const auto& move : kMoves) {
    const tsimport::Node& node = fixture.model.nodes[static_cast<size_t>(move.node)];
    EXPECT_NEAR(play(node.animation.position, move.time).x, move.x, 2e-3f) << move.node << " at " << move.time;
  }
  // Unit quaternions, the half turn about z reached through the quarter turn.
  const tsimport::Track<ts3d::quat>& turn = fixture.model.nodes[4].animation.rotation;
  ASSERT_EQ(turn.values.size(), 3u);
  EXPECT_NEAR(turn.values[0].w, 1, 1e-6f);
  EXPECT_NEAR(turn.values[1].z, std::sqrt(0.5f), 1e-6f);
  EXPECT_NEAR(turn.values[2].z, 1, 1e-6f);

  // The part takes the primitive's vertices in the order 1, 0. Vertex 1 weighs nothing: its
  // first joint alone. Of vertex 0's eight influences 0.3, 0.25, 0.2 and 0.1 (joints 1, 6, 4,
  // 2) win and share 0.85.
  const std::vector<tsimport::Influence>& influences = fixture.model.meshes[0].parts[0].influences;
  ASSERT_EQ(influences.size(), 2u);
  const uint8_t kStrongest[] = {1, 6, 4, 2};
  const float kWeights[] = {0.3f, 0.25f, 0.2f, 0.1f};
  for (int k = 0; k < 4; ++k) {
    EXPECT_EQ(influences[1].joints[k], kStrongest[k]) << k;
    EXPECT_NEAR(influences[1].weights[k], kWeights[k] / 0.85f, 1e-6f) << k;
  }
  EXPECT_EQ(influences[0].joints[0], 3);
  EXPECT_EQ(influences[0].weights[0], 1.0f);
  ASSERT_EQ(fixture.model.skins.size(), 1u);
  EXPECT_EQ(fixture.model.skins[0].joints.size(), 8u);
}

TEST(ImportMotion, HostileFilesGiveAnErrorNamingTheFault) {
  const struct {
    std::function<void(tinygltf::Model&)> spoil;
    const char* named;
  } kSpoiled[] = {
      {[](tinygltf::Model& g) { g.animations[0].channels[2].target_node = 99; }, "channel 2: node 99 does not exist"},
      {[](tinygltf::Model& g) { g.animations[0].samplers[1].output = floats(g, {1, 2, 3, 4, 5, 6}, TINYGLTF_TYPE_VEC3); },
       "2 values for 3 key times"},
      {[](tinygltf::Model& g) { g.animations[0].samplers[0].input = floats(g, {0, 2, 1}, TINYGLTF_TYPE_SCALAR); },
       "key time 2 is earlier"},
      {[](tinygltf::Model& g) { g.animations[0].samplers[3].input = 99; }, "accessor 99"},
      {[](tinygltf::Model& g) { g.meshes[0].primitives[0].attributes["JOINTS_1"] = joints(g, {4, 5, 6, 8, 0, 0, 0, 0}); },
       "joint 8 past the skin's 8"},
      {[](tinygltf::Model& g) { g.skins[0].joints[3] = 9; }, "skin 0: joint node 9 does not exist"},
  };
  for (const auto& row : kSpoiled) {
    Fixture fixture;
    row.spoil(fixture.gltf);
    std::string error;
    EXPECT_FALSE(fixture.read(error)) << row.named;
    EXPECT_NE(error.find(row.named), std::string::npos) << error;
  }
}

}  // namespace
