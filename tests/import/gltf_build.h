#pragma once

// glTF models put together in code, for what the importer makes of their animations and skins.

#include <cmath>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "scenebuild/import/tinygltf.h"

namespace motiontest {

// The values, of one element type, appended to the model's one buffer as a new accessor;
// every view starts on a multiple of four bytes, as glTF asks.
template <class T>
int addAccessor(tinygltf::Model& gltf, const std::vector<T>& values, int type, int componentType) {
  if (gltf.buffers.empty()) gltf.buffers.emplace_back();
  std::vector<unsigned char>& data = gltf.buffers[0].data;
  data.resize((data.size() + 3) / 4 * 4);
  tinygltf::BufferView view;
  view.buffer = 0;
  view.byteOffset = data.size();
  view.byteLength = values.size() * sizeof(T);
  const auto* bytes = reinterpret_cast<const unsigned char*>(values.data());
  data.insert(data.end(), bytes, bytes + view.byteLength);
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

// The elbow's keys: about z a quarter turn by time 1 and half by time 2.
struct ArmKey {
  float time;
  float turn[4];  // x, y, z, w
};
inline const ArmKey kArmKeys[] = {{0, {0, 0, 0, 1}}, {1, {0, 0, std::sqrt(0.5f), std::sqrt(0.5f)}}, {2, {0, 0, 1, 0}}};

// An arm as a GLB file: the shoulder (node 0) stands still at (0, 2, 0); the elbow (node 1), 1
// along x from it, turns by kArmKeys. Node 2's triangle is skinned: vertex 0 at (0.5, 2) to
// the shoulder, vertex 1 (the hand, at (2, 2)) to the elbow, vertex 2 half to each.
inline std::string armGlb() {
  tinygltf::Model gltf;
  gltf.nodes.resize(3);
  gltf.nodes[0].translation = {0, 2, 0};
  gltf.nodes[0].children = {1};
  gltf.nodes[1].translation = {1, 0, 0};
  gltf.nodes[2].mesh = 0;
  gltf.nodes[2].skin = 0;
  gltf.skins.emplace_back();
  gltf.skins[0].joints = {0, 1};
  gltf.skins[0].inverseBindMatrices = floats(
      gltf, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -2, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -1, -2, 0, 1},
      TINYGLTF_TYPE_MAT4);
  tinygltf::Primitive arm;
  arm.attributes["POSITION"] = floats(gltf, {0.5f, 2, 0, 2, 2, 0, 1, 2.5f, 0}, TINYGLTF_TYPE_VEC3);
  arm.attributes["JOINTS_0"] = joints(gltf, {0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0});
  arm.attributes["WEIGHTS_0"] = floats(gltf, {1, 0, 0, 0, 1, 0, 0, 0, 0.5f, 0.5f, 0, 0}, TINYGLTF_TYPE_VEC4);
  gltf.meshes.emplace_back();
  gltf.meshes[0].primitives.push_back(arm);
  std::vector<float> times, turns;
  for (const ArmKey& key : kArmKeys) {
    times.push_back(key.time);
    turns.insert(turns.end(), key.turn, key.turn + 4);
  }
  tinygltf::AnimationSampler sampler;
  sampler.input = floats(gltf, times, TINYGLTF_TYPE_SCALAR);
  sampler.output = floats(gltf, turns, TINYGLTF_TYPE_VEC4);
  tinygltf::AnimationChannel channel;
  channel.sampler = 0;
  channel.target_node = 1;
  channel.target_path = "rotation";
  gltf.animations.emplace_back();
  gltf.animations[0].samplers.push_back(sampler);
  gltf.animations[0].channels.push_back(channel);
  gltf.scenes.emplace_back();
  gltf.scenes[0].nodes = {0, 2};
  std::ostringstream written;
  tinygltf::TinyGLTF().WriteGltfSceneToStream(&gltf, written, false, true);
  return written.str();
}

}  // namespace motiontest
