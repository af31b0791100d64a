#pragma once

// The engine's value types are the helper library's maths types, so that they pass
// to the device and to the maths functions unchanged. Files store them field by
// field, so their layouts are fixed here.

#include "gfxhelper/d3dx9math.h"

namespace ts3d {

using vect3 = D3DXVECTOR3;   // x, y, z
using quat = D3DXQUATERNION;  // x, y, z, w; identity 0, 0, 0, 1
using color = D3DXCOLOR;      // r, g, b, a
using matrix = D3DXMATRIX;    // 16 floats row by row, translation in 12, 13, 14

static_assert(sizeof(vect3) == 12, "vect3 is three floats");
static_assert(sizeof(quat) == 16, "quat is four floats");
static_assert(sizeof(color) == 16, "color is four floats");
static_assert(sizeof(matrix) == 64, "matrix is sixteen floats");

}  // namespace ts3d
