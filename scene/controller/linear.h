#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "io/stream.h"
#include "scene/controller/keyframed.h"
#include "scene/controller/values.h"

namespace ts3d::controller {

template <class T>
struct LinearCode;
template <>
struct LinearCode<float> {
  static constexpr uint32_t value = tsio::fourCC("CLFL");
};
template <>
struct LinearCode<vect3> {
  static constexpr uint32_t value = tsio::fourCC("CLV3");
};
template <>
struct LinearCode<quat> {
  static constexpr uint32_t value = tsio::fourCC("CLQU");
};
template <>
struct LinearCode<color> {
  static constexpr uint32_t value = tsio::fourCC("CLCO");
};
template <>
struct LinearCode<matrix> {
  static constexpr uint32_t value = tsio::fourCC("CLMT");
};

// Stored as float time, then the value's floats.
template <class T>
class LinearKey : public Key<T> {
 public:
  static constexpr uint32_t kStoredFloats = 1 + kFloatCount<T>;

  LinearKey() = default;
  LinearKey(float keyTime, const T& initial) : keyValue(initial) { this->time = keyTime; }

  const T* value() const override { return &keyValue; }
  void setValue(const T& newValue) override { keyValue = newValue; }

  bool load(tsio::InStream& in) override {
    float stored[kStoredFloats];
    in.readBytes(stored, sizeof stored);
    if (!in.isGood()) return false;
    setStored(stored);
    return true;
  }
  // Takes the key's kStoredFloats floats as the stream holds them.
  void setStored(const float* stored) {
    this->time = stored[0];
    std::copy(stored + 1, stored + kStoredFloats, floatsOf(keyValue));
  }
  void store(tsio::OutStream& out) override {
    out.writeFloat(this->time);
    writeValue(out, keyValue);
  }

  // A field can't share the name of value(), which every key offers.
  T keyValue{};
};

// Interpolates between neighbouring keys: linearly for float, vect3 and color, spherically for
// quat, not at all for matrix (see blend). Body: int32 key count, then each key.
template <class T>
class Linear : public KeyFramed<T> {
 public:
  static constexpr uint32_t kCode = LinearCode<T>::value;
  static constexpr uint32_t kKeyBytes = sizeof(float) * LinearKey<T>::kStoredFloats;

  uint32_t keyCount() const override { return static_cast<uint32_t>(keys.size()); }
  Key<T>* key(uint32_t index) override { return &keys[index]; }
  void setKeyCount(uint32_t count) override { keys.resize(count); }
  void addKey(const Key<T>& added) override { keys.emplace_back(added.time, *added.value()); }

  // One key exactly: with none there is no value at all.
  bool isConstant() const override { return keys.size() == 1; }

  // With no keys value stays as it was.
  void update(float time) override {
    Key<T>* before = nullptr;
    Key<T>* after = nullptr;
    this->findKeys(time, before, after);
    if (!before && !after) return;
    if (!after) {
      this->value = *before->value();
    } else if (!before) {
      this->value = *after->value();
    } else {
      const float u = (time - before->time) / (after->time - before->time);
      this->value = blend(*before->value(), *after->value(), u);
    }
  }

  void scale(float factor) override {
    for (LinearKey<T>& k : keys) k.setValue(scaled(*k.value(), factor));
  }

  bool load(tsio::InStream& in) override {
    uint32_t count = 0;
    // Checked against the bytes left before the vector is sized: a hostile count fails the
    // stream instead of allocating.
    if (!in.readCount(&count, kKeyBytes)) return false;
    // All the keys' floats in one stream call: one per float costs most of a long track's load.
    std::vector<float> stored;
    if (!in.readArray(stored, count * LinearKey<T>::kStoredFloats, "key floats")) return false;
    setKeyCount(count);
    for (uint32_t i = 0; i < count; ++i) keys[i].setStored(&stored[i * LinearKey<T>::kStoredFloats]);
    return true;
  }
  void store(tsio::OutStream& out) override {
    out.beginChunk(kCode, kChunkVersion);
    out.writeInt32(static_cast<int32_t>(keys.size()));
    for (LinearKey<T>& k : keys) k.store(out);
  }

  std::vector<LinearKey<T>> keys;
};

}  // namespace ts3d::controller
