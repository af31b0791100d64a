// Drawing through the context: the dynamic rings and the helpers built on them.
#include "context/context.h"

#include "geometry/oriented_box.h"

namespace ts3d {

void Context::useFvf(DWORD fvf) {
  if (!effectActive) device->SetVertexShader(nullptr);
  device->SetFVF(fvf);
}

void* Context::lockDynamicVertices(DWORD fvf, uint32_t stride, uint32_t count) {
  if (stride == 0) return nullptr;
  // The first whole vertex, in the new stride, behind the last lock.
  const uint32_t from = (vertexRing.end() + stride) / stride * stride;
  void* data = vertexRing.lock(stride * count, from, [this](IDirect3DVertexBuffer9** made) {
    return device->CreateVertexBuffer(VertexRing::kBytes, D3DUSAGE_WRITEONLY | D3DUSAGE_DYNAMIC, 0, D3DPOOL_DEFAULT,
                                      made, nullptr);
  });
  if (data) {
    ringFvf = fvf;
    ringStride = stride;
  }
  return data;
}

void Context::unlockDynamicVertices() { vertexRing.unlock(); }

void Context::drawDynamicVertices(D3DPRIMITIVETYPE type, uint32_t start, uint32_t primitiveCount) {
  useFvf(ringFvf);
  device->SetStreamSource(0, vertexRing.get(), vertexRing.offset(), ringStride);
  device->DrawPrimitive(type, start, primitiveCount);
}

uint16_t* Context::lockDynamicIndices(uint32_t count) {
  return static_cast<uint16_t*>(indexRing.lock(count * 2, indexRing.end(), [this](IDirect3DIndexBuffer9** made) {
    return device->CreateIndexBuffer(IndexRing::kBytes, D3DUSAGE_WRITEONLY | D3DUSAGE_DYNAMIC, D3DFMT_INDEX16,
                                     D3DPOOL_DEFAULT, made, nullptr);
  }));
}

void Context::unlockDynamicIndices() { indexRing.unlock(); }

void Context::drawDynamicIndexed(D3DPRIMITIVETYPE type, uint32_t start, uint32_t primitiveCount) {
  useFvf(ringFvf);
  device->SetStreamSource(0, vertexRing.get(), vertexRing.offset(), ringStride);
  device->SetIndices(indexRing.get());
  device->DrawIndexedPrimitive(type, 0, 0, vertexRing.size() / ringStride, indexRing.offset() / 2 + start,
                               primitiveCount);
}

void Context::clear(uint32_t flags, bool direct) {
  if (flags == 0) return;
  const D3DCOLOR packed = packColor(clearColor);
  if (direct) {
    DWORD mask = 0;
    if (flags & ClearTarget) mask |= D3DCLEAR_TARGET;
    if (flags & ClearDepth) mask |= D3DCLEAR_ZBUFFER;
    if ((flags & ClearStencil) && capabilities.stencilBits != 0) mask |= D3DCLEAR_STENCIL;
    if (mask) device->Clear(0, nullptr, mask, packed, 1.0f, 0);
    return;
  }
  const D3DVIEWPORT9& v = currentTarget->viewport;
  const float left = static_cast<float>(v.X), top = static_cast<float>(v.Y);
  const float right = left + static_cast<float>(v.Width), bottom = top + static_cast<float>(v.Height);
  auto* quad = static_cast<ColorVertex*>(lockDynamicVertices(ColorVertex::kFvf, sizeof(ColorVertex), 4));
  if (!quad) return;
  // Counter-clockwise on screen, so that the engine's usual culling of clockwise
  // faces keeps it whatever the rasteriser state.
  quad[0] = {left, top, 1.0f, 0.0f, packed};
  quad[1] = {left, bottom, 1.0f, 0.0f, packed};
  quad[2] = {right, top, 1.0f, 0.0f, packed};
  quad[3] = {right, bottom, 1.0f, 0.0f, packed};
  unlockDynamicVertices();
  RenderStateBlock block(RenderStateBlock::BlendingGroup | RenderStateBlock::DepthGroup);
  if (flags & ClearAlphaOnly)
    block.colorWriteMask = D3DCOLORWRITEENABLE_ALPHA;
  else if (!(flags & ClearTarget))
    block.colorWriteMask = 0;
  if (flags & ClearDepth)
    block.depthMode = DepthAlwaysWrite;
  else
    block.zEnable = false;
  applyRenderState(block);
  drawDynamicVertices(D3DPT_TRIANGLESTRIP, 0, 2);
}

void Context::drawLine(const float* from, const float* to, const color& colour) {
  const D3DCOLOR packed = packColor(colour);
  auto* line = static_cast<ColorVertex*>(lockDynamicVertices(ColorVertex::kFvf, sizeof(ColorVertex), 2));
  if (!line) return;
  line[0] = {from[0], from[1], 1.0f, 1.0f, packed};
  line[1] = {to[0], to[1], 1.0f, 1.0f, packed};
  unlockDynamicVertices();
  RenderStateBlock block(0xffff);
  block.zEnable = false;
  block.lighting = false;
  applyRenderState(block);
  resetTextureStages();
  drawDynamicVertices(D3DPT_LINELIST, 0, 1);
}

void Context::drawWireBox(const OrientedBox& box, const color& colour) {
  const matrix previousWorld = transforms.world;
  setWorldMatrix(box.toWorld);
  const D3DCOLOR packed = packColor(colour);
  const float x = box.halfSize.x, y = box.halfSize.y, z = box.halfSize.z;
  auto* v = static_cast<LineVertex*>(lockDynamicVertices(LineVertex::kFvf, sizeof(LineVertex), 18));
  if (v) {
    const float corners[4][2] = {{-x, -y}, {x, -y}, {x, y}, {-x, y}};
    for (int i = 0; i < 5; ++i) v[i] = {corners[i % 4][0], corners[i % 4][1], -z, packed};
    for (int i = 0; i < 5; ++i) v[5 + i] = {corners[i % 4][0], corners[i % 4][1], z, packed};
    for (int i = 0; i < 4; ++i) {
      v[10 + 2 * i] = {corners[i][0], corners[i][1], -z, packed};
      v[11 + 2 * i] = {corners[i][0], corners[i][1], z, packed};
    }
    unlockDynamicVertices();
    static const RenderStateBlock unlit = [] {
      RenderStateBlock block(0xffff);
      block.lighting = false;
      return block;
    }();
    applyRenderState(unlit);
    resetTextureStages();
    drawDynamicVertices(D3DPT_LINESTRIP, 0, 4);
    drawDynamicVertices(D3DPT_LINESTRIP, 5, 4);
    drawDynamicVertices(D3DPT_LINELIST, 10, 4);
  }
  setWorldMatrix(previousWorld);
}

}  // namespace ts3d
