#include "geometry/ray_box.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace ts3d {

namespace {

// How far outside a face a hit may lie and still count: rays that graze an edge hit.
constexpr float kTolerance = 0.00001f;
// A candidate distance that no face gave.
constexpr float kNoCandidate = -1.0f;

bool isPlusZero(float value) {
  uint32_t word = 0;
  std::memcpy(&word, &value, sizeof word);
  return word == 0;
}

}  // namespace

bool rayHitsAlignedBox(const BoundingBox& box, const vect3& origin, const vect3& direction, vect3* hit) {
  const float* low = box.minimum;
  const float* high = box.maximum;
  float* point = *hit;
  bool inside = true;
  float candidate[3] = {kNoCandidate, kNoCandidate, kNoCandidate};
  // Each axis offers the face that the origin lies outside of, if any, and the distance to it.
  for (int i = 0; i < 3; ++i) {
    const float* face = origin[i] < low[i] ? &low[i] : origin[i] > high[i] ? &high[i] : nullptr;
    if (!face) continue;
    point[i] = *face;
    inside = false;
    if (!isPlusZero(direction[i])) candidate[i] = (*face - origin[i]) / direction[i];
  }
  if (inside) {
    *hit = origin;
    return true;
  }
  // The farthest candidate is the face where the ray enters.
  int plane = candidate[1] > candidate[0] ? 1 : 0;
  if (candidate[2] > candidate[plane]) plane = 2;
  if (std::signbit(candidate[plane])) return false;  // the box lies behind the ray
  for (int i = 0; i < 3; ++i) {
    if (i == plane) continue;
    point[i] = direction[i] * candidate[plane] + origin[i];
    if (point[i] < low[i] - kTolerance || point[i] > high[i] + kTolerance) return false;
  }
  return true;
}

bool rayHitsBox(const OrientedBox& box, const vect3& origin, const vect3& direction, vect3* hit) {
  matrix toBox;
  D3DXMatrixInverse(&toBox, nullptr, &box.toWorld);
  vect3 localOrigin, localAhead, localDirection;
  const vect3 ahead = origin + direction;
  D3DXVec3TransformCoord(&localOrigin, &origin, &toBox);
  D3DXVec3TransformCoord(&localAhead, &ahead, &toBox);
  const vect3 step = localAhead - localOrigin;
  D3DXVec3Normalize(&localDirection, &step);
  BoundingBox aligned;
  aligned.minimum = -box.halfSize;
  aligned.maximum = box.halfSize;
  vect3 localHit;
  if (!rayHitsAlignedBox(aligned, localOrigin, localDirection, &localHit)) return false;
  D3DXVec3TransformCoord(hit, &localHit, &box.toWorld);
  return true;
}

int nearestBoxOnRay(const std::vector<const OrientedBox*>& boxes, const Ray& ray) {
  int nearest = -1;
  float nearestDistance = std::numeric_limits<float>::infinity();
  for (size_t i = 0; i < boxes.size(); ++i) {
    vect3 hit;
    if (!boxes[i] || !rayHitsBox(*boxes[i], ray.origin, ray.direction, &hit)) continue;
    const vect3 offset = hit - ray.origin;
    const float distance = D3DXVec3LengthSq(&offset);
    if (distance < nearestDistance) {
      nearest = static_cast<int>(i);
      nearestDistance = distance;
    }
  }
  return nearest;
}

}  // namespace ts3d
