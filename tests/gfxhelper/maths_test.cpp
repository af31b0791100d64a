// The maths that the scene leans on, against values worked out by hand.
#include <gtest/gtest.h>

#include "tests/gfxhelper/math_expect.h"

namespace {

using tstest::approx;

constexpr float kQuarter = D3DX_PI * 0.5f;
const D3DXVECTOR3 kX(1, 0, 0), kY(0, 1, 0);

D3DXVECTOR3 apply(const D3DXMATRIX& m, const D3DXVECTOR3& v) { D3DXVECTOR3 o; return *D3DXVec3TransformCoord(&o, &v, &m); }
D3DXQUATERNION rotation(const D3DXVECTOR3& axis, float a) { D3DXQUATERNION o; return *D3DXQuaternionRotationAxis(&o, &axis, a); }
D3DXMATRIX matrixOf(const D3DXQUATERNION& q) { D3DXMATRIX o; return *D3DXMatrixRotationQuaternion(&o, &q); }

TEST(Maths, ProductsApplyTheFirstTransformFirst) {
  D3DXMATRIX turn, inverse;
  EXPECT_TRUE(approx(apply(tstest::translation(1, 2, 3) * *D3DXMatrixRotationZ(&turn, kQuarter), kX), D3DXVECTOR3(-2, 2, 3)));
  const D3DXMATRIX full(4, 1, 0, 2, 1, 5, 1, 0, 0, 1, 6, 1, 1, 0, 1, 7), singular = tstest::scaling(1, 0, 1);
  EXPECT_TRUE(approx(full * *D3DXMatrixInverse(&inverse, nullptr, &full), tstest::scaling(1, 1, 1)));
  EXPECT_EQ(D3DXMatrixInverse(&inverse, nullptr, &singular), nullptr);
  // Hamilton's product q p: w 32 - 38, v 8 (1,2,3) + 4 (5,6,7) + (5,6,7) x (1,2,3).
  const D3DXQUATERNION p(1, 2, 3, 4), q(5, 6, 7, 8);
  D3DXQUATERNION product;
  EXPECT_TRUE(approx(*D3DXQuaternionMultiply(&product, &p, &q), D3DXQUATERNION(32, 32, 56, -6)));
  EXPECT_TRUE(approx(apply(matrixOf(rotation(kX, kQuarter) * rotation(kY, kQuarter)), kY), kX));
  // A half turn (trace -1) takes the other branch of the matrix-to-quaternion conversion.
  const D3DXMATRIX halfTurn = matrixOf(rotation(D3DXVECTOR3(1, 1, 0), D3DX_PI));
  EXPECT_TRUE(approx(matrixOf(*D3DXQuaternionRotationMatrix(&product, &halfTurn)), halfTurn));
}

}  // namespace
