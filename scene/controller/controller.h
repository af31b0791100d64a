#pragma once

#include "io/serializable.h"

namespace ts3d {

// Something that computes a value for a time. Constant values are controllers too, so the code
// that reads a quantity never asks whether it is animated.
class Controller {
 public:
  virtual bool isConstant() const = 0;
  // Any time, in any order: a controller keeps nothing from one call to the next but its value.
  virtual void update(float time) = 0;
  virtual ~Controller() = default;
};

namespace controller {

// Every controller class stores this version and reads any version the same way.
constexpr int32_t kChunkVersion = 1;

// A controller of one value type. Readers take value directly, after the owner's update.
template <class T>
class ControllerBase : public Controller, public tsio::Serializable {
 public:
  // Scales the animated quantity; each class says what that means for its type.
  virtual void scale(float factor) = 0;

  // Meaningful only after a load or an update; zero before, so that it is never garbage.
  T value{};
};

}  // namespace controller
}  // namespace ts3d
