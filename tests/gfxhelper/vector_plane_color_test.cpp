#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

#include "gfxhelper/d3dx9math.h"
#include "scene/value_types.h"
#include "tests/gfxhelper/math_expect.h"

namespace {

using namespace tstest;

TEST(ValueTypes, PlainFloatLayouts) {
  EXPECT_EQ(sizeof(D3DXVECTOR4), 16u);
  EXPECT_EQ(sizeof(D3DXPLANE), 16u);
  const ts3d::quat q(1.0f, 2.0f, 3.0f, 4.0f);
  const ts3d::color c(0.1f, 0.2f, 0.3f, 0.4f);
  const ts3d::vect3 v(5.0f, 6.0f, 7.0f);
  EXPECT_EQ(static_cast<const float*>(q)[3], 4.0f);  // x, y, z, w
  EXPECT_EQ(static_cast<const float*>(c)[3], 0.4f);  // r, g, b, a
  EXPECT_EQ(v[2], 7.0f);
  const D3DVECTOR& plain = v;  // passes where the device wants a D3DVECTOR
  EXPECT_EQ(plain.y, 6.0f);
  EXPECT_EQ(ts3d::quat(), ts3d::quat(0.0f, 0.0f, 0.0f, 0.0f));

  // Row vectors: the translation sits in elements 12 to 14, reachable by every name.
  ts3d::matrix t = translation(1.0f, 2.0f, 3.0f);
  const float* raw = t;
  EXPECT_EQ(D3DXVECTOR3(raw + 12), D3DXVECTOR3(1.0f, 2.0f, 3.0f));
  EXPECT_EQ(t._42, 2.0f);
  EXPECT_EQ(t.m[3][1], 2.0f);
  t(2, 3) = 9.0f;
  EXPECT_EQ(t._34, 9.0f);
  const ts3d::matrix one = identity();
  EXPECT_TRUE(D3DXMatrixIsIdentity(&one));
  EXPECT_FALSE(D3DXMatrixIsIdentity(&t));
  EXPECT_EQ(ts3d::matrix(), ts3d::matrix(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(VectorMaths, ProductsLengthsAndComponentWiseOperations) {
  const D3DXVECTOR3 a(3, 4, 12), b(-1, 5, 2), zero;
  D3DXVECTOR3 out;
  EXPECT_EQ(*D3DXVec3Cross(&out, &kX, &kY), kZ);
  EXPECT_EQ(*D3DXVec3Cross(&out, &kY, &kX), -kZ);
  EXPECT_EQ(D3DXVec3Dot(&a, &b), 41.0f);
  EXPECT_EQ(D3DXVec3Length(&a), 13.0f);
  EXPECT_TRUE(approx(*D3DXVec3Normalize(&out, &a), D3DXVECTOR3(3.0f / 13, 4.0f / 13, 12.0f / 13)));
  EXPECT_EQ(*D3DXVec3Normalize(&out, &zero), zero);
  EXPECT_EQ(*D3DXVec3Lerp(&out, &a, &b, 0.25f), D3DXVECTOR3(2, 4.25f, 9.5f));
  EXPECT_EQ(*D3DXVec3Minimize(&out, &a, &b), D3DXVECTOR3(-1, 4, 2));
  EXPECT_EQ(*D3DXVec3Maximize(&out, &a, &b), D3DXVECTOR3(3, 5, 12));
  EXPECT_EQ(*D3DXVec3Add(&out, &a, &b), a + b);
  EXPECT_EQ(*D3DXVec3Subtract(&out, &a, &b), D3DXVECTOR3(4, -1, 10));
  EXPECT_EQ(*D3DXVec3Scale(&out, &b, 2.0f), 2.0f * b);
  D3DXVECTOR3 c = a;
  (c -= b) *= 2.0f;
  EXPECT_EQ(c, D3DXVECTOR3(8, -2, 20));
  EXPECT_EQ(*D3DXVec3Cross(&c, &c, &kX), D3DXVECTOR3(0, 20, 2));  // aliasing

  const D3DXVECTOR2 u(3, 4), v(-4, 3);
  D3DXVECTOR2 out2;
  EXPECT_EQ(D3DXVec2Length(&u), 5.0f);
  EXPECT_EQ(D3DXVec2Dot(&u, &v), 0.0f);
  EXPECT_GT(D3DXVec2CCW(&u, &v), 0.0f);  // v is u turned counter-clockwise
  EXPECT_LT(D3DXVec2CCW(&v, &u), 0.0f);
  EXPECT_EQ(*D3DXVec2Normalize(&out2, &u), D3DXVECTOR2(0.6f, 0.8f));
  EXPECT_EQ(*D3DXVec2Lerp(&out2, &u, &v, 0.5f), D3DXVECTOR2(-0.5f, 3.5f));
  EXPECT_EQ(*D3DXVec2Minimize(&out2, &u, &v), D3DXVECTOR2(-4, 3));

  const D3DXVECTOR4 p(1, 2, 2, 4), q(0, 1, 0, 1);
  D3DXVECTOR4 out4;
  EXPECT_EQ(D3DXVec4Length(&p), 5.0f);
  EXPECT_EQ(D3DXVec4Dot(&p, &q), 6.0f);
  EXPECT_TRUE(approx(*D3DXVec4Normalize(&out4, &p), D3DXVECTOR4(0.2f, 0.4f, 0.4f, 0.8f)));
  EXPECT_EQ(*D3DXVec4Lerp(&out4, &p, &q, 0.5f), D3DXVECTOR4(0.5f, 1.5f, 1, 2.5f));
}

TEST(VectorTransform, CoordDividesByWAndNormalIgnoresTranslation) {
  D3DXMATRIX m;
  D3DXMatrixTranslation(&m, 1.0f, 1.0f, 1.0f);
  m._14 = 1.0f;  // w = x + 1
  D3DXVECTOR3 v(2.0f, 1.0f, 1.0f);
  D3DXVECTOR4 h;
  EXPECT_EQ(*D3DXVec3Transform(&h, &v, &m), D3DXVECTOR4(3, 2, 2, 3));
  D3DXVec3TransformCoord(&v, &v, &m);  // aliasing
  EXPECT_TRUE(approx(v, D3DXVECTOR3(1.0f, 2.0f / 3, 2.0f / 3)));

  D3DXMATRIX scale, move;
  D3DXMatrixScaling(&scale, 2.0f, 3.0f, 4.0f);
  D3DXMatrixTranslation(&move, 5.0f, 6.0f, 7.0f);
  const D3DXMATRIX sm = scale * move;
  D3DXVECTOR3 n(1.0f, 1.0f, 0.0f);
  EXPECT_EQ(*D3DXVec3TransformNormal(&n, &n, &sm), D3DXVECTOR3(2, 3, 0));
  const D3DXVECTOR4 p(1, 2, 3, 4);
  EXPECT_EQ(*D3DXVec4Transform(&h, &p, &move), D3DXVECTOR4(21, 26, 31, 4));
}

TEST(PlaneMaths, ConstructionDistancesIntersectionAndTransform) {
  const D3DXVECTOR3 p1(0, 0, 3), p2(2, 0, 3), p3(0, 5, 3);
  D3DXPLANE plane;
  EXPECT_TRUE(approx(*D3DXPlaneFromPoints(&plane, &p1, &p2, &p3), D3DXPLANE(0, 0, 1, -3)));  // z = 3, facing +z

  const D3DXVECTOR3 above(7, -1, 5);
  EXPECT_EQ(D3DXPlaneDotCoord(&plane, &above), 2.0f);
  EXPECT_EQ(D3DXPlaneDotNormal(&plane, &above), 5.0f);
  const D3DXVECTOR4 point(7, -1, 5, 1), direction(7, -1, 5, 0);
  EXPECT_EQ(D3DXPlaneDot(&plane, &point), 2.0f);
  EXPECT_EQ(D3DXPlaneDot(&plane, &direction), 5.0f);

  D3DXPLANE scaled(0, 0, 2, -6);
  EXPECT_EQ(*D3DXPlaneNormalize(&scaled, &scaled), plane);

  // The line through two points below the plane still meets it; a parallel one does not.
  const D3DXVECTOR3 from(1, 1, 0), to(1, 2, 1);
  D3DXVECTOR3 hit;
  EXPECT_EQ(D3DXPlaneIntersectLine(&hit, &plane, &from, &to), &hit);
  EXPECT_TRUE(approx(hit, D3DXVECTOR3(1, 4, 3)));
  const D3DXVECTOR3 sideways(5, 1, 0);
  EXPECT_EQ(D3DXPlaneIntersectLine(&hit, &plane, &from, &sideways), nullptr);

  // Moving a plane takes the inverse transpose of the transform.
  D3DXMATRIX turn, move, transform, inverse;
  D3DXMatrixRotationZ(&turn, kQuarter);
  D3DXMatrixTranslation(&move, 0.0f, 0.0f, 5.0f);
  transform = turn * move;
  D3DXMatrixInverse(&inverse, nullptr, &transform);
  D3DXMatrixTranspose(&inverse, &inverse);
  D3DXPLANE moved;
  EXPECT_TRUE(approx(*D3DXPlaneTransform(&moved, &plane, &inverse), D3DXPLANE(0, 0, 1, -8)));
  const D3DXPLANE wall(1, 0, 0, -1);  // x = 1 turns into y = 1
  EXPECT_TRUE(approx(*D3DXPlaneTransform(&moved, &wall, &inverse), D3DXPLANE(0, 1, 0, -1)));
}

TEST(ColorMaths, PackingRuleConversionsAndArithmetic) {
  // 1.5 -> 255, -0.2 -> 0, 0.5 -> 128 (127.5 + 0.5), 0.2 -> 51 (51 + 0.5 truncated).
  EXPECT_EQ(static_cast<D3DCOLOR>(D3DXCOLOR(1.5f, -0.2f, 0.5f, 0.2f)), static_cast<D3DCOLOR>(0x33FF0080u));
  EXPECT_EQ(static_cast<D3DCOLOR>(D3DXCOLOR(1.0f, 1.0f, 1.0f, 1.0f)), static_cast<D3DCOLOR>(0xFFFFFFFFu));
  EXPECT_EQ(static_cast<D3DCOLOR>(D3DXCOLOR(NAN, 0.0f, 0.0f, 0.0f)), static_cast<D3DCOLOR>(0u));

  const D3DXCOLOR unpacked(static_cast<D3DCOLOR>(0x80FF4000u));
  EXPECT_TRUE(approx(unpacked, D3DXCOLOR(1.0f, 64.0f / 255, 0.0f, 128.0f / 255), 1e-7f));
  for (unsigned int argb : {0x00000000u, 0x12345678u, 0xFF7F80FEu, 0x01FE0203u}) {
    EXPECT_EQ(static_cast<D3DCOLOR>(D3DXCOLOR(static_cast<D3DCOLOR>(argb))), static_cast<D3DCOLOR>(argb));
  }

  const D3DXCOLOR c1(0.2f, 0.4f, 0.6f, 1.0f), c2(1.0f, 0.0f, 0.5f, 0.5f);
  const D3DCOLORVALUE& value = c1;  // passes where the device wants a D3DCOLORVALUE
  EXPECT_EQ(value.b, 0.6f);
  EXPECT_EQ(D3DXCOLOR(value), c1);
  D3DXCOLOR out;
  EXPECT_TRUE(approx(*D3DXColorLerp(&out, &c1, &c2, 0.25f), D3DXCOLOR(0.4f, 0.3f, 0.575f, 0.875f), 1e-6f));
  EXPECT_TRUE(approx(*D3DXColorModulate(&out, &c1, &c2), D3DXCOLOR(0.2f, 0.0f, 0.3f, 0.5f), 1e-6f));
  EXPECT_TRUE(approx(*D3DXColorScale(&out, &c2, 0.5f), D3DXCOLOR(0.5f, 0.0f, 0.25f, 0.25f), 0.0f));
}

}  // namespace
