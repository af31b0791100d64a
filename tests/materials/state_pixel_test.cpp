#include <gtest/gtest.h>

#include "tests/context/context_fixture.h"

// States sent through the Context's shadow really change what the device draws.
namespace {

using namespace ts3d;

// Red at alpha 192: opaque red while blending is off.
const D3DCOLOR kRed = D3DCOLOR_ARGB(192, 255, 0, 0);

class StatePixels : public tstest::ContextTest {
 protected:
  void SetUp() override {
    ContextTest::SetUp();
    if (HasFatalFailure()) return;
    context->resetTextureStages();  // untextured: stage 0 passes the vertex colour through
  }

  // Clears to the blue clear colour, applies block and draws a triangle over the top left,
  // clockwise on screen, in kRed; gives the pixel at (40, 40), inside it.
  uint32_t drawWith(const RenderStateBlock& block) {
    const struct {
      float x, y, z, rhw;
      DWORD colour;
    } triangle[3] = {{0, 0, 0.5f, 1, kRed}, {320, 0, 0.5f, 1, kRed}, {0, 480, 0.5f, 1, kRed}};
    context->beginScene();
    context->clear(Context::ClearAll, true);
    context->applyRenderState(block);
    context->useFvf(D3DFVF_XYZRHW | D3DFVF_DIFFUSE);
    context->device->DrawPrimitiveUP(D3DPT_TRIANGLELIST, 1, triangle, sizeof triangle[0]);
    context->endScene();
    readTarget();
    return rgbAt(40, 40);
  }

  static RenderStateBlock culled(int32_t cullMode, uint32_t groups = 0) {
    RenderStateBlock block(groups | RenderStateBlock::RasteriserGroup);
    block.cullMode = cullMode;
    return block;
  }
  static RenderStateBlock blended(int32_t preset) {
    RenderStateBlock block = culled(CullNone, RenderStateBlock::BlendingGroup);
    block.alphaBlendEnable = true;
    block.setBlendPreset(preset);
    return block;
  }
};

TEST_F(StatePixels, CullModeAndBlendPresetsDecideWhatTheTriangleLeaves) {
  // Over the blue clear colour; blending stays off until the first preset.
  const struct {
    const char* name;
    RenderStateBlock block;
    int r, g, b;
  } rows[] = {{"cull none", culled(CullNone), 255, 0, 0},
              {"cull clockwise", culled(CullClockwise), 0, 0, 255},
              {"cull counter-clockwise", culled(CullCounterClockwise), 255, 0, 0},
              {"preset 0", blended(0), 255, 0, 0},
              {"preset 1", blended(1), 255, 0, 255},
              {"preset 2", blended(2), 192, 0, 63},
              {"preset 3", blended(3), 192, 0, 255}};
  for (const auto& row : rows) {
    const uint32_t pixel = drawWith(row.block);
    EXPECT_TRUE(tstest::pixelNear(pixel, row.r, row.g, row.b)) << row.name << ": " << std::hex << pixel;
  }
}

TEST_F(StatePixels, StencilOverrideHoldsAgainstTheMaterialUntilCleared) {
  RenderStateBlock mask(RenderStateBlock::StencilGroup);
  mask.stencilEnable = true;
  mask.stencilFunc = CompareNever;
  context->setRenderStateOverride(mask);
  const RenderStateBlock material = culled(CullNone, RenderStateBlock::StencilGroup);  // stencil off
  EXPECT_TRUE(tstest::pixelNear(drawWith(material), 0, 0, 255));
  context->clearRenderStateOverride();
  EXPECT_TRUE(tstest::pixelNear(drawWith(material), 255, 0, 0));
}

TEST_F(StatePixels, StageStateChoosesTheColourSource) {
  // The texture factor, white on a new device, instead of the vertex colour.
  TextureStageStateBlock stage = context->currentStageState[0];
  stage.colorArg1 = ArgTFactor;
  context->applyStageState(0, stage);
  EXPECT_TRUE(tstest::pixelNear(drawWith(culled(CullNone)), 255, 255, 255));
  stage.colorArg1 = ArgDiffuse;
  context->applyStageState(0, stage);
  EXPECT_TRUE(tstest::pixelNear(drawWith(culled(CullNone)), 255, 0, 0));
}

}  // namespace
