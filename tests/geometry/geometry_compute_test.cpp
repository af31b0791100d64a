#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

#include "context/context.h"
#include "tests/geometry/geometry_support.h"

// What a geometry computes from its vectors alone: vertex layout, bounds, plane, transforms,
// welding and tangent space. Values are worked out by hand from the data.
namespace {

using ts3d::color;
using ts3d::GeometrySimple;
using ts3d::vect3;
using tstest::face;

void expectVector(const vect3& actual, float x, float y, float z, float tolerance = 1e-5f) {
  EXPECT_NEAR(actual.x, x, tolerance);
  EXPECT_NEAR(actual.y, y, tolerance);
  EXPECT_NEAR(actual.z, z, tolerance);
}

struct Layout {
  bool normals, colors;
  int channels;
  bool tangentSpace;
  uint32_t fvf, stride;
};

TEST(GeometryLayout, VertexFormatFollowsTheFilledVectors) {
  const Layout layouts[] = {
      {false, false, 0, false, 0x2, 12},        {true, false, 0, false, 0x12, 24},
      {true, false, 1, false, 0x112, 32},       {false, true, 1, false, 0x142, 24},
      {true, true, 1, false, 0x142, 24},        {true, false, 2, false, 0x212, 40},
      {true, false, 0, true, 0x50212, 48},      {true, false, 1, true, 0x140312, 56},
      {false, true, 0, false, 0x42, 16},
  };
  for (const Layout& l : layouts) {
    GeometrySimple g;
    g.positions = {vect3(0, 0, 0)};
    if (l.normals) g.normals = {vect3(0, 0, 1)};
    if (l.colors) g.colors = {color(1, 1, 1, 1)};
    for (int c = 0; c < l.channels; ++c) g.textureChannels.push_back(ts3d::TextureChannel{{{0.0f, 0.0f}}});
    g.hasTangentSpace = l.tangentSpace;
    uint32_t fvf = 0, stride = 0;
    g.computeVertexFormat(&fvf, &stride);
    EXPECT_EQ(fvf, l.fvf) << std::hex << "expected 0x" << l.fvf;
    EXPECT_EQ(stride, l.stride);
  }
}

TEST(GeometryBounds, BoxAndSphereOfKnownPositions) {
  GeometrySimple g;
  g.positions = {vect3(0, 0, 0), vect3(2, 0, 0), vect3(0, 4, 0), vect3(0, 0, -6)};
  const ts3d::BoundingBox box = g.boundingBox();
  expectVector(box.minimum, 0, 0, -6, 0);
  expectVector(box.maximum, 2, 4, 0, 0);
  EXPECT_TRUE(g.boxValid);

  // Centre (0.5, 1, -1.5); the farthest position is (0, 0, -6) at squared distance 21.5.
  const ts3d::BoundingSphere sphere = g.boundingSphere();
  expectVector(sphere.center, 0.5f, 1.0f, -1.5f);
  EXPECT_NEAR(sphere.radius, std::sqrt(21.5f) + 0.0001f, 1e-5f);
}

TEST(GeometryBounds, BoxIsCachedUntilSomethingClearsIt) {
  GeometrySimple g;
  g.positions = {vect3(-1, -1, -1), vect3(1, 1, 1)};
  g.boundingBox();
  g.positions[1] = vect3(5, 5, 5);
  expectVector(g.boundingBox().maximum, 1, 1, 1, 0);  // still the cache
  ts3d::matrix shift;
  D3DXMatrixTranslation(&shift, 10, 0, 0);
  g.transform(shift);
  EXPECT_FALSE(g.boxValid);
  expectVector(g.boundingBox().maximum, 15, 5, 5);
  expectVector(g.boundingBox().minimum, 9, -1, -1);
}

TEST(GeometryBounds, EmptyGeometryKeepsTheEmptyBox) {
  GeometrySimple g;
  const ts3d::BoundingBox box = g.boundingBox();
  EXPECT_EQ(box.minimum.x, FLT_MAX);
  EXPECT_EQ(box.maximum.z, -FLT_MAX);
  EXPECT_EQ(g.boundingSphere().radius, 0.0f);
}

TEST(GeometryPlane, PlaneOfTheFirstVertex) {
  GeometrySimple g;
  g.positions = {vect3(1, 2, 3), vect3(9, 9, 9)};
  g.normals = {vect3(0, 0, 1), vect3(1, 0, 0)};
  const ts3d::Plane p = g.plane();
  EXPECT_EQ(p.a, 0.0f);
  EXPECT_EQ(p.b, 0.0f);
  EXPECT_EQ(p.c, 1.0f);
  EXPECT_EQ(p.d, 3.0f);
}

TEST(GeometryTransform, PositionsTakeTheMatrixAndNormalsItsInverseTranspose) {
  GeometrySimple g;
  g.positions = {vect3(1, 1, 0)};
  const float r = 1.0f / std::sqrt(2.0f);
  g.normals = {vect3(r, r, 0)};
  ts3d::matrix scale, shift, m;
  D3DXMatrixScaling(&scale, 2, 1, 1);
  D3DXMatrixTranslation(&shift, 1, 0, 0);
  D3DXMatrixMultiply(&m, &scale, &shift);
  g.transform(m);
  expectVector(g.positions[0], 3, 1, 0);
  // The inverse transpose of scale(2, 1, 1) halves x: (0.5, 1, 0) / |..|.
  const float len = std::sqrt(0.25f + 1.0f);
  expectVector(g.normals[0], 0.5f / len, 1.0f / len, 0);
}

TEST(GeometryFaces, FlipSwapsTheFirstTwoVertices) {
  GeometrySimple g;
  g.faces = {face(0, 1, 2), face(5, 3, 4)};
  g.flipFaces();
  EXPECT_EQ(g.faces[0], face(1, 0, 2));
  EXPECT_EQ(g.faces[1], face(3, 5, 4));
}

TEST(GeometryWeld, EqualPositionsBecomeOneVertexAndSignedZeroesStayApart) {
  GeometrySimple g;
  // Vertices 0 and 3 share a place (a texture seam); 4 differs from 1 only in the sign of 0.
  g.positions = {vect3(1, 2, 3), vect3(0, 0, 0), vect3(5, 5, 5), vect3(1, 2, 3), vect3(-0.0f, 0, 0)};
  g.textureChannels.push_back(ts3d::TextureChannel{{{0, 0}, {0, 1}, {1, 1}, {1, 0}, {0.5f, 0.5f}}});
  g.faces = {face(3, 2, 4), face(0, 1, 2)};
  g.weldPositions();
  ASSERT_EQ(g.weldedFaces.size(), 2u);
  EXPECT_EQ(g.weldedFaces[0], face(0, 2, 4));
  EXPECT_EQ(g.weldedFaces[1], face(0, 1, 2));
  EXPECT_EQ(g.faces[0], face(3, 2, 4)) << "faces themselves stay";
}

TEST(GeometryTangentSpace, FrameIsTurnedToAgreeWithTheNormalAndAVertexInNoFaceStaysZero) {
  ASSERT_EQ(ts3d::Context::instance, nullptr) << "computed without a device";
  struct Case {
    ts3d::TextureCoordinate st[3];
    vect3 tangent, binormal;
  };
  const Case cases[] = {
      // e1 = (-1,0,0), e2 = (-1,1,0), ds = (-1,-1), dt = (0,1): tangent (-1,0,0), binormal
      // (0,1,0), whose cross product points along -z: both are turned.
      {{{0, 0}, {1, 0}, {0, 1}}, vect3(1, 0, 0), vect3(0, -1, 0)},
      // u mirrored: ds = (1,1), dt = (0,1): tangent (-1,0,0), binormal (0,-1,0), cross along +z.
      {{{1, 0}, {0, 0}, {1, 1}}, vect3(-1, 0, 0), vect3(0, -1, 0)},
  };
  for (const Case& c : cases) {
    // A triangle in the z = 0 plane facing +z, and a fourth vertex that no face uses.
    GeometrySimple g;
    g.positions = {vect3(0, 0, 0), vect3(1, 0, 0), vect3(0, 1, 0), vect3(-1, 0, 0)};
    g.normals.assign(4, vect3(0, 0, 1));
    g.textureChannels.push_back(ts3d::TextureChannel{{c.st[0], c.st[1], c.st[2], {0.5f, 0.5f}}});
    g.faces = {face(0, 1, 2)};
    g.hasTangentSpace = true;
    g.createResources();
    ASSERT_EQ(g.tangents.size(), 4u);
    ASSERT_EQ(g.binormals.size(), 4u);
    for (int i = 0; i < 3; ++i) {
      expectVector(g.tangents[i], c.tangent.x, c.tangent.y, c.tangent.z);
      expectVector(g.binormals[i], c.binormal.x, c.binormal.y, c.binormal.z);
    }
    // Nothing is added to vertex 3; a zero vector stays zero when made unit.
    expectVector(g.tangents[3], 0, 0, 0);
    expectVector(g.binormals[3], 0, 0, 0);
    EXPECT_EQ(g.vertexFormat, 0x140312u);
    EXPECT_EQ(g.vertexBuffer.get(), nullptr) << "no context, no buffers";
  }
}

}  // namespace
