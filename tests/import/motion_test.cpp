#include <gtest/gtest.h>

#include <string>

#include "scene/controller/linear.h"
#include "scenebuild/import/import.h"
#include "tests/import/gltf_build.h"

namespace {

using motiontest::floats;
using motiontest::joints;

bool import(const tinygltf::Model& gltf, tsimport::Model& model, std::string& error) {
  return tsimport::importBytes(motiontest::glb(gltf), tsimport::Format::Gltf, ".", tsimport::Conversion(), model,
                               error);
}

// A track as the engine plays it.
ts3d::vect3 play(const tsimport::Track<ts3d::vect3>& track, float time) {
  ts3d::controller::Linear<ts3d::vect3> keyed;
  for (size_t k = 0; k < track.times.size(); ++k) keyed.keys.emplace_back(track.times[k], track.values[k]);
  keyed.update(time);
  return keyed.value;
}

TEST(ImportMotion, SamplersPlayAsTheFileSaysAndSkinsKeepTheFourStrongestJoints) {
  tsimport::Model model;
  std::string error;
  ASSERT_TRUE(import(motiontest::arm(), model, error)) << error;
  const auto hermite = [](float s) { return (s * s * s - 2 * s * s + s) * 8 + (-2 * s * s * s + 3 * s * s) * 10; };
  const struct {
    int node;
    float time, x;
  } kMoves[] = {{3, 0, 0},    {3, 0.5f, 0},  {3, 0.9999f, 0},   {3, 1, 10},
                {3, 1.5f, 10}, {3, 2, 20},    {4, 0.5f, 5},      {4, 1.75f, 17.5f},
                {5, 0.25f, hermite(0.25f)},   {5, 0.11f, hermite(0.11f)}, {5, 1, 10}, {5, 3, 20}};
  for (const auto& move : kMoves)
    EXPECT_NEAR(play(model.nodes[move.node].animation.position, move.time).x, move.x, 2e-3f)
        << move.node << " at " << move.time;

  const std::vector<tsimport::Influence>& influences = model.meshes[0].parts[0].influences;
  ASSERT_EQ(influences.size(), 3u);
  EXPECT_EQ(influences[0].joints[0], 0);
  EXPECT_EQ(influences[0].weights[0], 1.0f);
  const uint8_t kStrongest[] = {1, 6, 4, 2};
  const float kWeights[] = {0.3f, 0.25f, 0.2f, 0.1f};
  for (int k = 0; k < 4; ++k) {
    EXPECT_EQ(influences[2].joints[k], kStrongest[k]) << k;
    EXPECT_NEAR(influences[2].weights[k], kWeights[k] / 0.85f, 1e-6f) << k;
  }
}

TEST(ImportMotion, HostileFilesGiveAnErrorNamingTheFault) {
  const struct {
    void (*spoil)(tinygltf::Model&);
    const char* named;
  } kSpoiled[] = {
      {[](tinygltf::Model& g) { g.animations[0].channels[2].target_node = 99; }, "channel 2: node 99 does not exist"},
      {[](tinygltf::Model& g) { g.animations[0].samplers[1].input = floats(g, {0, 1}, TINYGLTF_TYPE_SCALAR); },
       "3 values for 2 key times"},
      {[](tinygltf::Model& g) { g.animations[0].samplers[3].output = 99; }, "accessor 99"},
      {[](tinygltf::Model& g) { g.animations[0].samplers[2].input = floats(g, {0, 2, 1}, TINYGLTF_TYPE_SCALAR); },
       "key time 2 is earlier"},
      {[](tinygltf::Model& g) {
         g.meshes[0].primitives[0].attributes["JOINTS_1"] = joints(g, {8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
       },
       "joint 8 past the skin's 8"},
  };
  for (const auto& row : kSpoiled) {
    tinygltf::Model gltf = motiontest::arm();
    row.spoil(gltf);
    tsimport::Model model;
    std::string error;
    EXPECT_FALSE(import(gltf, model, error)) << row.named;
    EXPECT_NE(error.find(row.named), std::string::npos) << error;
  }
}

}  // namespace
