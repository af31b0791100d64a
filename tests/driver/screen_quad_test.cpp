#include <gtest/gtest.h>

#include "effects/screen_vertex.h"
#include "tests/context/context_fixture.h"

namespace {

using tstest::DeviceCallKind;
using ScreenQuad = tstest::ContextTest;

TEST_F(ScreenQuad, DrawsItsRectangleWithTheEffectsVertexFormat) {
  context->clear(7, true);
  context->resetTextureStages();
  const D3DCOLOR green = D3DCOLOR_XRGB(0, 255, 0);
  // Counter-clockwise strip over x 100..300, y 100..200.
  const ScreenVertex quad[4] = {{100, 100, 1, 1, green, 0, 0},
                                {100, 200, 1, 1, green, 0, 1},
                                {300, 100, 1, 1, green, 1, 0},
                                {300, 200, 1, 1, green, 1, 1}};
  proxy->clearLog();
  context->beginScene();
  drawScreenQuad(quad);
  context->endScene();

  ASSERT_EQ(proxy->count(DeviceCallKind::DrawPrimitiveUP), 1u);
  const tstest::DeviceCall draw = proxy->callsOf(DeviceCallKind::DrawPrimitiveUP)[0];
  EXPECT_EQ(draw.args[0], D3DPT_TRIANGLESTRIP);
  EXPECT_EQ(draw.args[1], 2);
  EXPECT_EQ(draw.args[2], 28);
  EXPECT_EQ(proxy->callsOf(DeviceCallKind::SetFVF)[0].args[0], 0x144);
  EXPECT_EQ(proxy->count(DeviceCallKind::SetVertexShader), 1u);

  const std::vector<uint32_t> pixels = readTarget(context->currentTarget->surface.get());
  EXPECT_TRUE(tstest::pixelNear(pixels[150 * 640 + 200], 0, 255, 0));
  EXPECT_TRUE(tstest::pixelNear(pixels[150 * 640 + 320], 0, 0, 255)) << "right of the quad: the clear colour";
  EXPECT_TRUE(tstest::pixelNear(pixels[220 * 640 + 200], 0, 0, 255)) << "below the quad: the clear colour";

  // While an effect pass runs, its vertex shader stays.
  proxy->clearLog();
  context->effectActive = true;
  context->beginScene();
  drawScreenQuad(quad);
  context->endScene();
  context->effectActive = false;
  EXPECT_EQ(proxy->count(DeviceCallKind::SetVertexShader), 0u);
}

}  // namespace
