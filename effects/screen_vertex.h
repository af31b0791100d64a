#pragma once

#include <d3d9.h>

// The vertex every effect draws: a pre-transformed corner of the 640 x 480
// reference frame with a colour and one pair of texture coordinates.
struct ScreenVertex {
  float x, y, z, rhw;
  D3DCOLOR color;
  float u, v;
};
static_assert(sizeof(ScreenVertex) == 28, "the effects' vertex is 28 bytes");

constexpr DWORD kScreenVertexFvf = D3DFVF_XYZRHW | D3DFVF_DIFFUSE | D3DFVF_TEX1;
static_assert(kScreenVertexFvf == 0x144, "the effects' vertex format");

// Draws an effect's quad, four vertices in strip order, on the current target.
void drawScreenQuad(const ScreenVertex quad[4]);
