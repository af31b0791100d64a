// The maths functions against values worked out by hand, one table per family.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "gfxhelper/d3dx9math.h"
#include "tests/gfxhelper/math_expect.h"

namespace {

using namespace tstest;

// Runs a function that writes its result through its first argument.
template <class T, class F, class... A>
T make(F function, A... arguments) {
  T out;
  function(&out, arguments...);
  return out;
}

template <class T>
std::vector<float> floats(const T& value) {
  const float* f = value;
  return std::vector<float>(f, f + sizeof(T) / sizeof(float));
}
std::vector<float> floats(float value) { return {value}; }

// The address of a value that lives to the end of the statement.
template <class T>
const T* in(const T& value) {
  return &value;
}

struct Row {
  const char* name;
  std::vector<float> actual, expected;
  float tolerance = 1e-5f;
};

void expectRows(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    ASSERT_EQ(row.actual.size(), row.expected.size()) << row.name;
    for (size_t i = 0; i < row.actual.size(); ++i)
      EXPECT_NEAR(row.actual[i], row.expected[i], row.tolerance) << row.name << ", element " << i;
  }
}

D3DXVECTOR3 v3(float x, float y, float z) { return D3DXVECTOR3(x, y, z); }
D3DXQUATERNION rotation(const D3DXVECTOR3& axis, float angle) {
  return make<D3DXQUATERNION>(D3DXQuaternionRotationAxis, &axis, angle);
}
D3DXMATRIX matrixOf(const D3DXQUATERNION& q) { return make<D3DXMATRIX>(D3DXMatrixRotationQuaternion, &q); }
D3DXQUATERNION slerp(const D3DXQUATERNION& a, const D3DXQUATERNION& b, float t) {
  return make<D3DXQUATERNION>(D3DXQuaternionSlerp, &a, &b, t);
}

TEST(MatrixMaths, AgainstHandWorkedValues) {
  const D3DXMATRIX t = translation(1, 2, 3), r = make<D3DXMATRIX>(D3DXMatrixRotationZ, kQuarter);  // (x, y) -> (-y, x)
  D3DXMATRIX square = t;
  D3DXMatrixMultiply(&square, &square, &square);
  const D3DXMATRIX counting(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
  const D3DXMATRIX full(4, 1, 0, 2, 1, 5, 1, 0, 0, 1, 6, 1, 1, 0, 1, 7);
  const D3DXMATRIX rh = make<D3DXMATRIX>(D3DXMatrixPerspectiveFovRH, kQuarter, 2.0f, 1.0f, 101.0f);
  const D3DXMATRIX lh = make<D3DXMATRIX>(D3DXMatrixPerspectiveFovLH, kQuarter, 2.0f, 1.0f, 101.0f);
  const D3DXVECTOR3 eye(0, 0, 5), origin(0, 0, 0), south(0, -10, 0), axis(1, 2, -0.5f), diagonal(1, 1, 1);
  const D3DXMATRIX affine = scaling(2, 0.5f, 3) * make<D3DXMATRIX>(D3DXMatrixRotationAxis, &axis, 0.7f) * t;
  const D3DXPLANE mirror = make<D3DXPLANE>(D3DXPlaneFromPointNormal, in(v3(0, 2, 0)), in(v3(0, 3, 0)));
  const D3DXQUATERNION turn = rotation(v3(0.3f, -1, 0.6f), 1.1f);
  D3DXVECTOR3 scale, offset, mirroredScale;
  D3DXQUATERNION found, mirroredFound;
  D3DXMatrixDecompose(&scale, &found, &offset, in(scaling(2, 3, 4) * matrixOf(turn) * translation(5, 6, 7)));
  D3DXMatrixDecompose(&mirroredScale, &mirroredFound, &offset, in(scaling(2, -3, 4) * matrixOf(turn) * translation(5, 6, 7)));
  const float yaw = 0.3f, pitch = -1.2f, roll = 2.0f;
  const D3DXMATRIX ypr = make<D3DXMATRIX>(D3DXMatrixRotationYawPitchRoll, yaw, pitch, roll);
  expectRows({
      {"t r moves, then turns", floats(apply(t * r, kX)), floats(v3(-2, 2, 3))},
      {"product into its own input", floats(square), floats(translation(2, 4, 6))},
      {"transpose", floats(make<D3DXMATRIX>(D3DXMatrixTranspose, &counting)),
       {1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 4, 8, 12, 16}},
      {"inverse of a translation", floats(make<D3DXMATRIX>(D3DXMatrixInverse, nullptr, &t)), floats(translation(-1, -2, -3))},
      {"inverse of a scaling", floats(make<D3DXMATRIX>(D3DXMatrixInverse, nullptr, in(scaling(2, 4, 8)))),
       floats(scaling(0.5f, 0.25f, 0.125f))},
      {"inverse of a full matrix", floats(full * make<D3DXMATRIX>(D3DXMatrixInverse, nullptr, &full)), floats(identity())},
      {"determinant: the product of the scales", floats(D3DXMatrixDeterminant(&affine)), {3}},
      {"right-handed view", floats(apply(make<D3DXMATRIX>(D3DXMatrixLookAtRH, &eye, &origin, &kY), v3(1, 1, 0))),
       floats(v3(1, 1, -5))},
      {"view with +Z up", floats(apply(make<D3DXMATRIX>(D3DXMatrixLookAtRH, &south, &origin, &kZ), v3(2, 0, 3))),
       floats(v3(2, 3, -10))},
      {"left-handed view", floats(apply(make<D3DXMATRIX>(D3DXMatrixLookAtLH, &eye, &origin, &kY), kX)),
       floats(v3(-1, 0, 5))},
      // cot 45 = 1, aspect 2 halves x; depth 101 / (1 - 101) = -1.01.
      {"right-handed projection", floats(rh), {0.5f, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1.01f, -1, 0, 0, -1.01f, 0}},
      {"left-handed near and far", {apply(lh, v3(0, 0, 1)).z, apply(lh, v3(0, 0, 101)).z}, {0, 1}},
      {"orthographic", floats(apply(make<D3DXMATRIX>(D3DXMatrixOrthoRH, 4.0f, 2.0f, 1.0f, 11.0f), v3(-2, -1, -11))),
       floats(v3(-1, -1, 1))},
      {"orthographic in pixels",
       floats(apply(make<D3DXMATRIX>(D3DXMatrixOrthoOffCenterRH, 0.0f, 640.0f, 480.0f, 0.0f, 0.0f, 1.0f), v3(640, 480, -1))),
       floats(v3(1, -1, 1))},
      {"rotation about x", floats(apply(make<D3DXMATRIX>(D3DXMatrixRotationX, kQuarter), kY)), floats(kZ)},
      {"rotation about y", floats(apply(make<D3DXMATRIX>(D3DXMatrixRotationY, kQuarter), kZ)), floats(kX)},
      {"a third turn about (1,1,1)",
       floats(apply(make<D3DXMATRIX>(D3DXMatrixRotationAxis, &diagonal, 2 * D3DX_PI / 3), kX)), floats(kY)},
      {"plane from point and normal", floats(mirror), {0, 3, 0, -6}},
      {"reflection in y = 2", floats(apply(make<D3DXMATRIX>(D3DXMatrixReflect, &mirror), v3(1, 5, 7))), floats(v3(1, -1, 7))},
      {"decomposed scale", floats(scale), floats(v3(2, 3, 4))},
      {"decomposed translation", floats(offset), floats(v3(5, 6, 7))},
      {"decomposed rotation", floats(std::fabs(D3DXQuaternionDot(&found, &turn))), {1}},
      {"a mirror goes into the x scale", floats(mirroredScale), floats(v3(-2, 3, 4))},
      {"roll, then pitch, then yaw", floats(ypr),
       floats(make<D3DXMATRIX>(D3DXMatrixRotationZ, roll) * make<D3DXMATRIX>(D3DXMatrixRotationX, pitch) *
              make<D3DXMATRIX>(D3DXMatrixRotationY, yaw))},
  });
}

TEST(MatrixMaths, SingularMatricesHaveNoInverse) {
  const D3DXMATRIX twoEqualRows(1, 2, 3, 4, 5, 6, 7, 8, 1, 2, 3, 4, 0, 0, 0, 1);
  // Rows 0 and 2 equal: the expansion's rounding leaves a tiny non-zero determinant.
  const D3DXMATRIX roundedToTiny(0.3f, -1.7f, 2.9f, 0.61f, 1.3f, 0.77f, -0.4f, 2.2f, 0.3f, -1.7f, 2.9f, 0.61f, -0.9f,
                                 1.1f, 0.13f, 1.0f);
  for (const D3DXMATRIX& m : {scaling(1, 0, 1), twoEqualRows, roundedToTiny}) {
    D3DXMATRIX out = identity();
    EXPECT_EQ(D3DXMatrixInverse(&out, nullptr, &m), nullptr);
    EXPECT_EQ(out, identity()) << "the output is left alone";
  }
  D3DXVECTOR3 scale, offset;
  D3DXQUATERNION rotation;
  EXPECT_LT(D3DXMatrixDecompose(&scale, &rotation, &offset, in(scaling(1, 0, 1))), 0);
}

TEST(QuaternionMaths, AgainstHandWorkedValues) {
  const D3DXQUATERNION one(0, 0, 0, 1), turn = rotation(kY, kQuarter), p(1, 2, 3, 4), q(5, 6, 7, 8);
  D3DXQUATERNION skew(0.3f, -0.5f, 0.1f, 0.8f);
  D3DXQuaternionNormalize(&skew, &skew);
  const D3DXQUATERNION opposite = slerp(skew, -skew, 0.5f);
  const float r = std::sqrt(0.5f), yaw = 0.3f, pitch = -1.2f, roll = 2.0f;
  D3DXVECTOR3 axis;
  float angle = 0;
  D3DXQuaternionToAxisAngle(&turn, &axis, &angle);
  std::vector<Row> rows = {
      {"axis and angle, the axis not unit", floats(rotation(v3(0, 3, 0), 1.2f)), {0, std::sin(0.6f), 0, std::cos(0.6f)}},
      {"back to axis and angle", {axis.y / D3DXVec3Length(&axis), angle}, {1, kQuarter}},
      {"slerp a quarter of the way", floats(slerp(one, turn, 0.25f)), {0, std::sin(D3DX_PI / 16), 0, std::cos(D3DX_PI / 16)}},
      {"slerp to the negated end takes the short arc", floats(slerp(one, -turn, 0.5f)),
       {0, std::sin(D3DX_PI / 8), 0, std::cos(D3DX_PI / 8)}},
      {"three quarters one way is a quarter the other", floats(apply(matrixOf(slerp(one, rotation(kY, 3 * kQuarter), 0.5f)), kX)),
       floats(v3(r, 0, r))},
      {"slerp of nearly equal ends", floats(slerp(one, rotation(kZ, 2e-4f), 0.5f).z), {std::sin(5e-5f)}, 1e-7f},
      {"slerp of q and -q stays unit", floats(D3DXQuaternionLength(&opposite)), {1}},
      // q1 q2 is q2 q1 in Hamilton's product: w 32 - 38, v 8 (1,2,3) + 4 (5,6,7) + (5,6,7) x (1,2,3).
      {"product", floats(make<D3DXQUATERNION>(D3DXQuaternionMultiply, &p, &q)), {32, 32, 56, -6}},
      {"product applies the first rotation first",
       floats(apply(matrixOf(rotation(kX, kQuarter) * rotation(kY, kQuarter)), kY)), floats(kX)},
      {"conjugate", floats(make<D3DXQUATERNION>(D3DXQuaternionConjugate, &p)), {-1, -2, -3, 4}},
      {"inverse", floats(p * make<D3DXQUATERNION>(D3DXQuaternionInverse, &p)), floats(one)},
      {"normalised", floats(make<D3DXQUATERNION>(D3DXQuaternionNormalize, &p)), floats(p / std::sqrt(30.0f))},
      {"yaw, pitch and roll",
       floats(matrixOf(make<D3DXQUATERNION>(D3DXQuaternionRotationYawPitchRoll, yaw, pitch, roll))),
       floats(make<D3DXMATRIX>(D3DXMatrixRotationYawPitchRoll, yaw, pitch, roll))},
  };
  // Half turns (trace -1) take the other branches of the matrix-to-quaternion conversion.
  for (const D3DXVECTOR3& a : {kX, kY, kZ, v3(1, 1, 0), v3(1, -2, 3)}) {
    const float half = a == v3(1, -2, 3) ? 0.4f : D3DX_PI;
    const D3DXMATRIX byAxis = make<D3DXMATRIX>(D3DXMatrixRotationAxis, &a, half);
    const D3DXQUATERNION back = make<D3DXQUATERNION>(D3DXQuaternionRotationMatrix, &byAxis), expected = rotation(a, half);
    rows.push_back({"matrix of a quaternion", floats(matrixOf(expected)), floats(byAxis)});
    rows.push_back({"quaternion of a matrix", floats(std::fabs(D3DXQuaternionDot(&back, &expected))), {1}});
  }
  expectRows(rows);
}

TEST(VectorPlaneColourMaths, AgainstHandWorkedValues) {
  const D3DXVECTOR3 a(3, 4, 12), b(-1, 5, 2), zero(0, 0, 0);
  const D3DXVECTOR2 u(3, 4), v(-4, 3);
  const D3DXVECTOR4 h(1, 2, 2, 4);
  D3DXMATRIX projective = translation(1, 1, 1);
  projective._14 = 1;  // w = x + 1
  const D3DXMATRIX scaleMove = scaling(2, 3, 4) * translation(5, 6, 7);
  const D3DXPLANE plane = make<D3DXPLANE>(D3DXPlaneFromPoints, in(v3(0, 0, 3)), in(v3(2, 0, 3)), in(v3(0, 5, 3)));
  // Moving a plane takes the inverse transpose of the transform.
  const D3DXMATRIX moved = make<D3DXMATRIX>(D3DXMatrixRotationZ, kQuarter) * translation(0, 0, 5);
  const D3DXMATRIX inverse = make<D3DXMATRIX>(D3DXMatrixInverse, nullptr, &moved);
  const D3DXMATRIX planeMover = make<D3DXMATRIX>(D3DXMatrixTranspose, &inverse);
  const D3DXPLANE wall(1, 0, 0, -1);
  const D3DXCOLOR c1(0.2f, 0.4f, 0.6f, 1.0f), c2(1.0f, 0.0f, 0.5f, 0.5f);
  expectRows({
      {"cross", floats(make<D3DXVECTOR3>(D3DXVec3Cross, &kY, &kX)), floats(-kZ)},
      {"dot and length", {D3DXVec3Dot(&a, &b), D3DXVec3Length(&a), D3DXVec2Length(&u), D3DXVec4Length(&h)}, {41, 13, 5, 5}},
      {"counter-clockwise", floats(D3DXVec2CCW(&u, &v)), {25}},
      {"normalised", floats(make<D3DXVECTOR3>(D3DXVec3Normalize, &a)), floats(v3(3.0f / 13, 4.0f / 13, 12.0f / 13))},
      {"zero normalised", floats(make<D3DXVECTOR3>(D3DXVec3Normalize, &zero)), floats(zero)},
      {"normalised in 4D", floats(make<D3DXVECTOR4>(D3DXVec4Normalize, &h)), {0.2f, 0.4f, 0.4f, 0.8f}},
      {"lerp", floats(make<D3DXVECTOR3>(D3DXVec3Lerp, &a, &b, 0.25f)), floats(v3(2, 4.25f, 9.5f))},
      {"minimum", floats(make<D3DXVECTOR3>(D3DXVec3Minimize, &a, &b)), floats(v3(-1, 4, 2))},
      {"maximum", floats(make<D3DXVECTOR3>(D3DXVec3Maximize, &a, &b)), floats(v3(3, 5, 12))},
      {"transform", floats(make<D3DXVECTOR4>(D3DXVec3Transform, in(v3(2, 1, 1)), &projective)), {3, 2, 2, 3}},
      {"transform divides by w", floats(apply(projective, v3(2, 1, 1))), floats(v3(1, 2.0f / 3, 2.0f / 3))},
      {"normals ignore translation", floats(make<D3DXVECTOR3>(D3DXVec3TransformNormal, in(v3(1, 1, 0)), &scaleMove)),
       floats(v3(2, 3, 0))},
      {"plane through three points", floats(plane), {0, 0, 1, -3}},
      {"distance to a plane", floats(D3DXPlaneDotCoord(&plane, in(v3(7, -1, 5)))), {2}},
      {"a line meets a plane", floats(make<D3DXVECTOR3>(D3DXPlaneIntersectLine, &plane, in(v3(1, 1, 0)), in(v3(1, 2, 1)))),
       floats(v3(1, 4, 3))},
      {"a plane moved", floats(make<D3DXPLANE>(D3DXPlaneTransform, &plane, &planeMover)), {0, 0, 1, -8}},
      {"a plane turned: x = 1 to y = 1", floats(make<D3DXPLANE>(D3DXPlaneTransform, &wall, &planeMover)), {0, 1, 0, -1}},
      {"colour from ARGB", floats(D3DXCOLOR(static_cast<D3DCOLOR>(0x80FF4000u))), {1, 64.0f / 255, 0, 128.0f / 255}},
      {"colour lerp", floats(make<D3DXCOLOR>(D3DXColorLerp, &c1, &c2, 0.25f)), {0.4f, 0.3f, 0.575f, 0.875f}},
      {"colour modulate", floats(make<D3DXCOLOR>(D3DXColorModulate, &c1, &c2)), {0.2f, 0.0f, 0.3f, 0.5f}},
  });
  D3DXVECTOR3 hit;
  EXPECT_EQ(D3DXPlaneIntersectLine(&hit, &plane, in(v3(1, 1, 0)), in(v3(5, 1, 0))), nullptr) << "parallel";
  // Clamped, then rounded: 1.5 -> 255, -0.2 -> 0, 0.5 -> 128, 0.2 -> 51.
  EXPECT_EQ(static_cast<D3DCOLOR>(D3DXCOLOR(1.5f, -0.2f, 0.5f, 0.2f)), static_cast<D3DCOLOR>(0x33FF0080u));
}

}  // namespace
