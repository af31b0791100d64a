#pragma once

#include <d3d9.h>

namespace ts3d {

// A pre-transformed screen vertex with a colour and no texture: clears, lines and flat
// full-screen quads.
struct ColorVertex {
  float x, y, z, rhw;
  D3DCOLOR color;
};
static_assert(sizeof(ColorVertex) == 20, "screen vertex with colour");

constexpr DWORD kColorVertexFvf = D3DFVF_XYZRHW | D3DFVF_DIFFUSE;

}  // namespace ts3d
