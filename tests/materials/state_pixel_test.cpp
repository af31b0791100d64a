#include <gtest/gtest.h>

#include "tests/context/context_fixture.h"

// States sent through the Context's shadow really change what the device draws.
namespace {

using namespace ts3d;

const D3DCOLOR kRed = D3DCOLOR_XRGB(255, 0, 0);

class StatePixels : public tstest::ContextTest {
 protected:
  void SetUp() override {
    ContextTest::SetUp();
    if (HasFatalFailure()) return;
    context->resetTextureStages();  // untextured: stage 0 passes the vertex colour through
  }

  // Clears to the blue clear colour, applies block and draws a triangle over the top left,
  // clockwise on screen, in colour; gives the pixel at (40, 40), inside it.
  uint32_t drawWith(const RenderStateBlock& block, D3DCOLOR colour) {
    const struct {
      float x, y, z, rhw;
      DWORD colour;
    } triangle[3] = {{0, 0, 0.5f, 1, colour}, {320, 0, 0.5f, 1, colour}, {0, 480, 0.5f, 1, colour}};
    context->beginScene();
    context->clear(Context::ClearAll, true);
    context->applyRenderState(block);
    context->useFvf(D3DFVF_XYZRHW | D3DFVF_DIFFUSE);
    context->device->DrawPrimitiveUP(D3DPT_TRIANGLELIST, 1, triangle, sizeof triangle[0]);
    context->endScene();
    readTarget();
    return rgbAt(40, 40);
  }

  static RenderStateBlock unculled(uint32_t groups) {
    RenderStateBlock block(groups | RenderStateBlock::RasteriserGroup);
    block.cullMode = CullNone;
    return block;
  }
};

TEST_F(StatePixels, CullModeDecidesWhetherAClockwiseTriangleIsDrawn) {
  const struct {
    int32_t cullMode;
    int r, g, b;
  } rows[] = {{CullNone, 255, 0, 0}, {CullClockwise, 0, 0, 255}, {CullCounterClockwise, 255, 0, 0}};
  for (const auto& row : rows) {
    RenderStateBlock block(RenderStateBlock::RasteriserGroup);
    block.cullMode = row.cullMode;
    const uint32_t pixel = drawWith(block, kRed);
    EXPECT_TRUE(tstest::pixelNear(pixel, row.r, row.g, row.b)) << "cull " << row.cullMode << ": " << std::hex << pixel;
  }
}

TEST_F(StatePixels, EachBlendPresetMixesWithWhatIsThere) {
  // Red at alpha 192 over the blue clear colour.
  const struct {
    int32_t preset;
    int r, g, b;
  } rows[] = {{0, 255, 0, 0}, {1, 255, 0, 255}, {2, 192, 0, 63}, {3, 192, 0, 255}};
  for (const auto& row : rows) {
    RenderStateBlock block = unculled(RenderStateBlock::BlendingGroup);
    block.alphaBlendEnable = true;
    block.setBlendPreset(row.preset);
    const uint32_t pixel = drawWith(block, D3DCOLOR_ARGB(192, 255, 0, 0));
    EXPECT_TRUE(tstest::pixelNear(pixel, row.r, row.g, row.b)) << "preset " << row.preset << ": " << std::hex << pixel;
  }
}

TEST_F(StatePixels, StencilOverrideHoldsAgainstTheMaterialUntilCleared) {
  RenderStateBlock mask(RenderStateBlock::StencilGroup);
  mask.stencilEnable = true;
  mask.stencilFunc = CompareNever;
  context->setRenderStateOverride(mask);
  const RenderStateBlock material = unculled(RenderStateBlock::StencilGroup);  // stencil off
  EXPECT_TRUE(tstest::pixelNear(drawWith(material, kRed), 0, 0, 255));
  context->clearRenderStateOverride();
  EXPECT_TRUE(tstest::pixelNear(drawWith(material, kRed), 255, 0, 0));
}

TEST_F(StatePixels, StageStateChoosesTheColourSource) {
  // The texture factor, white on a new device, instead of the vertex colour.
  TextureStageStateBlock stage = context->currentStageState[0];
  stage.colorArg1 = ArgTFactor;
  context->applyStageState(0, stage);
  EXPECT_TRUE(tstest::pixelNear(drawWith(unculled(0), kRed), 255, 255, 255));
  stage.colorArg1 = ArgDiffuse;
  context->applyStageState(0, stage);
  EXPECT_TRUE(tstest::pixelNear(drawWith(unculled(0), kRed), 255, 0, 0));
}

}  // namespace
