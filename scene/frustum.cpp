#include "scene/frustum.h"

#include <cmath>

#include "geometry/oriented_box.h"

namespace ts3d {

namespace {

D3DXPLANE columnPlane(const matrix& m, int column, float sign) {
  // Column 3 plus sign times the given column.
  const float x = m.m[0][3] + sign * m.m[0][column];
  const float y = m.m[1][3] + sign * m.m[1][column];
  const float z = m.m[2][3] + sign * m.m[2][column];
  const float w = m.m[3][3] + sign * m.m[3][column];
  return D3DXPLANE(x, y, z, -w);
}

D3DXPLANE normalised(const D3DXPLANE& plane) {
  const float length = std::sqrt(plane.a * plane.a + plane.b * plane.b + plane.c * plane.c);
  if (length <= 0.0f) return plane;
  return D3DXPLANE(plane.a / length, plane.b / length, plane.c / length, plane.d / length);
}

}  // namespace

void Frustum::setFromViewProjection(const matrix& m) {
  planes.clear();
  planes.push_back(normalised(columnPlane(m, 0, 1.0f)));   // left
  planes.push_back(normalised(columnPlane(m, 0, -1.0f)));  // right
  planes.push_back(normalised(columnPlane(m, 1, 1.0f)));   // bottom
  planes.push_back(normalised(columnPlane(m, 1, -1.0f)));  // top
  // Near: column 2 alone, since depth runs from 0 in Direct3D's clip space.
  planes.push_back(normalised(D3DXPLANE(m.m[0][2], m.m[1][2], m.m[2][2], -m.m[3][2])));
  planes.push_back(normalised(columnPlane(m, 2, -1.0f)));  // far
}

bool Frustum::isInside(const D3DXPLANE& plane, const vect3& point) const {
  return plane.a * point.x + plane.b * point.y + plane.c * point.z - plane.d > 0.0f;
}

bool Frustum::intersects(const OrientedBox& box) const {
  vect3 corners[8];
  for (int i = 0; i < 8; ++i) {
    const vect3 local((i & 1) ? box.halfSize.x : -box.halfSize.x, (i & 2) ? box.halfSize.y : -box.halfSize.y,
                      (i & 4) ? box.halfSize.z : -box.halfSize.z);
    D3DXVec3TransformCoord(&corners[i], &local, &box.toWorld);
  }
  for (const D3DXPLANE& plane : planes) {
    bool anyInside = false;
    for (const vect3& corner : corners) {
      if (isInside(plane, corner)) {
        anyInside = true;
        break;
      }
    }
    if (!anyInside) return false;
  }
  return true;
}

}  // namespace ts3d
