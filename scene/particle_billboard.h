#pragma once

#include <cstdint>
#include <memory>

#include "geometry/geometry_simple.h"
#include "io/serializable.h"

namespace ts3d {

class Material;

namespace particle {

// The quads of an AtmosphericBillboard and the material they are drawn with. The owner makes
// the geometry at its first drawing. Body of FPRB (version 1): object material.
class Billboard : public tsio::Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("FPRB");
  static constexpr int32_t kVersion = 1;

  // Needs a Context and the geometry: in world space, with the material's passes or, without
  // a material, the default one.
  void draw();

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  Material* material = nullptr;  // not owned; may be null
  std::unique_ptr<GeometrySimple> geometry;
};

}  // namespace particle
}  // namespace ts3d
