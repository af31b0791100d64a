#pragma once

#include <cstdint>

#include "io/serializable.h"
#include "scene/controller/animatable.h"
#include "scene/value_types.h"

namespace ts3d {

class Camera;

// A scene-wide effect around the drawing of the meshes: the scene enters its atmospheres
// before the meshes and leaves them behind, enters its overlays behind the meshes, and has
// its background clear the frame.
class Atmospheric : public Animatable, public tsio::Serializable {
 public:
  void update(float time) override = 0;
  virtual void enter(Camera* camera) = 0;
  virtual void leave() = 0;
  virtual bool canClear() { return false; }
  // flags and direct as in Context::clear.
  virtual void clear(Camera* /*camera*/, uint32_t /*flags*/, bool /*direct*/) {}
  ~Atmospheric() override = default;

 protected:
  // Clears in value and sets the Context's clear colour back. Needs a Context.
  static void clearInColor(const color& value, uint32_t flags, bool direct);
};

}  // namespace ts3d
