#pragma once

#include <vector>

#include "gfxhelper/d3dx9math.h"
#include "scene/value_types.h"

namespace ts3d {

struct OrientedBox;

// The volume a camera sees, as planes whose normals point inwards: a point p is inside plane
// (a, b, c, d) when a*p.x + b*p.y + c*p.z - d > 0. Note the sign of d, unlike D3DXPLANE's own
// equation. Six planes from a camera (left, right, bottom, top, near, far); a user such as a
// mirror may append more, and the tests take all of them.
class Frustum {
 public:
  // The six planes of a view-projection product, each scaled to a unit normal.
  void setFromViewProjection(const matrix& viewProjection);

  bool isInside(const D3DXPLANE& plane, const vect3& point) const;
  // Conservative: false only when all eight corners lie outside one plane.
  bool intersects(const OrientedBox& box) const;

  std::vector<D3DXPLANE> planes;
};

}  // namespace ts3d
