#pragma once

// Picking: rays against the boxes of meshes, never against their triangles. Platform-free.

#include <vector>

#include "geometry/geometry.h"
#include "geometry/oriented_box.h"

namespace ts3d {

struct Ray {
  vect3 origin;
  vect3 direction;
};

// True when the ray from origin along direction meets the box (all in one space); hit is then
// where it enters, or the origin when it starts inside. On false hit may be partly written.
bool rayHitsAlignedBox(const BoundingBox& box, const vect3& origin, const vect3& direction, vect3* hit);

// The same for an oriented box, tested in the box's own space; hit is given in the world.
bool rayHitsBox(const OrientedBox& box, const vect3& origin, const vect3& direction, vect3* hit);

// Of the boxes that the ray meets, the index of the one whose hit lies nearest to the ray's
// origin (the earlier one on a tie), or -1 when it meets none. Null entries are passed by.
int nearestBoxOnRay(const std::vector<const OrientedBox*>& boxes, const Ray& ray);

}  // namespace ts3d
