#include <gtest/gtest.h>

#include <cmath>

#include "gfxhelper/d3dx9math.h"
#include "tests/gfxhelper/math_expect.h"

namespace {

using namespace tstest;

D3DXQUATERNION rotation(const D3DXVECTOR3& axis, float angle) {
  D3DXQUATERNION q;
  return *D3DXQuaternionRotationAxis(&q, &axis, angle);
}

D3DXMATRIX matrixOf(const D3DXQUATERNION& q) {
  D3DXMATRIX m;
  return *D3DXMatrixRotationQuaternion(&m, &q);
}

D3DXQUATERNION slerp(const D3DXQUATERNION& a, const D3DXQUATERNION& b, float t) {
  D3DXQUATERNION out;
  return *D3DXQuaternionSlerp(&out, &a, &b, t);
}

TEST(QuaternionSlerp, TakesTheShorterArc) {
  D3DXQUATERNION one;
  D3DXQuaternionIdentity(&one);
  EXPECT_TRUE(D3DXQuaternionIsIdentity(&one));
  EXPECT_TRUE(approx(one, D3DXQUATERNION(0, 0, 0, 1), 0.0f));
  const D3DXQUATERNION turn = rotation(kY, kQuarter);
  for (float t = 0.0f; t <= 1.0f; t += 0.125f) {
    const D3DXQUATERNION q = slerp(one, turn, t);
    EXPECT_NEAR(D3DXQuaternionLength(&q), 1.0f, 1e-6f);
    EXPECT_TRUE(approx(q, rotation(kY, kQuarter * t)));
  }
  // -turn is the same rotation: the same path.
  EXPECT_TRUE(approx(slerp(one, -turn, 0.5f), rotation(kY, kQuarter * 0.5f)));

  // Three quarters of a turn one way is a quarter the other way: halfway is -45 degrees.
  const D3DXQUATERNION halfway = slerp(one, rotation(kY, 3.0f * kQuarter), 0.5f);
  const float r = std::sqrt(0.5f);
  EXPECT_TRUE(approx(apply(matrixOf(halfway), kX), D3DXVECTOR3(r, 0.0f, r)));

  D3DXQUATERNION aliased = one;
  EXPECT_TRUE(approx(*D3DXQuaternionSlerp(&aliased, &aliased, &turn, 0.5f), rotation(kY, kQuarter * 0.5f)));
}

TEST(QuaternionSlerp, NearlyParallelInputsStayFiniteAndUnit) {
  const D3DXQUATERNION one(0, 0, 0, 1);
  D3DXQUATERNION skew(0.3f, -0.5f, 0.1f, 0.8f);
  D3DXQuaternionNormalize(&skew, &skew);
  const D3DXQUATERNION cases[][2] = {
      {one, rotation(kZ, 2e-4f)},  // the dot rounds to 1
      {skew, skew},                // the dot may round above 1
      {skew, -skew},               // the same rotation from the other side
  };
  for (const auto& pair : cases) {
    for (float t : {0.0f, 0.25f, 0.5f, 1.0f}) {
      const D3DXQUATERNION q = slerp(pair[0], pair[1], t);
      for (float component : {q.x, q.y, q.z, q.w}) ASSERT_TRUE(std::isfinite(component));
      EXPECT_NEAR(D3DXQuaternionLength(&q), 1.0f, 1e-6f);
      EXPECT_NEAR(std::fabs(D3DXQuaternionDot(&q, &pair[0])), 1.0f, 1e-6f);
    }
  }
  const D3DXQUATERNION tiny = slerp(one, rotation(kZ, 2e-4f), 0.5f);
  EXPECT_NEAR(tiny.z, std::sin(5e-5f), 1e-7f);
}

TEST(QuaternionMultiply, AppliesTheFirstRotationFirstLikeMatrices) {
  const D3DXQUATERNION a = rotation(kX, kQuarter);  // y -> z
  const D3DXQUATERNION b = rotation(kY, kQuarter);  // z -> x
  D3DXQUATERNION ab, ba;
  D3DXQuaternionMultiply(&ab, &a, &b);
  D3DXQuaternionMultiply(&ba, &b, &a);
  EXPECT_TRUE(approx(apply(matrixOf(ab), kY), kX));
  EXPECT_TRUE(approx(apply(matrixOf(ba), kY), kZ));
  EXPECT_TRUE(approx(matrixOf(ab), matrixOf(a) * matrixOf(b)));
  EXPECT_TRUE(approx(a * b, ab, 0.0f));

  D3DXQUATERNION left = a, right = b;
  EXPECT_TRUE(approx(*D3DXQuaternionMultiply(&left, &left, &b), ab, 0.0f));
  EXPECT_TRUE(approx(*D3DXQuaternionMultiply(&right, &a, &right), ab, 0.0f));
}

TEST(QuaternionMatrix, RoundTripsAndAgreesWithAxisAngleMatrices) {
  const struct {
    D3DXVECTOR3 axis;
    float angle;
  } cases[] = {
      {kX, D3DX_PI}, {kY, D3DX_PI}, {kZ, D3DX_PI},  // trace -1: the other branches
      {D3DXVECTOR3(1, 1, 0), D3DX_PI}, {D3DXVECTOR3(1, -2, 3), 0.4f}, {D3DXVECTOR3(0.2f, 0.9f, -0.4f), 2.5f},
      {D3DXVECTOR3(-3, 1, 1), -2.9f}, {kX, 0.0f},
  };
  for (const auto& c : cases) {
    const D3DXQUATERNION q = rotation(c.axis, c.angle);
    D3DXMATRIX byAxis;
    D3DXMatrixRotationAxis(&byAxis, &c.axis, c.angle);
    EXPECT_TRUE(approx(matrixOf(q), byAxis));

    D3DXQUATERNION back;
    D3DXQuaternionRotationMatrix(&back, &byAxis);
    EXPECT_NEAR(D3DXQuaternionLength(&back), 1.0f, 1e-5f);
    EXPECT_NEAR(std::fabs(D3DXQuaternionDot(&back, &q)), 1.0f, 1e-5f) << c.angle;
  }
}

TEST(QuaternionYawPitchRoll, RollThenPitchThenYaw) {
  D3DXMATRIX m;
  EXPECT_TRUE(approx(apply(*D3DXMatrixRotationYawPitchRoll(&m, kQuarter, 0, 0), kX), D3DXVECTOR3(0, 0, -1)));
  EXPECT_TRUE(approx(apply(*D3DXMatrixRotationYawPitchRoll(&m, 0, kQuarter, 0), kY), kZ));
  EXPECT_TRUE(approx(apply(*D3DXMatrixRotationYawPitchRoll(&m, 0, 0, kQuarter), kX), kY));
  // Pitch takes y to z, then yaw takes z to x.
  EXPECT_TRUE(approx(apply(*D3DXMatrixRotationYawPitchRoll(&m, kQuarter, kQuarter, 0), kY), kX));

  const float yaw = 0.3f, pitch = -1.2f, roll = 2.0f;
  D3DXMATRIX rz, rx, ry;
  D3DXMatrixRotationZ(&rz, roll);
  D3DXMatrixRotationX(&rx, pitch);
  D3DXMatrixRotationY(&ry, yaw);
  D3DXMatrixRotationYawPitchRoll(&m, yaw, pitch, roll);
  EXPECT_TRUE(approx(m, rz * rx * ry));

  D3DXQUATERNION q;
  D3DXQuaternionRotationYawPitchRoll(&q, yaw, pitch, roll);
  EXPECT_NEAR(D3DXQuaternionLength(&q), 1.0f, 1e-6f);
  EXPECT_TRUE(approx(matrixOf(q), m));
}

TEST(QuaternionBasics, InverseConjugateNormaliseAndAxisAngle) {
  const D3DXQUATERNION p(1.0f, 2.0f, 3.0f, 4.0f);
  EXPECT_NEAR(D3DXQuaternionLength(&p), std::sqrt(30.0f), 1e-6f);
  EXPECT_FALSE(D3DXQuaternionIsIdentity(&p));
  D3DXQUATERNION conjugate, inverse, product, unit;
  EXPECT_TRUE(approx(*D3DXQuaternionConjugate(&conjugate, &p), D3DXQUATERNION(-1, -2, -3, 4), 0.0f));
  D3DXQuaternionInverse(&inverse, &p);
  EXPECT_TRUE(approx(*D3DXQuaternionMultiply(&product, &p, &inverse), D3DXQUATERNION(0, 0, 0, 1)));
  EXPECT_TRUE(approx(*D3DXQuaternionMultiply(&product, &inverse, &p), D3DXQUATERNION(0, 0, 0, 1)));
  D3DXQuaternionNormalize(&unit, &p);
  EXPECT_NEAR(D3DXQuaternionLength(&unit), 1.0f, 1e-6f);
  EXPECT_TRUE(approx(*D3DXQuaternionInverse(&inverse, &unit), *D3DXQuaternionConjugate(&conjugate, &unit)));

  // The axis need not be unit; the result is.
  const D3DXQUATERNION q = rotation(D3DXVECTOR3(0.0f, 3.0f, 0.0f), 1.2f);
  EXPECT_TRUE(approx(q, D3DXQUATERNION(0.0f, std::sin(0.6f), 0.0f, std::cos(0.6f))));
  D3DXVECTOR3 axis;
  float angle = 0.0f;
  D3DXQuaternionToAxisAngle(&q, &axis, &angle);
  EXPECT_NEAR(angle, 1.2f, 1e-5f);
  EXPECT_TRUE(approx(*D3DXVec3Normalize(&axis, &axis), kY));
}

}  // namespace
