#pragma once

#include "materials/render_state_block.h"
#include "materials/texture_stage_state_block.h"

// State blocks in which every field is away from its default, and neighbours that a body
// could swap differ: what the shadow tests send and the persistence rows store.
namespace tstest {

inline ts3d::RenderStateBlock everyRenderStateChanged() {
  using namespace ts3d;
  RenderStateBlock block(0x3f);
  block.alphaBlendEnable = block.alphaTestEnable = block.clipping = block.specularEnable = true;
  block.localViewer = block.normalizeNormals = block.indexedVertexBlend = block.softwareVertexProcessing = true;
  block.stencilEnable = block.twoSidedStencil = true;
  block.zEnable = block.lighting = false;
  block.destBlend = BlendInvSrcAlpha;
  block.srcBlend = BlendSrcAlpha;
  block.alphaFunc = CompareGreaterEqual;
  block.alphaRef = 0x80;
  block.colorWriteMask = 0x7;
  block.depthMode = DepthTestNoWrite;
  block.cullMode = CullNone;
  block.fillMode = FillWireframe;
  block.vertexBlend = VertexBlend2Weights;
  block.stencilFail = StencilZero;
  block.stencilZFail = StencilReplace;
  block.stencilPass = StencilIncrSat;
  block.stencilFunc = CompareEqual;
  block.stencilMask = 0xf0;
  block.stencilWriteMask = 0x0f;
  block.stencilRef = 5;
  block.ccwStencilFail = StencilDecrSat;
  block.ccwStencilZFail = StencilInvert;
  block.ccwStencilPass = StencilIncr;
  block.ccwStencilFunc = CompareGreater;
  return block;
}

inline ts3d::TextureStageStateBlock everyStageStateChanged() {
  using namespace ts3d;
  TextureStageStateBlock block;
  block.colorOp = TextureModulate2x;
  block.colorArg1 = ArgTFactor;
  block.colorArg2 = ArgSpecular;
  block.alphaOp = TextureAdd;
  block.alphaArg1 = ArgTemp;
  block.alphaArg2 = ArgComplement;
  block.addressU = AddressMirror;
  block.addressV = AddressClamp;
  block.addressW = AddressBorder;
  block.magFilter = FilterLinear;
  block.minFilter = FilterAnisotropic;
  block.mipFilter = FilterPoint;
  block.texCoordIndex = 1;
  block.transformCount = 2;
  block.projected = true;
  block.textureMatrix = matrix(2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1, 0, 0.25f, 0.5f, 0, 1);
  return block;
}

}  // namespace tstest
