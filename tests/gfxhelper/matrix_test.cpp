#include <gtest/gtest.h>

#include <random>

#include "gfxhelper/d3dx9math.h"
#include "tests/gfxhelper/math_expect.h"

namespace {

using namespace tstest;

D3DXMATRIX rotationAxis(D3DXVECTOR3 axis, float angle) {
  D3DXMATRIX m;
  return *D3DXMatrixRotationAxis(&m, &axis, angle);
}

TEST(MatrixProduct, ReadsLeftToRightAndAllowsAliasing) {
  const D3DXMATRIX t = translation(1.0f, 2.0f, 3.0f);
  D3DXMATRIX r, tr, rt;
  D3DXMatrixRotationZ(&r, kQuarter);  // (x, y) -> (-y, x)
  D3DXMatrixMultiply(&tr, &t, &r);
  D3DXMatrixMultiply(&rt, &r, &t);
  EXPECT_TRUE(approx(apply(tr, kX), D3DXVECTOR3(-2.0f, 2.0f, 3.0f)));  // moved to (2,2,3), then turned
  EXPECT_TRUE(approx(apply(rt, kX), D3DXVECTOR3(1.0f, 3.0f, 3.0f)));   // turned to (0,1,0), then moved
  EXPECT_TRUE(approx(t * r, tr, 0.0f));

  D3DXMATRIX a = t, b = r, square = t;
  EXPECT_TRUE(approx(*D3DXMatrixMultiply(&a, &a, &r), tr, 0.0f));
  EXPECT_TRUE(approx(*D3DXMatrixMultiply(&b, &t, &b), tr, 0.0f));
  EXPECT_TRUE(approx(*D3DXMatrixMultiply(&square, &square, &square), translation(2.0f, 4.0f, 6.0f), 0.0f));

  D3DXMATRIX transposed = tr;
  D3DXMatrixTranspose(&transposed, &transposed);
  for (unsigned int i = 0; i < 16; ++i) EXPECT_EQ(transposed(i / 4, i % 4), tr(i % 4, i / 4));
}

TEST(MatrixInverse, UndoesAffineAndProjectiveMatrices) {
  // Affine: scale, rotation about a skew axis, translation; det = product of scales.
  const D3DXMATRIX affine = scaling(2.0f, 0.5f, 3.0f) * rotationAxis(D3DXVECTOR3(1.0f, 2.0f, -0.5f), 0.7f) *
                            translation(4.0f, -3.0f, 10.0f);
  // A full matrix, kept well conditioned by a strong diagonal.
  std::mt19937 random(20240611u);
  std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
  D3DXMATRIX general, perspective;
  for (unsigned int i = 0; i < 16; ++i) general(i / 4, i % 4) = unit(random) + (i % 5 == 0 ? 4.0f : 0.0f);
  D3DXMatrixPerspectiveFovRH(&perspective, 1.0f, 1.5f, 0.1f, 500.0f);

  for (const D3DXMATRIX& m : {affine, general, perspective}) {
    D3DXMATRIX inverse;
    ASSERT_EQ(D3DXMatrixInverse(&inverse, nullptr, &m), &inverse);
    EXPECT_TRUE(approx(m * inverse, identity(), 2e-5f));
    EXPECT_TRUE(approx(inverse * m, identity(), 2e-5f));
  }
  float det = 0.0f;
  D3DXMATRIX inverse;
  D3DXMatrixInverse(&inverse, &det, &affine);
  EXPECT_NEAR(det, 3.0f, 1e-5f);
  EXPECT_NEAR(D3DXMatrixDeterminant(&affine), 3.0f, 1e-5f);

  // Known inverses, with out aliasing the input.
  D3DXMATRIX t = translation(1.0f, -2.0f, 3.0f), s = scaling(2.0f, 4.0f, 8.0f);
  EXPECT_TRUE(approx(*D3DXMatrixInverse(&t, nullptr, &t), translation(-1.0f, 2.0f, -3.0f), 0.0f));
  EXPECT_TRUE(approx(*D3DXMatrixInverse(&s, nullptr, &s), scaling(0.5f, 0.25f, 0.125f), 0.0f));
}

TEST(MatrixInverse, SingularGivesNullAndLeavesOutputAlone) {
  const D3DXMATRIX twoEqualRows(1, 2, 3, 4, 5, 6, 7, 8, 1, 2, 3, 4, 0, 0, 0, 1);
  // Third row = 2 * first + second, in values that floats hold exactly.
  const D3DXMATRIX dependentRows(0.5f, 1.5f, -2, 0, 1, 0.25f, 3, 0, 2, 3.25f, -1, 0, 1, 2, 3, 1);
  // Rows 0 and 2 equal: the expansion's rounding leaves a tiny non-zero determinant.
  const D3DXMATRIX roundedToTiny(0.3f, -1.7f, 2.9f, 0.61f, 1.3f, 0.77f, -0.4f, 2.2f, 0.3f, -1.7f, 2.9f, 0.61f,
                                 -0.9f, 1.1f, 0.13f, 1.0f);
  const D3DXMATRIX sentinel = translation(7.0f, 7.0f, 7.0f);
  for (const D3DXMATRIX& m : {scaling(1.0f, 0.0f, 1.0f), twoEqualRows, dependentRows, roundedToTiny, D3DXMATRIX()}) {
    D3DXMATRIX out = sentinel;
    float det = 1.0f;
    EXPECT_EQ(D3DXMatrixInverse(&out, &det, &m), nullptr);
    EXPECT_EQ(out, sentinel);
    EXPECT_NEAR(det, 0.0f, 1e-6f);
  }
}

TEST(ViewMatrix, RightHandedCameraLooksAlongMinusZ) {
  const D3DXVECTOR3 eye(0.0f, 0.0f, 5.0f), origin(0.0f, 0.0f, 0.0f);
  D3DXMATRIX view;
  D3DXMatrixLookAtRH(&view, &eye, &origin, &kY);
  EXPECT_TRUE(approx(apply(view, origin), D3DXVECTOR3(0.0f, 0.0f, -5.0f)));
  EXPECT_TRUE(approx(apply(view, eye), origin));
  EXPECT_TRUE(approx(apply(view, D3DXVECTOR3(1.0f, 1.0f, 0.0f)), D3DXVECTOR3(1.0f, 1.0f, -5.0f)));

  // The engine's cameras take +Z as up: from (0,-10,0), +X is right and +Z up on screen.
  const D3DXVECTOR3 south(0.0f, -10.0f, 0.0f);
  D3DXMatrixLookAtRH(&view, &south, &origin, &kZ);
  EXPECT_TRUE(approx(apply(view, D3DXVECTOR3(2.0f, 0.0f, 3.0f)), D3DXVECTOR3(2.0f, 3.0f, -10.0f)));

  // Any eye: the target lands on -Z at its distance, and the rotation is orthonormal.
  const D3DXVECTOR3 eye3(3.0f, 4.0f, 5.0f), at3(1.0f, -2.0f, 0.0f), gap = eye3 - at3;
  D3DXMatrixLookAtRH(&view, &eye3, &at3, &kY);
  EXPECT_TRUE(approx(apply(view, at3), D3DXVECTOR3(0.0f, 0.0f, -D3DXVec3Length(&gap))));
  D3DXMATRIX rotation = view, transposed;
  rotation._41 = rotation._42 = rotation._43 = 0.0f;
  EXPECT_TRUE(approx(rotation * *D3DXMatrixTranspose(&transposed, &rotation), identity()));

  D3DXMatrixLookAtLH(&view, &eye, &origin, &kY);  // looks along +Z: +X now maps to -X
  EXPECT_TRUE(approx(apply(view, kX), D3DXVECTOR3(-1.0f, 0.0f, 5.0f)));
}

TEST(ProjectionMatrix, MapsNearToDepthZeroAndFarToOne) {
  // 90 degrees: cot 45 = 1; aspect 2 halves x. Depth terms: 101 / (1 - 101) = -1.01.
  D3DXMATRIX rh, lh, ortho;
  D3DXMatrixPerspectiveFovRH(&rh, kQuarter, 2.0f, 1.0f, 101.0f);
  EXPECT_TRUE(approx(rh, D3DXMATRIX(0.5f, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1.01f, -1, 0, 0, -1.01f, 0)));
  EXPECT_TRUE(approx(apply(rh, D3DXVECTOR3(0.0f, 0.0f, -1.0f)), D3DXVECTOR3(0.0f, 0.0f, 0.0f)));
  EXPECT_TRUE(approx(apply(rh, D3DXVECTOR3(0.0f, 0.0f, -101.0f)), D3DXVECTOR3(0.0f, 0.0f, 1.0f)));
  // A corner of the view at distance 4: x = 2 * 4 * tan 45, y = 4 * tan 45.
  const D3DXVECTOR3 corner = apply(rh, D3DXVECTOR3(8.0f, -4.0f, -4.0f));
  EXPECT_TRUE(approx(corner, D3DXVECTOR3(1.0f, -1.0f, (4.04f - 1.01f) / 4.0f)));

  D3DXMatrixPerspectiveFovLH(&lh, kQuarter, 2.0f, 1.0f, 101.0f);
  EXPECT_TRUE(approx(apply(lh, D3DXVECTOR3(0.0f, 0.0f, 1.0f)), D3DXVECTOR3(0.0f, 0.0f, 0.0f)));
  EXPECT_TRUE(approx(apply(lh, D3DXVECTOR3(0.0f, 0.0f, 101.0f)), D3DXVECTOR3(0.0f, 0.0f, 1.0f)));

  D3DXMatrixOrthoRH(&ortho, 4.0f, 2.0f, 1.0f, 11.0f);
  EXPECT_TRUE(approx(apply(ortho, D3DXVECTOR3(2.0f, 1.0f, -1.0f)), D3DXVECTOR3(1.0f, 1.0f, 0.0f)));
  EXPECT_TRUE(approx(apply(ortho, D3DXVECTOR3(-2.0f, -1.0f, -11.0f)), D3DXVECTOR3(-1.0f, -1.0f, 1.0f)));
  D3DXMatrixOrthoOffCenterRH(&ortho, 0.0f, 640.0f, 480.0f, 0.0f, 0.0f, 1.0f);  // pixels, origin top left
  EXPECT_TRUE(approx(apply(ortho, D3DXVECTOR3(0.0f, 0.0f, 0.0f)), D3DXVECTOR3(-1.0f, 1.0f, 0.0f)));
  EXPECT_TRUE(approx(apply(ortho, D3DXVECTOR3(640.0f, 480.0f, -1.0f)), D3DXVECTOR3(1.0f, -1.0f, 1.0f)));
}

TEST(RotationMatrix, FollowsTheRightHandRule) {
  D3DXMATRIX m;
  EXPECT_TRUE(approx(apply(*D3DXMatrixRotationX(&m, kQuarter), kY), kZ));
  EXPECT_TRUE(approx(apply(*D3DXMatrixRotationY(&m, kQuarter), kZ), kX));
  EXPECT_TRUE(approx(apply(*D3DXMatrixRotationZ(&m, kQuarter), kX), kY));
  // The axis is normalised; a third of a turn about (1,1,1) cycles the axes.
  EXPECT_TRUE(approx(rotationAxis(D3DXVECTOR3(0, 0, 2), 0.3f), *D3DXMatrixRotationZ(&m, 0.3f)));
  const D3DXMATRIX cycle = rotationAxis(D3DXVECTOR3(1, 1, 1), 2.0f * D3DX_PI / 3.0f);
  EXPECT_TRUE(approx(apply(cycle, kX), kY));
  EXPECT_TRUE(approx(apply(cycle, kY), kZ));
}

TEST(ReflectMatrix, MirrorsInAPlaneFromPointAndNormal) {
  D3DXPLANE plane;
  const D3DXVECTOR3 point(0.0f, 2.0f, 0.0f), normal(0.0f, 3.0f, 0.0f);
  EXPECT_TRUE(approx(*D3DXPlaneFromPointNormal(&plane, &point, &normal), D3DXPLANE(0, 3, 0, -6), 0.0f));

  D3DXMATRIX mirror;
  D3DXMatrixReflect(&mirror, &plane);  // y = 2, given with a normal of length 3
  EXPECT_TRUE(approx(apply(mirror, D3DXVECTOR3(1.0f, 5.0f, 7.0f)), D3DXVECTOR3(1.0f, -1.0f, 7.0f)));
  EXPECT_TRUE(approx(apply(mirror, D3DXVECTOR3(4.0f, 2.0f, -1.0f)), D3DXVECTOR3(4.0f, 2.0f, -1.0f)));
  EXPECT_TRUE(approx(mirror * mirror, identity()));
  EXPECT_NEAR(D3DXMatrixDeterminant(&mirror), -1.0f, 1e-6f);

  const D3DXPLANE diagonal(1.0f, 1.0f, 0.0f, 0.0f);
  EXPECT_TRUE(approx(apply(*D3DXMatrixReflect(&mirror, &diagonal), kX), D3DXVECTOR3(0.0f, -1.0f, 0.0f)));
}

TEST(MatrixDecompose, RecoversScaleRotationAndTranslation) {
  D3DXQUATERNION rotation, found;
  const D3DXVECTOR3 axis(0.3f, -1.0f, 0.6f);
  D3DXQuaternionRotationAxis(&rotation, &axis, 1.1f);
  D3DXMATRIX r;
  D3DXMatrixRotationQuaternion(&r, &rotation);
  const D3DXMATRIX m = scaling(2.0f, 3.0f, 4.0f) * r * translation(5.0f, 6.0f, 7.0f);

  D3DXVECTOR3 scale, offset;
  EXPECT_GE(D3DXMatrixDecompose(&scale, &found, &offset, &m), 0);
  EXPECT_TRUE(approx(scale, D3DXVECTOR3(2.0f, 3.0f, 4.0f)));
  EXPECT_TRUE(approx(offset, D3DXVECTOR3(5.0f, 6.0f, 7.0f)));
  EXPECT_NEAR(std::fabs(D3DXQuaternionDot(&found, &rotation)), 1.0f, 1e-5f);

  // A mirror goes into the x scale, and the parts still recompose the matrix.
  const D3DXMATRIX mirrored = scaling(2.0f, -3.0f, 4.0f) * r * translation(5.0f, 6.0f, 7.0f);
  EXPECT_GE(D3DXMatrixDecompose(&scale, &found, &offset, &mirrored), 0);
  EXPECT_TRUE(approx(scale, D3DXVECTOR3(-2.0f, 3.0f, 4.0f)));
  D3DXMatrixRotationQuaternion(&r, &found);
  EXPECT_TRUE(approx(scaling(scale.x, scale.y, scale.z) * r * translation(offset.x, offset.y, offset.z), mirrored));

  const D3DXMATRIX flat = scaling(1.0f, 0.0f, 1.0f);
  EXPECT_LT(D3DXMatrixDecompose(&scale, &found, &offset, &flat), 0);
}

}  // namespace
