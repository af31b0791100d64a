#pragma once

// glTF models put together in code, for what the importer makes of their animations and skins.

#include <cstdint>
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

}  // namespace motiontest
