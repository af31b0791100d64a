#pragma once

#include "geometry/geometry.h"
#include "io/serializable.h"
#include "scene/controller/animatable.h"

namespace ts3d {

// Changes what a mesh draws without touching the mesh's own geometry: either it rewrites
// an output geometry of its own each frame, or it only sets the device up before a draw.
class Modifier : public Animatable, public tsio::Serializable {
 public:
  void update(float time) override = 0;
  // True: the modifier has an output geometry, and apply runs each frame.
  virtual bool modifiesGeometry() = 0;
  // True: setupRender runs before each draw.
  virtual bool needsRenderSetup() = 0;
  virtual bool canHandle(Geometry* geometry) = 0;
  // The geometry that apply writes, or input itself.
  virtual Geometry* createOutput(Geometry* input) = 0;
  virtual void apply(Geometry* output, Geometry* input) = 0;
  virtual void setupRender() = 0;
};

}  // namespace ts3d
