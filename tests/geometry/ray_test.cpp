#include <gtest/gtest.h>

#include "geometry/ray_box.h"
#include "tests/gfxhelper/math_expect.h"

namespace {

using ts3d::OrientedBox;
using ts3d::vect3;

// Two boxes on the -Z axis: a unit cube about (0, 0, -5), and behind it one turned an eighth
// about Z and scaled by 2 about (0, 0, -10), so that its cross-section is a diamond reaching
// 2.83 along X and Y and it spans z -12 to -8.
TEST(RayPick, TheNearestBoxOnTheRayIsFoundAndRaysBesideOrBehindMissBoth) {
  OrientedBox cube;
  cube.halfSize = vect3(1, 1, 1);
  cube.toWorld = tstest::translation(0, 0, -5);
  OrientedBox diamond;
  diamond.halfSize = vect3(1, 1, 1);
  ts3d::matrix turn;
  D3DXMatrixRotationZ(&turn, 0.7853982f);
  diamond.toWorld = tstest::scaling(2, 2, 2) * turn * tstest::translation(0, 0, -10);
  const std::vector<const OrientedBox*> boxes{&cube, nullptr, &diamond};
  const struct {
    vect3 origin, direction;
    int found;
    vect3 hit;
  } rows[] = {
      {{0, 0, 0}, {0, 0, -1}, 0, {0, 0, -4}},            // both on the ray: the nearer
      {{0, 0, -20}, {0, 0, 3}, 2, {0, 0, -12}},          // from behind: the other one first
      {{2.5f, 0, 0}, {0, 0, -1}, 2, {2.5f, 0, -8}},      // beside the cube, inside the diamond's tip
      {{1.8f, 1.8f, 0}, {0, 0, -1}, -1, {}},             // beside both: within an unturned box
      {{1.000005f, 0, 0}, {0, 0, -1}, 0, {1.000005f, 0, -4}},  // grazing the cube's edge
      {{0, 0.5f, -5}, {1, 0, 0}, 0, {0, 0.5f, -5}},       // starting inside: the origin
      {{0, 0, 0}, {0, 0, 1}, -1, {}},                    // both behind the ray
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.origin.x << ", " << row.origin.y << ", " << row.origin.z);
    const int found = ts3d::nearestBoxOnRay(boxes, {row.origin, row.direction});
    ASSERT_EQ(found, row.found);
    if (found < 0) continue;
    vect3 hit;
    ASSERT_TRUE(ts3d::rayHitsBox(*boxes[found], row.origin, row.direction, &hit));
    EXPECT_TRUE(tstest::approx(hit, row.hit, 1e-4f));
  }
}

}  // namespace
