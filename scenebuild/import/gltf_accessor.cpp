#include "scenebuild/import/gltf_accessor.h"

#include <cstring>

#include "scenebuild/import/tinygltf.h"

namespace tsimport {

namespace {

constexpr uint64_t kMaxStride = 252;  // glTF's limit on bufferView.byteStride

// Where an accessor's elements lie in its buffer, every bound checked.
struct Layout {
  const uint8_t* first = nullptr;
  uint64_t stride = 0;
  uint64_t count = 0;
  int componentType = 0;
  int componentSize = 0;
};

bool fail(std::string& error, int accessor, const std::string& why) {
  error = "accessor " + std::to_string(accessor) + ": " + why;
  return false;
}

bool locate(const tinygltf::Model& gltf, int index, int components, Layout& layout, std::string& error) {
  if (index < 0 || static_cast<size_t>(index) >= gltf.accessors.size()) return fail(error, index, "does not exist");
  const tinygltf::Accessor& accessor = gltf.accessors[index];
  if (accessor.sparse.isSparse) return fail(error, index, "sparse accessors are not supported");
  int have = tinygltf::GetNumComponentsInType(static_cast<uint32_t>(accessor.type));
  if (have != components)
    return fail(error, index, std::to_string(have) + " components where " + std::to_string(components) + " belong");
  layout.componentType = accessor.componentType;
  layout.componentSize = tinygltf::GetComponentSizeInBytes(static_cast<uint32_t>(accessor.componentType));
  if (layout.componentSize <= 0 || accessor.componentType == TINYGLTF_COMPONENT_TYPE_DOUBLE)
    return fail(error, index, "unknown component type " + std::to_string(accessor.componentType));
  layout.count = accessor.count;
  if (layout.count == 0) return true;
  if (accessor.bufferView < 0 || static_cast<size_t>(accessor.bufferView) >= gltf.bufferViews.size())
    return fail(error, index, "has no buffer view");
  const tinygltf::BufferView& view = gltf.bufferViews[accessor.bufferView];
  if (view.buffer < 0 || static_cast<size_t>(view.buffer) >= gltf.buffers.size())
    return fail(error, index, "its buffer view names no buffer");
  const std::vector<unsigned char>& data = gltf.buffers[view.buffer].data;
  // 64-bit sums of values that each fit in 48 bits cannot wrap.
  constexpr uint64_t kHuge = uint64_t(1) << 48;
  if (view.byteOffset >= kHuge || view.byteLength >= kHuge || accessor.byteOffset >= kHuge || layout.count >= kHuge)
    return fail(error, index, "offset, length or count beyond any file");
  if (uint64_t(view.byteOffset) + view.byteLength > data.size())
    return fail(error, index, "buffer view runs past the end of its buffer");
  const uint64_t elementSize = uint64_t(layout.componentSize) * components;
  layout.stride = view.byteStride ? view.byteStride : elementSize;
  if (layout.stride < elementSize || layout.stride > kMaxStride)
    return fail(error, index, "stride " + std::to_string(layout.stride) + " does not fit its elements");
  const uint64_t end = accessor.byteOffset + layout.stride * (layout.count - 1) + elementSize;
  if (end > view.byteLength)
    return fail(error, index, std::to_string(layout.count) + " elements run past the end of the buffer view");
  layout.first = data.data() + view.byteOffset + accessor.byteOffset;
  return true;
}

template <class T>
T load(const uint8_t* at) {
  T value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

float loadFloat(const uint8_t* at, int componentType, bool normalized) {
  switch (componentType) {
    case TINYGLTF_COMPONENT_TYPE_FLOAT: return load<float>(at);
    case TINYGLTF_COMPONENT_TYPE_BYTE: {
      float v = load<int8_t>(at);
      return normalized ? (v / 127.0f < -1.0f ? -1.0f : v / 127.0f) : v;
    }
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE: return normalized ? load<uint8_t>(at) / 255.0f : load<uint8_t>(at);
    case TINYGLTF_COMPONENT_TYPE_SHORT: {
      float v = load<int16_t>(at);
      return normalized ? (v / 32767.0f < -1.0f ? -1.0f : v / 32767.0f) : v;
    }
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
      return normalized ? load<uint16_t>(at) / 65535.0f : load<uint16_t>(at);
    case TINYGLTF_COMPONENT_TYPE_INT: return static_cast<float>(load<int32_t>(at));
    default: return static_cast<float>(load<uint32_t>(at));
  }
}

}  // namespace

bool DecodeBudget::take(uint64_t bytes, std::string& error) {
  if (bytes > left) {
    error = "the model's data comes to more than " + std::to_string(limit >> 20) +
            " MB once each use of an accessor or buffer view is counted";
    failed = true;
    return false;
  }
  left -= bytes;
  return true;
}

bool readFloats(const tinygltf::Model& gltf, int accessor, int components, DecodeBudget& budget,
                std::vector<float>& out, std::string& error) {
  Layout layout;
  if (!locate(gltf, accessor, components, layout, error) ||
      !budget.take(layout.count * components * sizeof(float), error))
    return false;
  const bool normalized = gltf.accessors[accessor].normalized;
  out.resize(layout.count * components);
  float* to = out.data();
  for (uint64_t i = 0; i < layout.count; ++i) {
    const uint8_t* element = layout.first + i * layout.stride;
    for (int c = 0; c < components; ++c)
      *to++ = loadFloat(element + c * layout.componentSize, layout.componentType, normalized);
  }
  return true;
}

bool readUnsigned(const tinygltf::Model& gltf, int accessor, int components, DecodeBudget& budget,
                  std::vector<uint32_t>& out, std::string& error) {
  Layout layout;
  if (!locate(gltf, accessor, components, layout, error) ||
      !budget.take(layout.count * components * sizeof(uint32_t), error))
    return false;
  if (layout.componentType != TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE &&
      layout.componentType != TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT &&
      layout.componentType != TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT)
    return fail(error, accessor, "not of an unsigned integer type");
  out.resize(layout.count * components);
  uint32_t* to = out.data();
  for (uint64_t i = 0; i < layout.count; ++i) {
    const uint8_t* element = layout.first + i * layout.stride;
    for (int c = 0; c < components; ++c) {
      const uint8_t* at = element + c * layout.componentSize;
      switch (layout.componentSize) {
        case 1: *to++ = load<uint8_t>(at); break;
        case 2: *to++ = load<uint16_t>(at); break;
        default: *to++ = load<uint32_t>(at); break;
      }
    }
  }
  return true;
}

bool readBufferView(const tinygltf::Model& gltf, int view, DecodeBudget& budget, std::vector<uint8_t>& out,
                    std::string& error) {
  if (view < 0 || static_cast<size_t>(view) >= gltf.bufferViews.size())
    return (error = "buffer view " + std::to_string(view) + " does not exist"), false;
  const tinygltf::BufferView& source = gltf.bufferViews[view];
  if (source.buffer < 0 || static_cast<size_t>(source.buffer) >= gltf.buffers.size())
    return (error = "buffer view " + std::to_string(view) + " names no buffer"), false;
  const std::vector<unsigned char>& data = gltf.buffers[source.buffer].data;
  if (source.byteOffset > data.size() || source.byteLength > data.size() - source.byteOffset)
    return (error = "buffer view " + std::to_string(view) + " runs past the end of its buffer"), false;
  if (!budget.take(source.byteLength, error)) return false;
  out.assign(data.begin() + source.byteOffset, data.begin() + source.byteOffset + source.byteLength);
  return true;
}

int accessorComponents(const tinygltf::Model& gltf, int accessor) {
  if (accessor < 0 || static_cast<size_t>(accessor) >= gltf.accessors.size()) return 0;
  int components = tinygltf::GetNumComponentsInType(static_cast<uint32_t>(gltf.accessors[accessor].type));
  return components > 0 ? components : 0;
}

}  // namespace tsimport
