#include <gtest/gtest.h>

#include "materials/texture_stage_state_block.h"
#include "tests/materials/shadowed_device.h"

namespace {

using namespace ts3d;
using tstest::Calls;
using tstest::samplerStateCall;
using tstest::ShadowedDevice;
using tstest::stageStateCall;
using tstest::textureCall;
using tstest::transformCall;

const matrix scaleAndShift{2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1, 0, 0.25f, 0.5f, 0, 1};

TextureStageStateBlock everyFieldChanged() {
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
  block.textureMatrix = scaleAndShift;
  return block;
}

TEST(TextureStageStateBlock, Defaults) {
  const TextureStageStateBlock block;
  EXPECT_EQ(block.colorOp, 0);
  EXPECT_EQ(block.colorArg1, 2);
  EXPECT_EQ(block.colorArg2, 1);
  EXPECT_EQ(block.alphaOp, 0);
  EXPECT_EQ(block.alphaArg1, 2);
  EXPECT_EQ(block.alphaArg2, 1);
  EXPECT_EQ(block.addressU, 0);
  EXPECT_EQ(block.addressV, 0);
  EXPECT_EQ(block.addressW, 0);
  EXPECT_EQ(block.magFilter, 1);
  EXPECT_EQ(block.minFilter, 1);
  EXPECT_EQ(block.mipFilter, 0);
  EXPECT_EQ(block.texCoordIndex, 0);
  EXPECT_EQ(block.transformCount, 0);
  EXPECT_FALSE(block.projected);
  for (int row = 0; row < 4; ++row)
    for (int column = 0; column < 4; ++column)
      EXPECT_EQ(block.textureMatrix.m[row][column], row == column ? 1.0f : 0.0f) << row << ", " << column;
}

TEST(TextureStageStateBlock, ModulateStageMultipliesColourAndTakesTheTexturesAlpha) {
  const TextureStageStateBlock block = TextureStageStateBlock::modulate();
  EXPECT_EQ(block.colorOp, 3);
  EXPECT_EQ(block.colorArg1, 2);
  EXPECT_EQ(block.colorArg2, 1);
  EXPECT_EQ(block.alphaOp, 1);
  EXPECT_EQ(block.alphaArg1, 2);
  EXPECT_EQ(block.alphaArg2, 1);
  EXPECT_EQ(block.magFilter, 1);
  EXPECT_EQ(block.transformCount, 0);
}

TEST_F(ShadowedDevice, StageDifferenceGoesInItsOrderToItsStage) {
  ts3d::applyStageState(proxy, stages, 3, everyFieldChanged());
  const Calls expected = {
      stageStateCall(3, D3DTSS_COLOROP, D3DTOP_MODULATE2X),
      stageStateCall(3, D3DTSS_COLORARG1, D3DTA_TFACTOR),
      stageStateCall(3, D3DTSS_COLORARG2, D3DTA_SPECULAR),
      stageStateCall(3, D3DTSS_ALPHAOP, D3DTOP_ADD),
      stageStateCall(3, D3DTSS_ALPHAARG1, D3DTA_TEMP),
      stageStateCall(3, D3DTSS_ALPHAARG2, D3DTA_COMPLEMENT),
      samplerStateCall(3, D3DSAMP_ADDRESSU, D3DTADDRESS_MIRROR),
      samplerStateCall(3, D3DSAMP_ADDRESSV, D3DTADDRESS_CLAMP),
      samplerStateCall(3, D3DSAMP_ADDRESSW, D3DTADDRESS_BORDER),
      samplerStateCall(3, D3DSAMP_MINFILTER, D3DTEXF_ANISOTROPIC),
      samplerStateCall(3, D3DSAMP_MAGFILTER, D3DTEXF_LINEAR),
      samplerStateCall(3, D3DSAMP_MIPFILTER, D3DTEXF_POINT),
      stageStateCall(3, D3DTSS_TEXCOORDINDEX, 1),
      stageStateCall(3, D3DTSS_TEXTURETRANSFORMFLAGS, D3DTTFF_COUNT2 | D3DTTFF_PROJECTED),
      transformCall(D3DTS_TEXTURE3, scaleAndShift),
  };
  EXPECT_EQ(proxy->calls(), expected);
  EXPECT_EQ(stages[3].colorOp, TextureModulate2x);
  EXPECT_EQ(stages[2].colorOp, TextureDisable);
}

TEST_F(ShadowedDevice, SecondStageApplySendsOnlyTheUncomparedMatrix) {
  ts3d::applyStageState(proxy, stages, 2, everyFieldChanged());
  proxy->clearLog();
  ts3d::applyStageState(proxy, stages, 2, everyFieldChanged());
  EXPECT_EQ(proxy->calls(), Calls{transformCall(D3DTS_TEXTURE2, scaleAndShift)});
}

TEST_F(ShadowedDevice, StageWithoutTransformLeavesTheMatrixAlone) {
  TextureStageStateBlock block = everyFieldChanged();
  block.transformCount = 0;
  block.projected = false;
  ts3d::applyStageState(proxy, stages, 1, block);
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::SetTransform), 0u);
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::SetTextureStageState), 7u);  // flags unchanged
  proxy->clearLog();

  block.textureMatrix._11 = 5.0f;
  ts3d::applyStageState(proxy, stages, 1, block);
  EXPECT_EQ(proxy->totalCalls(), 0u) << ::testing::PrintToString(proxy->calls());
}

TEST_F(ShadowedDevice, ProjectionAloneChangesTheTransformFlags) {
  TextureStageStateBlock block;
  block.projected = true;
  ts3d::applyStageState(proxy, stages, 4, block);
  EXPECT_EQ(proxy->calls(), Calls{stageStateCall(4, D3DTSS_TEXTURETRANSFORMFLAGS, D3DTTFF_PROJECTED)});
}

TEST_F(ShadowedDevice, StageBeyondTheLastChangesNothing) {
  ts3d::applyStageState(proxy, stages, 8, everyFieldChanged());
  ts3d::applyStageState(proxy, stages, 0xffffffffu, everyFieldChanged());
  EXPECT_EQ(proxy->totalCalls(), 0u);
}

TEST_F(ShadowedDevice, ResetTextureStagesPassesDiffuseAndDisablesStageOne) {
  ts3d::resetTextureStages(proxy, stages);
  const Calls expected = {
      textureCall(0, nullptr),
      // stage 0 was the modulate stage; its alpha operation already selects argument 1
      stageStateCall(0, D3DTSS_COLOROP, D3DTOP_SELECTARG1),
      stageStateCall(0, D3DTSS_COLORARG1, D3DTA_CURRENT),
      stageStateCall(0, D3DTSS_COLORARG2, D3DTA_TEXTURE),
      stageStateCall(0, D3DTSS_ALPHAARG1, D3DTA_CURRENT),
      stageStateCall(0, D3DTSS_ALPHAARG2, D3DTA_TEXTURE),
      // stage 1 was disabled already; it takes stage 0's arguments
      stageStateCall(1, D3DTSS_COLORARG1, D3DTA_CURRENT),
      stageStateCall(1, D3DTSS_COLORARG2, D3DTA_TEXTURE),
      stageStateCall(1, D3DTSS_ALPHAARG1, D3DTA_CURRENT),
      stageStateCall(1, D3DTSS_ALPHAARG2, D3DTA_TEXTURE),
  };
  EXPECT_EQ(proxy->calls(), expected);
  EXPECT_EQ(stages[0].colorOp, TextureSelectArg1);
  EXPECT_EQ(stages[1].colorOp, TextureDisable);
  EXPECT_EQ(stages[1].colorArg1, ArgCurrent);
}

TEST_F(ShadowedDevice, ResetTextureStagesLeavesHigherStages) {
  ts3d::applyStageState(proxy, stages, 2, everyFieldChanged());
  proxy->clearLog();
  ts3d::resetTextureStages(proxy, stages);
  for (const tstest::DeviceCall& call : proxy->calls()) {
    if (call.kind == tstest::DeviceCallKind::SetTextureStageState ||
        call.kind == tstest::DeviceCallKind::SetSamplerState) {
      EXPECT_LT(call.args[0], 2) << call;
    }
  }
  EXPECT_EQ(stages[2].colorOp, TextureModulate2x);
}

TEST_F(ShadowedDevice, FullStageSendSendsEveryStateAndTheMatrix) {
  ts3d::sendFull(proxy, 5, TextureStageStateBlock());
  const matrix identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  const Calls expected = {
      stageStateCall(5, D3DTSS_COLOROP, D3DTOP_DISABLE),
      stageStateCall(5, D3DTSS_COLORARG1, D3DTA_TEXTURE),
      stageStateCall(5, D3DTSS_COLORARG2, D3DTA_CURRENT),
      stageStateCall(5, D3DTSS_ALPHAOP, D3DTOP_DISABLE),
      stageStateCall(5, D3DTSS_ALPHAARG1, D3DTA_TEXTURE),
      stageStateCall(5, D3DTSS_ALPHAARG2, D3DTA_CURRENT),
      samplerStateCall(5, D3DSAMP_ADDRESSU, D3DTADDRESS_WRAP),
      samplerStateCall(5, D3DSAMP_ADDRESSV, D3DTADDRESS_WRAP),
      samplerStateCall(5, D3DSAMP_ADDRESSW, D3DTADDRESS_WRAP),
      samplerStateCall(5, D3DSAMP_MINFILTER, D3DTEXF_POINT),
      samplerStateCall(5, D3DSAMP_MAGFILTER, D3DTEXF_POINT),
      samplerStateCall(5, D3DSAMP_MIPFILTER, D3DTEXF_NONE),
      stageStateCall(5, D3DTSS_TEXCOORDINDEX, 0),
      stageStateCall(5, D3DTSS_TEXTURETRANSFORMFLAGS, D3DTTFF_DISABLE),
      transformCall(D3DTS_TEXTURE5, identity),
  };
  EXPECT_EQ(proxy->calls(), expected);
}

}  // namespace
