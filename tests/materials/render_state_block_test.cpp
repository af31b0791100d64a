#include <gtest/gtest.h>

#include "materials/render_state_block.h"
#include "tests/materials/shadowed_device.h"

namespace {

using namespace ts3d;
using tstest::Calls;
using tstest::renderStateCall;
using tstest::ShadowedDevice;
using tstest::softwareVertexProcessingCall;

// A block of all groups in which every field differs from its default.
RenderStateBlock everyFieldChanged() {
  RenderStateBlock block(RenderStateBlock::AllGroups);
  block.alphaBlendEnable = true;
  block.destBlend = BlendInvSrcAlpha;
  block.srcBlend = BlendSrcAlpha;
  block.alphaTestEnable = true;
  block.alphaFunc = CompareGreaterEqual;
  block.alphaRef = 0x80;
  block.colorWriteMask = 0x7;
  block.zEnable = false;
  block.depthMode = DepthTestNoWrite;
  block.cullMode = CullNone;
  block.fillMode = FillWireframe;
  block.clipping = true;
  block.lighting = false;
  block.specularEnable = true;
  block.localViewer = true;
  block.normalizeNormals = true;
  block.indexedVertexBlend = true;
  block.vertexBlend = VertexBlend2Weights;
  block.softwareVertexProcessing = true;
  block.stencilEnable = true;
  block.stencilFail = StencilZero;
  block.stencilZFail = StencilReplace;
  block.stencilPass = StencilIncrSat;
  block.stencilFunc = CompareEqual;
  block.stencilMask = 0xf0;
  block.stencilWriteMask = 0x0f;
  block.stencilRef = 5;
  block.twoSidedStencil = true;
  block.ccwStencilFail = StencilDecrSat;
  block.ccwStencilZFail = StencilInvert;
  block.ccwStencilPass = StencilIncr;
  block.ccwStencilFunc = CompareGreater;
  return block;
}

TEST(RenderStateBlock, DefaultBlockIsOneSharedObjectOfAllGroups) {
  const RenderStateBlock& first = RenderStateBlock::defaultBlock();
  EXPECT_EQ(&first, &RenderStateBlock::defaultBlock());
  EXPECT_EQ(first.groupMask, 0xffffu);
  tstest::expectSameFields(first, RenderStateBlock(0));
  // The mask names groups; it never changes a field's starting value.
  tstest::expectSameFields(RenderStateBlock(RenderStateBlock::StencilGroup), RenderStateBlock(0));
}

TEST(RenderStateBlock, BlendPresetsSetSourceAndDestinationTogether) {
  const int32_t expected[4][2] = {{1, 0}, {1, 1}, {4, 5}, {4, 1}};
  for (int32_t preset = 0; preset < 4; ++preset) {
    RenderStateBlock block(RenderStateBlock::BlendingGroup);
    block.srcBlend = 9;
    block.destBlend = 9;
    block.setBlendPreset(preset);
    EXPECT_EQ(block.srcBlend, expected[preset][0]) << "preset " << preset;
    EXPECT_EQ(block.destBlend, expected[preset][1]) << "preset " << preset;
  }
  for (int32_t preset : {-1, 4, 1000}) {
    RenderStateBlock block(RenderStateBlock::BlendingGroup);
    block.setBlendPreset(2);
    block.setBlendPreset(preset);
    EXPECT_EQ(block.srcBlend, BlendSrcAlpha) << "preset " << preset;
    EXPECT_EQ(block.destBlend, BlendInvSrcAlpha) << "preset " << preset;
  }
}

// Merging

TEST(RenderStateMerge, EmptySourceChangesNothing) {
  RenderStateBlock dest(RenderStateBlock::DepthGroup);
  dest.zEnable = false;
  RenderStateBlock source = everyFieldChanged();
  source.groupMask = 0;
  merge(dest, source);
  EXPECT_EQ(dest.groupMask, RenderStateBlock::DepthGroup);
  RenderStateBlock expected(0);
  expected.zEnable = false;
  tstest::expectSameFields(dest, expected);
}

TEST(RenderStateMerge, CopiesTheSourceGroupsAndAddsTheirBits) {
  RenderStateBlock dest(RenderStateBlock::DepthGroup);
  dest.zEnable = false;
  dest.lighting = false;  // outside dest's mask, and outside the source's: stays
  RenderStateBlock source = everyFieldChanged();
  source.groupMask = RenderStateBlock::BlendingGroup | RenderStateBlock::StencilGroup;
  merge(dest, source);
  EXPECT_EQ(dest.groupMask, 0x0eu);

  RenderStateBlock expected(0);
  expected.zEnable = false;
  expected.lighting = false;
  const RenderStateBlock changed = everyFieldChanged();
  expected.alphaBlendEnable = changed.alphaBlendEnable;
  expected.destBlend = changed.destBlend;
  expected.srcBlend = changed.srcBlend;
  expected.alphaTestEnable = changed.alphaTestEnable;
  expected.alphaFunc = changed.alphaFunc;
  expected.alphaRef = changed.alphaRef;
  expected.colorWriteMask = changed.colorWriteMask;
  expected.stencilEnable = changed.stencilEnable;
  expected.stencilFail = changed.stencilFail;
  expected.stencilZFail = changed.stencilZFail;
  expected.stencilPass = changed.stencilPass;
  expected.stencilFunc = changed.stencilFunc;
  expected.stencilMask = changed.stencilMask;
  expected.stencilWriteMask = changed.stencilWriteMask;
  expected.stencilRef = changed.stencilRef;
  expected.twoSidedStencil = changed.twoSidedStencil;
  expected.ccwStencilFail = changed.ccwStencilFail;
  expected.ccwStencilZFail = changed.ccwStencilZFail;
  expected.ccwStencilPass = changed.ccwStencilPass;
  expected.ccwStencilFunc = changed.ccwStencilFunc;
  tstest::expectSameFields(dest, expected);
}

TEST(RenderStateMerge, RasteriserGroupLeavesClippingBehind) {
  RenderStateBlock dest(0);
  RenderStateBlock source(RenderStateBlock::RasteriserGroup);
  source.cullMode = CullNone;
  source.fillMode = FillWireframe;
  source.clipping = true;
  merge(dest, source);
  EXPECT_EQ(dest.groupMask, RenderStateBlock::RasteriserGroup);
  EXPECT_EQ(dest.cullMode, CullNone);
  EXPECT_EQ(dest.fillMode, FillWireframe);
  EXPECT_FALSE(dest.clipping);
}

// The difference rule on a device

TEST_F(ShadowedDevice, FirstApplySendsEveryChangedFieldInGroupOrder) {
  apply(everyFieldChanged());
  const Calls expected = {
      // blending
      renderStateCall(D3DRS_ALPHABLENDENABLE, TRUE),
      renderStateCall(D3DRS_DESTBLEND, D3DBLEND_INVSRCALPHA),
      renderStateCall(D3DRS_SRCBLEND, D3DBLEND_SRCALPHA),
      renderStateCall(D3DRS_ALPHATESTENABLE, TRUE),
      renderStateCall(D3DRS_ALPHAFUNC, D3DCMP_GREATEREQUAL),
      renderStateCall(D3DRS_ALPHAREF, 0x80),
      renderStateCall(D3DRS_COLORWRITEENABLE, 0x7),
      // depth: one mode, two device states
      renderStateCall(D3DRS_ZENABLE, D3DZB_FALSE),
      renderStateCall(D3DRS_ZWRITEENABLE, FALSE),
      renderStateCall(D3DRS_ZFUNC, D3DCMP_LESSEQUAL),
      // rasteriser: clipping is not merged, so it never differs here
      renderStateCall(D3DRS_CULLMODE, D3DCULL_NONE),
      renderStateCall(D3DRS_FILLMODE, D3DFILL_WIREFRAME),
      // lighting: the local viewer before normalisation
      renderStateCall(D3DRS_LIGHTING, FALSE),
      renderStateCall(D3DRS_SPECULARENABLE, TRUE),
      renderStateCall(D3DRS_LOCALVIEWER, TRUE),
      renderStateCall(D3DRS_NORMALIZENORMALS, TRUE),
      // vertex blending
      renderStateCall(D3DRS_INDEXEDVERTEXBLENDENABLE, TRUE),
      renderStateCall(D3DRS_VERTEXBLEND, D3DVBF_2WEIGHTS),
      softwareVertexProcessingCall(true),
      // stencil: the reference before the masks
      renderStateCall(D3DRS_STENCILENABLE, TRUE),
      renderStateCall(D3DRS_STENCILFAIL, D3DSTENCILOP_ZERO),
      renderStateCall(D3DRS_STENCILZFAIL, D3DSTENCILOP_REPLACE),
      renderStateCall(D3DRS_STENCILPASS, D3DSTENCILOP_INCRSAT),
      renderStateCall(D3DRS_STENCILFUNC, D3DCMP_EQUAL),
      renderStateCall(D3DRS_STENCILREF, 5),
      renderStateCall(D3DRS_STENCILMASK, 0xf0),
      renderStateCall(D3DRS_STENCILWRITEMASK, 0x0f),
      renderStateCall(D3DRS_TWOSIDEDSTENCILMODE, TRUE),
      renderStateCall(D3DRS_CCW_STENCILFAIL, D3DSTENCILOP_DECRSAT),
      renderStateCall(D3DRS_CCW_STENCILZFAIL, D3DSTENCILOP_INVERT),
      renderStateCall(D3DRS_CCW_STENCILPASS, D3DSTENCILOP_INCR),
      renderStateCall(D3DRS_CCW_STENCILFUNC, D3DCMP_GREATER),
  };
  EXPECT_EQ(proxy->calls(), expected);

  RenderStateBlock shadow = everyFieldChanged();
  shadow.clipping = false;
  tstest::expectSameFields(current, shadow);
  EXPECT_EQ(current.groupMask, 0xffffu);

  // The same block again: nothing differs, nothing is sent.
  proxy->clearLog();
  apply(everyFieldChanged());
  EXPECT_EQ(proxy->totalCalls(), 0u) << ::testing::PrintToString(proxy->calls());
}

TEST_F(ShadowedDevice, OnlyTheFieldsThatDifferAreSent) {
  RenderStateBlock block(RenderStateBlock::AllGroups);
  block.stencilRef = 3;
  block.colorWriteMask = 0x1f;  // compared whole, sent as the four channels
  apply(block);
  const Calls expected = {renderStateCall(D3DRS_COLORWRITEENABLE, 0xf), renderStateCall(D3DRS_STENCILREF, 3)};
  EXPECT_EQ(proxy->calls(), expected);
  EXPECT_EQ(current.colorWriteMask, 0x1fu);
}

TEST_F(ShadowedDevice, PartialMaskSendsOnlyItsGroups) {
  RenderStateBlock block = everyFieldChanged();
  block.groupMask = RenderStateBlock::StencilGroup | RenderStateBlock::DepthGroup;
  apply(block);
  const Calls calls = proxy->calls();
  ASSERT_EQ(calls.size(), 16u) << ::testing::PrintToString(calls);
  EXPECT_EQ(calls[0], renderStateCall(D3DRS_ZENABLE, D3DZB_FALSE));
  EXPECT_EQ(calls[3], renderStateCall(D3DRS_STENCILENABLE, TRUE));
  EXPECT_EQ(calls[15], renderStateCall(D3DRS_CCW_STENCILFUNC, D3DCMP_GREATER));
  EXPECT_FALSE(current.alphaBlendEnable);
  EXPECT_TRUE(current.lighting);
  EXPECT_EQ(current.cullMode, CullClockwise);
}

TEST_F(ShadowedDevice, EmptyBlockOrUnknownDepthModeSendsNothing) {
  RenderStateBlock block = everyFieldChanged();
  block.groupMask = 0;
  apply(block);
  EXPECT_EQ(proxy->totalCalls(), 0u);
  tstest::expectSameFields(current, RenderStateBlock::defaultBlock());

  RenderStateBlock unknownDepth(RenderStateBlock::DepthGroup);
  unknownDepth.depthMode = 3;
  apply(unknownDepth);
  EXPECT_EQ(proxy->totalCalls(), 0u) << ::testing::PrintToString(proxy->calls());
}

TEST_F(ShadowedDevice, BlendingOnlyMaterialKeepsThePreviousDepthAndStencil) {
  RenderStateBlock first(RenderStateBlock::DepthGroup | RenderStateBlock::StencilGroup);
  first.zEnable = false;
  first.stencilEnable = true;
  apply(first);
  proxy->clearLog();

  RenderStateBlock second(RenderStateBlock::BlendingGroup);
  second.alphaBlendEnable = true;
  apply(second);
  EXPECT_EQ(proxy->calls(), Calls{renderStateCall(D3DRS_ALPHABLENDENABLE, TRUE)});
  EXPECT_FALSE(current.zEnable);
  EXPECT_TRUE(current.stencilEnable);
}

// The override

TEST_F(ShadowedDevice, OverrideSendsItsDifferenceAndWinsOverMaterials) {
  RenderStateBlock mirror(RenderStateBlock::StencilGroup);
  mirror.stencilEnable = true;
  mirror.stencilFunc = CompareEqual;
  mirror.stencilRef = 1;
  ts3d::setRenderStateOverride(proxy, current, forced, mirror);
  const Calls expected = {renderStateCall(D3DRS_STENCILENABLE, TRUE), renderStateCall(D3DRS_STENCILFUNC, D3DCMP_EQUAL),
                          renderStateCall(D3DRS_STENCILREF, 1)};
  EXPECT_EQ(proxy->calls(), expected);
  EXPECT_EQ(forced.groupMask, RenderStateBlock::StencilGroup);
  EXPECT_TRUE(forced.stencilEnable);
  proxy->clearLog();

  // The material turns stencil off and blends; only the blending reaches the device.
  RenderStateBlock material(RenderStateBlock::StencilGroup | RenderStateBlock::BlendingGroup);
  material.stencilEnable = false;
  material.alphaBlendEnable = true;
  apply(material);
  EXPECT_EQ(proxy->calls(), Calls{renderStateCall(D3DRS_ALPHABLENDENABLE, TRUE)});
  EXPECT_TRUE(current.stencilEnable);
  EXPECT_EQ(current.stencilFunc, CompareEqual);
}

TEST_F(ShadowedDevice, EmptyBlockUnderOverrideSendsNothing) {
  RenderStateBlock shadow(RenderStateBlock::StencilGroup | RenderStateBlock::DepthGroup);
  shadow.stencilEnable = true;
  shadow.depthMode = DepthTestNoWrite;
  ts3d::setRenderStateOverride(proxy, current, forced, shadow);
  proxy->clearLog();
  apply(RenderStateBlock(0));
  EXPECT_EQ(proxy->totalCalls(), 0u) << ::testing::PrintToString(proxy->calls());
  EXPECT_TRUE(current.stencilEnable);
}

TEST_F(ShadowedDevice, SecondOverrideReplacesTheFirst) {
  RenderStateBlock first(RenderStateBlock::StencilGroup);
  first.stencilEnable = true;
  ts3d::setRenderStateOverride(proxy, current, forced, first);
  RenderStateBlock second(RenderStateBlock::LightingGroup);
  second.lighting = false;
  ts3d::setRenderStateOverride(proxy, current, forced, second);
  EXPECT_EQ(forced.groupMask, RenderStateBlock::LightingGroup);
  proxy->clearLog();

  // Stencil is no longer forced: a material may turn it off again.
  RenderStateBlock material(RenderStateBlock::StencilGroup | RenderStateBlock::LightingGroup);
  material.lighting = true;
  apply(material);
  EXPECT_EQ(proxy->calls(), Calls{renderStateCall(D3DRS_STENCILENABLE, FALSE)});
  EXPECT_FALSE(current.lighting);
}

TEST_F(ShadowedDevice, ClearingTheOverrideReturnsEveryGroupToItsDefault) {
  RenderStateBlock material(RenderStateBlock::BlendingGroup | RenderStateBlock::RasteriserGroup);
  material.alphaBlendEnable = true;
  material.cullMode = CullNone;
  apply(material);
  RenderStateBlock shadow(RenderStateBlock::StencilGroup);
  shadow.stencilEnable = true;
  shadow.stencilPass = StencilIncr;
  ts3d::setRenderStateOverride(proxy, current, forced, shadow);
  proxy->clearLog();

  ts3d::clearRenderStateOverride(proxy, current, forced);
  const Calls expected = {renderStateCall(D3DRS_ALPHABLENDENABLE, FALSE), renderStateCall(D3DRS_CULLMODE, D3DCULL_CW),
                          renderStateCall(D3DRS_STENCILENABLE, FALSE),
                          renderStateCall(D3DRS_STENCILPASS, D3DSTENCILOP_KEEP)};
  EXPECT_EQ(proxy->calls(), expected);
  EXPECT_EQ(forced.groupMask, 0u);
  tstest::expectSameFields(current, RenderStateBlock::defaultBlock());
}

// The full send at device start

TEST_F(ShadowedDevice, FullSendSendsEveryFieldWithFillModeFirst) {
  ts3d::sendFull(proxy, RenderStateBlock::defaultBlock());
  const Calls expected = {
      renderStateCall(D3DRS_ALPHABLENDENABLE, FALSE),
      renderStateCall(D3DRS_DESTBLEND, D3DBLEND_ZERO),
      renderStateCall(D3DRS_SRCBLEND, D3DBLEND_ONE),
      renderStateCall(D3DRS_ALPHATESTENABLE, FALSE),
      renderStateCall(D3DRS_ALPHAFUNC, D3DCMP_ALWAYS),
      renderStateCall(D3DRS_ALPHAREF, 0),
      renderStateCall(D3DRS_COLORWRITEENABLE, 0xf),
      renderStateCall(D3DRS_ZENABLE, D3DZB_TRUE),
      renderStateCall(D3DRS_ZWRITEENABLE, TRUE),
      renderStateCall(D3DRS_ZFUNC, D3DCMP_LESSEQUAL),
      renderStateCall(D3DRS_FILLMODE, D3DFILL_SOLID),
      renderStateCall(D3DRS_CULLMODE, D3DCULL_CW),
      renderStateCall(D3DRS_CLIPPING, FALSE),
      renderStateCall(D3DRS_LIGHTING, TRUE),
      renderStateCall(D3DRS_SPECULARENABLE, FALSE),
      renderStateCall(D3DRS_LOCALVIEWER, FALSE),
      renderStateCall(D3DRS_NORMALIZENORMALS, FALSE),
      renderStateCall(D3DRS_INDEXEDVERTEXBLENDENABLE, FALSE),
      renderStateCall(D3DRS_VERTEXBLEND, D3DVBF_DISABLE),
      softwareVertexProcessingCall(false),
      renderStateCall(D3DRS_STENCILENABLE, FALSE),
      renderStateCall(D3DRS_STENCILFAIL, D3DSTENCILOP_KEEP),
      renderStateCall(D3DRS_STENCILZFAIL, D3DSTENCILOP_KEEP),
      renderStateCall(D3DRS_STENCILPASS, D3DSTENCILOP_KEEP),
      renderStateCall(D3DRS_STENCILFUNC, D3DCMP_ALWAYS),
      renderStateCall(D3DRS_STENCILREF, 0),
      renderStateCall(D3DRS_STENCILMASK, 0xffffffff),
      renderStateCall(D3DRS_STENCILWRITEMASK, 0xffffffff),
      renderStateCall(D3DRS_TWOSIDEDSTENCILMODE, FALSE),
      renderStateCall(D3DRS_CCW_STENCILFAIL, D3DSTENCILOP_KEEP),
      renderStateCall(D3DRS_CCW_STENCILZFAIL, D3DSTENCILOP_KEEP),
      renderStateCall(D3DRS_CCW_STENCILPASS, D3DSTENCILOP_KEEP),
      renderStateCall(D3DRS_CCW_STENCILFUNC, D3DCMP_ALWAYS),
  };
  EXPECT_EQ(proxy->calls(), expected);
}

TEST_F(ShadowedDevice, FullSendKeepsToTheMask) {
  RenderStateBlock block(RenderStateBlock::RasteriserGroup | RenderStateBlock::DepthGroup);
  block.clipping = true;
  ts3d::sendFull(proxy, block);
  const Calls expected = {
      renderStateCall(D3DRS_ZENABLE, D3DZB_TRUE),     renderStateCall(D3DRS_ZWRITEENABLE, TRUE),
      renderStateCall(D3DRS_ZFUNC, D3DCMP_LESSEQUAL), renderStateCall(D3DRS_FILLMODE, D3DFILL_SOLID),
      renderStateCall(D3DRS_CULLMODE, D3DCULL_CW),    renderStateCall(D3DRS_CLIPPING, TRUE),
  };
  EXPECT_EQ(proxy->calls(), expected);
}

TEST_F(ShadowedDevice, DeviceStartSendsRenderStatesThenEveryStageWhole) {
  ts3d::RenderStateBlock startState(RenderStateBlock::AllGroups);
  ts3d::StageStates startStages;
  ts3d::initialiseDeviceState(proxy, startState, startStages);
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::SetRenderState), 32u);
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::SetSoftwareVertexProcessing), 1u);
  // Per stage: six operations and arguments, the coordinate index, the transform flags.
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::SetTextureStageState), 8u * 8u);
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::SetSamplerState), 8u * 6u);
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::SetTransform), 8u);
  EXPECT_EQ(proxy->calls()[33], tstest::stageStateCall(0, D3DTSS_COLOROP, D3DTOP_MODULATE));
  EXPECT_EQ(startStages[0].colorOp, TextureModulate);
  EXPECT_EQ(startStages[0].alphaOp, TextureSelectArg1);
  EXPECT_EQ(startStages[1].colorOp, TextureDisable);
}

}  // namespace
