#include <gtest/gtest.h>

#include "tests/materials/shadowed_device.h"

// States sent through the shadow really change what the device draws.
namespace {

using namespace ts3d;

struct ScreenVertex {
  float x, y, z, rhw;
  DWORD color;
};

const D3DCOLOR background = D3DCOLOR_XRGB(0, 0, 255);

class StatePixels : public tstest::ShadowedDevice {
 protected:
  void SetUp() override {
    ShadowedDevice::SetUp();
    if (HasFatalFailure()) return;
    // Untextured drawing: stage 0 passes the vertex colour through.
    resetTextureStages(proxy, stages);
    proxy->clearLog();
  }

  // A triangle over the top left, clockwise on screen: (0,0), (320,0), (0,480).
  void drawTriangle(D3DCOLOR color) {
    const ScreenVertex triangle[3] = {{0, 0, 0.5f, 1, color}, {320, 0, 0.5f, 1, color}, {0, 480, 0.5f, 1, color}};
    proxy->SetFVF(D3DFVF_XYZRHW | D3DFVF_DIFFUSE);
    proxy->DrawPrimitiveUP(D3DPT_TRIANGLELIST, 1, triangle, sizeof(ScreenVertex));
  }

  // Clears to the background, draws the triangle after applying block, and gives the pixel
  // at (40, 40), inside the triangle.
  uint32_t drawWith(const RenderStateBlock& block, D3DCOLOR color, const char* name) {
    proxy->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER | D3DCLEAR_STENCIL, background, 1.0f, 0);
    proxy->BeginScene();
    apply(block);
    drawTriangle(color);
    proxy->EndScene();
    const std::vector<uint32_t> frame = test.readBack();
    if (frame.empty()) {
      ADD_FAILURE() << "no read-back";
      return 0;
    }
    lastFrame = frame;
    lastName = name;
    return test.pixel(frame, 40, 40);
  }

  void expectPixel(uint32_t pixel, int r, int g, int b) {
    const bool close = tstest::pixelNear(pixel, r, g, b);
    if (!close) test.saveFailure(lastFrame, lastName);
    EXPECT_TRUE(close) << lastName << ": pixel " << std::hex << pixel;
  }

  std::vector<uint32_t> lastFrame;
  const char* lastName = "";
};

TEST_F(StatePixels, CullModeDecidesWhetherAClockwiseTriangleIsDrawn) {
  RenderStateBlock block(RenderStateBlock::RasteriserGroup);
  block.cullMode = CullNone;
  expectPixel(drawWith(block, D3DCOLOR_XRGB(255, 0, 0), "CullNone"), 255, 0, 0);
  block.cullMode = CullClockwise;
  expectPixel(drawWith(block, D3DCOLOR_XRGB(255, 0, 0), "CullClockwise"), 0, 0, 255);
  block.cullMode = CullCounterClockwise;
  expectPixel(drawWith(block, D3DCOLOR_XRGB(255, 0, 0), "CullCounterClockwise"), 255, 0, 0);
  EXPECT_EQ(proxy->count(tstest::DeviceCallKind::SetRenderState), 3u) << ::testing::PrintToString(proxy->calls());
}

TEST_F(StatePixels, AlphaBlendingMixesWithWhatIsThere) {
  RenderStateBlock blended(RenderStateBlock::BlendingGroup | RenderStateBlock::RasteriserGroup);
  blended.cullMode = CullNone;
  blended.alphaBlendEnable = true;
  blended.setBlendPreset(2);
  // Alpha 128: source times 128/255 plus destination times 127/255.
  expectPixel(drawWith(blended, D3DCOLOR_ARGB(128, 255, 0, 0), "Blended"), 128, 0, 127);

  RenderStateBlock opaque(RenderStateBlock::BlendingGroup | RenderStateBlock::RasteriserGroup);
  opaque.cullMode = CullNone;
  expectPixel(drawWith(opaque, D3DCOLOR_ARGB(128, 255, 0, 0), "Opaque"), 255, 0, 0);
}

TEST_F(StatePixels, StencilOverrideHoldsAgainstTheMaterial) {
  RenderStateBlock mask(RenderStateBlock::StencilGroup);
  mask.stencilEnable = true;
  mask.stencilFunc = CompareNever;
  setRenderStateOverride(proxy, current, forced, mask);

  RenderStateBlock material(RenderStateBlock::StencilGroup | RenderStateBlock::RasteriserGroup);
  material.cullMode = CullNone;
  material.stencilEnable = false;
  expectPixel(drawWith(material, D3DCOLOR_XRGB(255, 0, 0), "UnderOverride"), 0, 0, 255);

  clearRenderStateOverride(proxy, current, forced);
  expectPixel(drawWith(material, D3DCOLOR_XRGB(255, 0, 0), "OverrideCleared"), 255, 0, 0);
}

TEST_F(StatePixels, StageStateChoosesTheColourSource) {
  RenderStateBlock noCulling(RenderStateBlock::RasteriserGroup);
  noCulling.cullMode = CullNone;

  // The texture factor, white by default on a new device, instead of the vertex colour.
  TextureStageStateBlock factor = stages[0];
  factor.colorArg1 = ArgTFactor;
  applyStageState(proxy, stages, 0, factor);
  expectPixel(drawWith(noCulling, D3DCOLOR_XRGB(255, 0, 0), "TextureFactor"), 255, 255, 255);

  TextureStageStateBlock diffuse = factor;
  diffuse.colorArg1 = ArgDiffuse;
  applyStageState(proxy, stages, 0, diffuse);
  expectPixel(drawWith(noCulling, D3DCOLOR_XRGB(255, 0, 0), "Diffuse"), 255, 0, 0);
}

}  // namespace
