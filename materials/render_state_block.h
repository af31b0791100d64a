#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>

#include "io/stream.h"
#include "materials/render_enums.h"

namespace ts3d {

// The render states that matter to a draw, as a plain value. The mask names the groups of
// fields that count; the others keep their defaults and are ignored when the block is
// merged, compared or stored. Drawing code names the groups it wants and sets only the
// fields that differ from the defaults.
class RenderStateBlock {
 public:
  // Group bits of groupMask.
  static constexpr uint32_t VertexBlendingGroup = 0x01;
  static constexpr uint32_t BlendingGroup = 0x02;
  static constexpr uint32_t DepthGroup = 0x04;
  static constexpr uint32_t StencilGroup = 0x08;
  static constexpr uint32_t LightingGroup = 0x10;
  static constexpr uint32_t RasteriserGroup = 0x20;
  static constexpr uint32_t AllGroups = 0xffff;

  // Every field takes its default whatever the mask.
  explicit RenderStateBlock(uint32_t groupMask);
  virtual ~RenderStateBlock() = default;
  RenderStateBlock(const RenderStateBlock&) = default;
  RenderStateBlock& operator=(const RenderStateBlock&) = default;

  // The body has no chunk header of its own: a material writes it inside its chunk. It is
  // the mask, then the fields of each group present. load always returns true; a short
  // body leaves the stream not good for the caller to see.
  virtual bool load(tsio::InStream& in);
  virtual void store(tsio::OutStream& out) const;

  // Sets srcBlend and destBlend together: 0 opaque, 1 additive, 2 alpha blended, 3 alpha
  // additive. Any other preset changes nothing.
  void setBlendPreset(int32_t preset);

  // The block of all groups at their defaults, shared, built on first use.
  static const RenderStateBlock& defaultBlock();

  bool zEnable = true;
  bool alphaBlendEnable = false;
  bool alphaTestEnable = false;
  bool lighting = true;
  bool specularEnable = false;
  bool localViewer = false;
  bool normalizeNormals = false;
  bool indexedVertexBlend = false;
  bool softwareVertexProcessing = false;
  bool stencilEnable = false;
  bool twoSidedStencil = false;
  bool clipping = false;
  int32_t depthMode = DepthTestWrite;
  int32_t destBlend = BlendZero;
  int32_t srcBlend = BlendOne;
  int32_t cullMode = CullClockwise;
  int32_t fillMode = FillSolid;
  int32_t vertexBlend = VertexBlendDisable;
  int32_t alphaFunc = CompareAlways;
  uint8_t alphaRef = 0;
  int32_t stencilFail = StencilKeep;
  int32_t stencilZFail = StencilKeep;
  int32_t stencilPass = StencilKeep;
  int32_t stencilFunc = CompareAlways;
  uint32_t stencilMask = 0xffffffff;
  uint32_t stencilWriteMask = 0xffffffff;
  uint32_t stencilRef = 0;
  int32_t ccwStencilFail = StencilKeep;
  int32_t ccwStencilZFail = StencilKeep;
  int32_t ccwStencilPass = StencilKeep;
  int32_t ccwStencilFunc = CompareAlways;
  // Red, green, blue, alpha in the low four bits; higher bits never reach the device.
  uint32_t colorWriteMask = 15;
  uint32_t groupMask;
};

// Copies the groups of source into dest and adds their bits to its mask. Of the rasteriser
// group only cullMode and fillMode travel: clipping reaches the device once, at start.
void merge(RenderStateBlock& dest, const RenderStateBlock& source);

// Sends each field of next's groups that differs from old, mapped to its device constant,
// group by group: blending, depth, rasteriser, lighting, vertex blending, stencil.
void sendDifference(IDirect3DDevice9* device, const RenderStateBlock& next, const RenderStateBlock& old);

// Sends every field of the block's groups in the same order, fillMode before cullMode: the
// device's starting state, when nothing is known of what it holds.
void sendFull(IDirect3DDevice9* device, const RenderStateBlock& block);

}  // namespace ts3d
