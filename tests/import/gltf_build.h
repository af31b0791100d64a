#pragma once

// A glTF model put together in code, for what the importer makes of animations and skins.

#include <cmath>
#include <cstdint>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "scenebuild/import/tinygltf.h"

namespace motiontest {

// The values appended to the model's one buffer as a new accessor, its view on a multiple of
// four bytes as glTF asks.
template <class T>
int addAccessor(tinygltf::Model& gltf, const std::vector<T>& values, int type, int componentType) {
  if (gltf.buffers.empty()) gltf.buffers.emplace_back();
  std::vector<unsigned char>& data = gltf.buffers[0].data;
  data.resize((data.size() + 3) / 4 * 4);
  tinygltf::BufferView view;
  view.buffer = 0;
  view.byteOffset = data.size();
  view.byteLength = values.size() * sizeof(T);
  data.insert(data.end(), reinterpret_cast<const unsigned char*>(values.data()),
              reinterpret_cast<const unsigned char*>(values.data()) + view.byteLength);
  gltf.bufferViews.push_back(view);
  tinygltf::Accessor accessor;
  accessor.bufferView = static_cast<int>(gltf.bufferViews.size() - 1);
  accessor.componentType = componentType;
  accessor.type = type;
  accessor.count = values.size() / static_cast<size_t>(tinygltf::GetNumComponentsInType(static_cast<uint32_t>(type)));
  gltf.accessors.push_back(accessor);
  return static_cast<int>(gltf.accessors.size() - 1);
}

inline int floats(tinygltf::Model& gltf, const std::vector<float>& values, int type) {
  return addAccessor(gltf, values, type, TINYGLTF_COMPONENT_TYPE_FLOAT);
}

inline int joints(tinygltf::Model& gltf, const std::vector<uint16_t>& values) {
  return addAccessor(gltf, values, TINYGLTF_TYPE_VEC4, TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT);
}

// The elbow's keys at times 0, 1 and 2 (x, y, z, w): about z none, a quarter and half a turn.
inline const float kElbowTurns[3][4] = {{0, 0, 0, 1}, {0, 0, std::sqrt(0.5f), std::sqrt(0.5f)}, {0, 0, 1, 0}};

// An arm: the shoulder (node 0) stands still at (0, 2, 0); the elbow (node 1), 1 along x from
// it, turns by kElbowTurns, written unnormalised. Nodes 3, 4 and 5 move along x from 0 through
// 10 (time 1) to 20 (time 2) by step, linear and cubic samplers (the cubic one leaves key 0
// with slope 8). Node 2 shows a triangle skinned to the eight joints 0, 1, 3 ... 8: vertex 0 at
// (0.5, 2) weighs nothing, vertex 1 (the hand, at (2, 2)) follows the elbow alone, vertex 2
// has eight influences of which joints 1, 6, 4 and 2 weigh most: 0.3, 0.25, 0.2 and 0.1.
inline tinygltf::Model arm() {
  tinygltf::Model gltf;
  gltf.nodes.resize(9);
  for (tinygltf::Node& node : gltf.nodes) node.name = "joint";  // the writer leaves out an empty node
  gltf.nodes[0].translation = {0, 2, 0};
  gltf.nodes[0].children = {1};
  gltf.nodes[1].translation = {1, 0, 0};
  gltf.nodes[2].mesh = 0;
  gltf.nodes[2].skin = 0;
  gltf.skins.resize(1);
  gltf.skins[0].joints = {0, 1, 3, 4, 5, 6, 7, 8};
  std::vector<float> inverseBind;
  for (int j = 0; j < 8; ++j)
    inverseBind.insert(inverseBind.end(),
                       {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, j == 1 ? -1.0f : 0, j < 2 ? -2.0f : 0, 0, 1});
  gltf.skins[0].inverseBindMatrices = floats(gltf, inverseBind, TINYGLTF_TYPE_MAT4);
  gltf.meshes.resize(1);
  gltf.meshes[0].primitives.resize(1);
  std::map<std::string, int>& attributes = gltf.meshes[0].primitives[0].attributes;
  attributes["POSITION"] = floats(gltf, {0.5f, 2, 0, 2, 2, 0, 1, 2.5f, 0}, TINYGLTF_TYPE_VEC3);
  attributes["JOINTS_0"] = joints(gltf, {0, 1, 0, 0, 1, 0, 0, 0, 0, 1, 2, 3});
  attributes["WEIGHTS_0"] = floats(gltf, {0, 0, 0, 0, 1, 0, 0, 0, 0.05f, 0.3f, 0.1f, 0}, TINYGLTF_TYPE_VEC4);
  attributes["JOINTS_1"] = joints(gltf, {0, 0, 0, 0, 0, 0, 0, 0, 4, 5, 6, 7});
  attributes["WEIGHTS_1"] = floats(gltf, {0, 0, 0, 0, 0, 0, 0, 0, 0.2f, 0.02f, 0.25f, 0.08f}, TINYGLTF_TYPE_VEC4);

  std::vector<float> turns;
  for (const auto& turn : kElbowTurns)
    for (float component : turn) turns.push_back(2 * component);
  const int times = floats(gltf, {0, 1, 2}, TINYGLTF_TYPE_SCALAR);
  const int xs = floats(gltf, {0, 0, 0, 10, 0, 0, 20, 0, 0}, TINYGLTF_TYPE_VEC3);
  gltf.animations.resize(1);
  const auto animate = [&](int node, const char* path, const char* interpolation, int output) {
    tinygltf::AnimationChannel channel;
    channel.sampler = static_cast<int>(gltf.animations[0].samplers.size());
    channel.target_node = node;
    channel.target_path = path;
    gltf.animations[0].channels.push_back(channel);
    gltf.animations[0].samplers.emplace_back();
    gltf.animations[0].samplers.back().input = times;
    gltf.animations[0].samplers.back().output = output;
    gltf.animations[0].samplers.back().interpolation = interpolation;
  };
  animate(1, "rotation", "LINEAR", floats(gltf, turns, TINYGLTF_TYPE_VEC4));
  animate(3, "translation", "STEP", xs);
  animate(4, "translation", "LINEAR", xs);
  // In-tangent, value, out-tangent per key.
  animate(5, "translation", "CUBICSPLINE",
          floats(gltf, {0, 0, 0, 0, 0, 0, 8, 0, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 20, 0, 0, 0, 0, 0},
                 TINYGLTF_TYPE_VEC3));
  return gltf;
}

// The model as a GLB file's bytes.
inline std::vector<uint8_t> glb(const tinygltf::Model& gltf) {
  std::ostringstream written;
  tinygltf::TinyGLTF().WriteGltfSceneToStream(&gltf, written, false, true);
  const std::string bytes = written.str();
  return {bytes.begin(), bytes.end()};
}

}  // namespace motiontest
