#include "scenebuild/shapes.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using scenebuild::Shape;
using ts3d::vect3;

// What every shape promises: one normal and one coordinate pair per vertex, unit normals,
// coordinates within 0..1, at most as many vertices as 16-bit faces can number, faces inside
// the vertex range, each wound counter-clockwise seen from the side its vertex normals point
// to (so the default culling keeps outer faces), few degenerate. A round shape's vertices lie
// `minor` along their normals from a circle of radius `major` about z (a sphere's circle is a point).
TEST(Shapes, EveryShapeIsWellFormedAndFacesOutwards) {
  const struct {
    const char* name;
    Shape shape;
    float major, minor;  // minor 0: not round
  } kShapes[] = {
      {"box", scenebuild::box(2, 3, 4), 0, 0},
      {"plane", scenebuild::plane(2, 1, 4, 3), 0, 0},
      {"sphere", scenebuild::sphere(1.5f, 16, 8), 0, 1.5f},
      {"torus", scenebuild::torus(3, 1, 12, 8), 3, 1},
      {"sphere of counts far beyond 16 bits", scenebuild::sphere(1, 100000, 100000), 0, 1},
  };
  for (const auto& [name, shape, major, minor] : kShapes) {
    SCOPED_TRACE(name);
    ASSERT_GT(shape.vertexCount(), 0u);
    ASSERT_LE(shape.vertexCount(), 65536u);
    ASSERT_EQ(shape.normals.size(), shape.positions.size());
    ASSERT_TRUE(shape.u.size() == shape.positions.size() && shape.v.size() == shape.positions.size());
    for (uint32_t i = 0; i < shape.vertexCount(); ++i) {
      EXPECT_NEAR(D3DXVec3Length(&shape.normals[i]), 1.0f, 1e-5f) << "vertex " << i;
      EXPECT_TRUE(shape.u[i] >= 0.0f && shape.u[i] <= 1.0f && shape.v[i] >= 0.0f && shape.v[i] <= 1.0f) << i;
      if (minor == 0) continue;
      const vect3 centre = shape.positions[i] - shape.normals[i] * minor;
      EXPECT_NEAR(centre.z, 0.0f, 1e-5f) << i;
      EXPECT_NEAR(std::hypot(centre.x, centre.y), major, 1e-5f) << i;
    }
    size_t degenerate = 0;
    for (const auto& face : shape.faces) {
      for (uint16_t corner : face.vertex) ASSERT_LT(corner, shape.vertexCount());
      const vect3 &a = shape.positions[face.vertex[0]], &b = shape.positions[face.vertex[1]],
                  &c = shape.positions[face.vertex[2]];
      const vect3 ab = b - a, ac = c - a;
      vect3 faceNormal;
      D3DXVec3Cross(&faceNormal, &ab, &ac);
      // Triangles at a pole of the sphere collapse to a point by construction.
      if (D3DXVec3Length(&faceNormal) < 1e-7f) {
        ++degenerate;
        continue;
      }
      const vect3 averaged = shape.normals[face.vertex[0]] + shape.normals[face.vertex[1]] + shape.normals[face.vertex[2]];
      EXPECT_GT(D3DXVec3Dot(&faceNormal, &averaged), 0.0f) << "a face is wound inwards";
    }
    EXPECT_LT(degenerate, shape.faces.size() / 4);
  }
}

}  // namespace
