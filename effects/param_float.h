#pragma once

#include "scene/controller/const.h"

// An effect parameter as a controller, so that a renderer that reads controllers follows it:
// the effect writes the value and the renderer reads it at its next frame. Never stored.
class ParamFloat : public ts3d::controller::Const<float> {
 public:
  bool isConstant() const override { return false; }
  void setValue(const float& newValue) { value = newValue; }
};
