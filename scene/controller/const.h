#pragma once

#include "io/stream.h"
#include "scene/controller/controller.h"
#include "scene/controller/values.h"

namespace ts3d::controller {

template <class T>
struct ConstCode;
template <>
struct ConstCode<float> {
  static constexpr uint32_t value = tsio::fourCC("CCFL");
};
template <>
struct ConstCode<vect3> {
  static constexpr uint32_t value = tsio::fourCC("CCV3");
};
template <>
struct ConstCode<quat> {
  static constexpr uint32_t value = tsio::fourCC("CCQU");
};
template <>
struct ConstCode<color> {
  static constexpr uint32_t value = tsio::fourCC("CCCO");
};

// A value that doesn't change. Body: the value's floats.
template <class T>
class Const : public ControllerBase<T> {
 public:
  static constexpr uint32_t kCode = ConstCode<T>::value;

  Const() = default;
  explicit Const(const T& initial) { this->value = initial; }

  bool isConstant() const override { return true; }
  void update(float) override {}
  void scale(float factor) override { this->value = scaled(this->value, factor); }

  bool load(tsio::InStream& in) override {
    readValue(in, this->value);
    return in.isGood();
  }
  void store(tsio::OutStream& out) override {
    out.beginChunk(kCode, kChunkVersion);
    writeValue(out, this->value);
  }
};

}  // namespace ts3d::controller
