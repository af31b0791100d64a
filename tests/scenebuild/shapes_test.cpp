#include "scenebuild/shapes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using scenebuild::Shape;
using ts3d::vect3;

float dot(const vect3& a, const vect3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
vect3 cross(const vect3& a, const vect3& b) {
  return vect3(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}
float length(const vect3& a) { return std::sqrt(dot(a, a)); }

// What every shape promises: one normal and one coordinate pair per vertex, unit normals,
// faces inside the vertex range, each face wound counter-clockwise seen from the side its
// vertex normals point to (so the default culling keeps outer faces), no degenerate face,
// and coordinates within 0..1.
void expectWellFormed(const Shape& shape, const std::string& name) {
  SCOPED_TRACE(name);
  ASSERT_GT(shape.vertexCount(), 0u);
  ASSERT_EQ(shape.normals.size(), shape.positions.size());
  ASSERT_EQ(shape.u.size(), shape.positions.size());
  ASSERT_EQ(shape.v.size(), shape.positions.size());
  for (uint32_t i = 0; i < shape.vertexCount(); ++i) {
    EXPECT_NEAR(length(shape.normals[i]), 1.0f, 1e-5f) << "vertex " << i;
    EXPECT_TRUE(shape.u[i] >= 0.0f && shape.u[i] <= 1.0f && shape.v[i] >= 0.0f && shape.v[i] <= 1.0f) << i;
  }
  int degenerate = 0;
  for (size_t f = 0; f < shape.faces.size(); ++f) {
    const auto& face = shape.faces[f];
    for (uint16_t corner : face.vertex) ASSERT_LT(corner, shape.vertexCount()) << "face " << f;
    const vect3 &a = shape.positions[face.vertex[0]], &b = shape.positions[face.vertex[1]],
                &c = shape.positions[face.vertex[2]];
    const vect3 faceNormal = cross(b - a, c - a);
    // Triangles at a pole of the sphere collapse to a point by construction.
    if (length(faceNormal) < 1e-7f) {
      ++degenerate;
      continue;
    }
    const vect3 averaged = shape.normals[face.vertex[0]] + shape.normals[face.vertex[1]] + shape.normals[face.vertex[2]];
    EXPECT_GT(dot(faceNormal, averaged), 0.0f) << "face " << f << " is wound inwards";
  }
  EXPECT_LT(degenerate, static_cast<int>(shape.faces.size()) / 4);
}

TEST(Shapes, EveryShapeIsWellFormedAndFacesOutwards) {
  expectWellFormed(scenebuild::box(2, 3, 4), "box");
  expectWellFormed(scenebuild::plane(2, 1, 4, 3), "plane");
  expectWellFormed(scenebuild::sphere(1.5f, 16, 8), "sphere");
  expectWellFormed(scenebuild::torus(2, 0.5f, 12, 8), "torus");
}

TEST(Shapes, SurfacesAndBoundedCounts) {
  const Shape sphere = scenebuild::sphere(2.5f, 10, 6);
  for (uint32_t i = 0; i < sphere.vertexCount(); ++i) {
    EXPECT_NEAR(length(sphere.positions[i]), 2.5f, 1e-5f);
    EXPECT_NEAR(dot(sphere.positions[i], sphere.normals[i]), 2.5f, 1e-5f);
  }

  const Shape torus = scenebuild::torus(3, 1, 8, 6);
  for (uint32_t i = 0; i < torus.vertexCount(); ++i) {
    // The tube's centre lies on the major circle, at the minor radius behind the normal.
    const vect3 centre = torus.positions[i] - torus.normals[i] * 1.0f;
    EXPECT_NEAR(centre.z, 0.0f, 1e-5f);
    EXPECT_NEAR(std::sqrt(centre.x * centre.x + centre.y * centre.y), 3.0f, 1e-5f);
  }

  // Counts far beyond what 16-bit faces can number are bounded, not wrapped.
  const Shape huge = scenebuild::sphere(1, 100000, 100000);
  EXPECT_LE(huge.vertexCount(), 65536u);
  for (const auto& face : huge.faces)
    for (uint16_t corner : face.vertex) ASSERT_LT(corner, huge.vertexCount());
}

}  // namespace
