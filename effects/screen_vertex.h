#pragma once

#include <d3d9.h>

// The reference frame that effects' positions are given in.
constexpr float kFrameWidth = 640.0f;
constexpr float kFrameHeight = 480.0f;

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

// A rectangle on the screen or in a texture.
struct ScreenRect {
  float left, top, right, bottom;
};

// Draws `count` primitives of `type` from screen vertices on the current target.
void drawScreenPrimitives(D3DPRIMITIVETYPE type, UINT count, const ScreenVertex* vertices);

// Draws an effect's quad, four vertices in strip order, on the current target.
void drawScreenQuad(const ScreenVertex quad[4]);

// The corners of `place` in reading order (top left, top right, bottom left, bottom
// right), showing `picture` of the texture, all in one colour.
void setPictureQuad(ScreenVertex quad[4], const ScreenRect& place, const ScreenRect& picture, D3DCOLOR color);
