#pragma once

#include <gtest/gtest.h>

#include <cmath>

#include "gfxhelper/d3dx9math.h"

// Shared helpers of the maths tests: element-wise comparison with a tolerance.
namespace tstest {

template <class T>
::testing::AssertionResult approx(const T& actual, const T& expected, float tolerance = 1e-5f) {
  const float* a = actual;
  const float* e = expected;
  for (size_t i = 0; i < sizeof(T) / sizeof(float); ++i)
    if (!(std::fabs(a[i] - e[i]) <= tolerance))
      return ::testing::AssertionFailure() << "element " << i << " is " << a[i] << ", not " << e[i];
  return ::testing::AssertionSuccess();
}

inline D3DXMATRIX translation(float x, float y, float z) { D3DXMATRIX m; return *D3DXMatrixTranslation(&m, x, y, z); }
inline D3DXMATRIX scaling(float x, float y, float z) { D3DXMATRIX m; return *D3DXMatrixScaling(&m, x, y, z); }

}  // namespace tstest
