#pragma once

#include <cstdint>

#include "scene/controller/controller.h"
#include "scene/value_types.h"

namespace ts3d::controller {

// A controller computed from two others. Only the colour-by-float combination exists.
template <class Result, class Left, class Right>
class Op;

// Owns both operands. Body: int32 operation, object left, object right (the operation comes
// first in the file though it is the last field).
template <>
class Op<color, color, float> : public ControllerBase<color> {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("CoCF");
  // value = left's r, g, b and a each times right's value. Other codes leave value alone.
  static constexpr int32_t kMultiply = 5;

  Op() = default;
  ~Op() override;
  Op(const Op&) = delete;
  Op& operator=(const Op&) = delete;

  // True when every operand that exists is constant.
  bool isConstant() const override;
  // Updates the operands that exist; a multiplication with an operand missing leaves value alone.
  void update(float time) override;
  // Scaling a product has no single meaning: nothing happens.
  void scale(float) override {}

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  ControllerBase<color>* left = nullptr;
  ControllerBase<float>* right = nullptr;
  int32_t operation = 0;
};

}  // namespace ts3d::controller
