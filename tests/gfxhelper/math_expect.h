#pragma once

#include <gtest/gtest.h>

#include <cmath>

#include "gfxhelper/d3dx9math.h"

// Shared helpers of the maths tests: element-wise comparison with a tolerance.
namespace tstest {

template <class T>
::testing::AssertionResult approx(const T& actual, const T& expected, float tolerance = 1e-5f) {
  constexpr int count = static_cast<int>(sizeof(T) / sizeof(float));
  const float* a = actual;
  const float* e = expected;
  for (int i = 0; i < count; ++i) {
    if (!(std::fabs(a[i] - e[i]) <= tolerance)) {
      ::testing::AssertionResult failure = ::testing::AssertionFailure();
      failure << "element " << i << " differs\n actual:  ";
      for (int j = 0; j < count; ++j) failure << a[j] << ' ';
      failure << "\n expected: ";
      for (int j = 0; j < count; ++j) failure << e[j] << ' ';
      return failure;
    }
  }
  return ::testing::AssertionSuccess();
}

inline D3DXMATRIX identity() { D3DXMATRIX m; return *D3DXMatrixIdentity(&m); }
inline D3DXMATRIX translation(float x, float y, float z) { D3DXMATRIX m; return *D3DXMatrixTranslation(&m, x, y, z); }
inline D3DXMATRIX scaling(float x, float y, float z) { D3DXMATRIX m; return *D3DXMatrixScaling(&m, x, y, z); }

// A point through a matrix, with the divide by w.
inline D3DXVECTOR3 apply(const D3DXMATRIX& m, const D3DXVECTOR3& v) {
  D3DXVECTOR3 out;
  return *D3DXVec3TransformCoord(&out, &v, &m);
}

constexpr float kQuarter = D3DX_PI * 0.5f;
const D3DXVECTOR3 kX(1, 0, 0), kY(0, 1, 0), kZ(0, 0, 1);

}  // namespace tstest
