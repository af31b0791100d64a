#pragma once

#include <d3d9.h>

namespace ts3d {

// A pre-transformed screen vertex with a colour and no texture: clears, lines and flat
// full-screen quads.
struct ColorVertex {
  static constexpr DWORD kFvf = D3DFVF_XYZRHW | D3DFVF_DIFFUSE;
  float x, y, z, rhw;
  D3DCOLOR color;
};
static_assert(sizeof(ColorVertex) == 20, "screen vertex with colour");

// A world-space vertex with a colour: lines in the scene and shadow volumes' walls.
struct LineVertex {
  static constexpr DWORD kFvf = D3DFVF_XYZ | D3DFVF_DIFFUSE;
  float x, y, z;
  D3DCOLOR color;
};
static_assert(sizeof(LineVertex) == 16, "world vertex with colour");

}  // namespace ts3d
