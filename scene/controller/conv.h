#pragma once

#include <cstdint>

#include "scene/controller/controller.h"
#include "scene/value_types.h"

namespace ts3d::controller {

// A controller that presents another one's value as a different type.
template <class Result, class Source>
class Conv;

// A colour from a vector: r, g, b are the source's x, y, z and alpha is 1 (opaque), since a
// vector holds no alpha. The source belongs to another owner: Conv never deletes it, and
// scale and update reach it through Conv. Body: object source.
template <>
class Conv<color, vect3> : public ControllerBase<color> {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("CVCV");

  // Without a source nothing changes, so that is constant too.
  bool isConstant() const override { return !source || source->isConstant(); }
  void update(float time) override;
  void scale(float factor) override;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  ControllerBase<vect3>* source = nullptr;
};

}  // namespace ts3d::controller
