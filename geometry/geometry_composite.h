#pragma once

#include <cstdint>
#include <vector>

#include "geometry/geometry.h"

namespace ts3d {

class GeometrySimple;

// Several geometries that pass for one, one per material of a mesh: child i goes with the
// mesh's i-th sub-material. The children are owned.
//
// Body of "GOCP", version 1: int32 child count, then that many objects.
class GeometryComposite : public Geometry {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("GOCP");
  static constexpr int32_t kVersion = 1;
  // Faces hold 16-bit vertex numbers: a merged geometry can't have more vertices.
  static constexpr uint32_t kMaxMergedVertices = 0x10000;

  GeometryComposite() = default;
  explicit GeometryComposite(std::vector<Geometry*> list);
  ~GeometryComposite() override;
  GeometryComposite(const GeometryComposite&) = delete;
  GeometryComposite& operator=(const GeometryComposite&) = delete;

  // A null child, or one that isn't a geometry, stays a null entry.
  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;
  bool isComposite() const override { return true; }
  void draw() override;
  // Folds the children's spheres; without children the radius is -FLT_MAX.
  BoundingSphere boundingSphere() override;
  // Without children, the inverted empty box.
  BoundingBox boundingBox() override;
  // A composite has no one plane: all zero.
  Plane plane() override { return Plane(); }
  void prepare() override;
  void createResources() override;

  // One new triangle list of the children's positions and faces, for the shadow code; the
  // caller owns it. Null, with a message, when a child isn't a GeometrySimple or the
  // vertices don't fit 16-bit faces.
  GeometrySimple* merged() const;

  std::vector<Geometry*> children;
};

}  // namespace ts3d
