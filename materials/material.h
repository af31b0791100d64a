#pragma once

#include <cstdint>

#include "io/serializable.h"
#include "scene/controller/animatable.h"

namespace ts3d {

// How a geometry is drawn. A draw with a material is always: count = beginPasses(sub);
// for each pass applyPass(pass) and then the geometry draws itself; endPasses().
class Material : public Animatable, public tsio::Serializable {
 public:
  void update(float time) override = 0;
  // Selects the class in which the render queue draws it (see RenderQueue).
  virtual int order() = 0;
  virtual bool isComposite() = 0;
  // The pass count; subIndex means something only to a composite material.
  virtual uint32_t beginPasses(uint32_t subIndex) = 0;
  virtual void applyPass(uint32_t pass) = 0;
  virtual void endPasses() {}
  // Once after the scene is loaded and bound.
  virtual void prepare() = 0;
  // Once the device exists.
  virtual void createResources() = 0;
};

}  // namespace ts3d
