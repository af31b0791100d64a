#include <gtest/gtest.h>

#include "tests/context/context_fixture.h"

namespace {

using tstest::ContextTest;
using tstest::DeviceCallKind;
using tstest::pixelNear;

TEST_F(ContextTest, ClearDirectAndThroughTheQuadWithAlphaOnlyWrites) {
  context->clear(7, true);  // the default clear colour is blue
  readTarget();
  EXPECT_TRUE(pixelNear(rgbAt(320, 240), 0, 0, 255));

  // Through the quad the whole viewport takes the colour; alpha only leaves the colours red.
  for (const auto& [flags, clearColor] : {std::pair{1, ts3d::color(1, 0, 0, 1)}, {8 | 1, ts3d::color(0, 1, 0, 0.5f)}}) {
    context->setClearColor(clearColor);
    context->beginScene();
    context->clear(flags, false);
    context->endScene();
    readTarget();
    EXPECT_TRUE(pixelNear(rgbAt(0, 0), 255, 0, 0) && pixelNear(rgbAt(639, 479), 255, 0, 0)) << flags;
  }

  // Without stencil bits the stencil flag is dropped and the rest is cleared.
  proxy->clearLog();
  context->capabilities.stencilBits = 0;
  context->clear(4 | 2, true);
  ASSERT_EQ(proxy->count(DeviceCallKind::Clear), 1u);
  EXPECT_EQ(proxy->callsOf(DeviceCallKind::Clear)[0].args[1], D3DCLEAR_ZBUFFER);
}

TEST_F(ContextTest, VertexRingAlignsToEachStrideAndWrapsWithDiscard) {
  struct Lock {
    DWORD fvf;
    uint32_t stride, count;
    int64_t offset, flags;  // expected
  } const locks[] = {
      {D3DFVF_XYZRHW | D3DFVF_DIFFUSE, 20, 4, 0, D3DLOCK_DISCARD},
      {D3DFVF_XYZ | D3DFVF_DIFFUSE, 16, 3, 96, D3DLOCK_NOOVERWRITE},  // 0 + 80 + 16, down to 16
      {D3DFVF_XYZ, 12, 87000, 156, D3DLOCK_NOOVERWRITE},              // 96 + 48 + 12, ends below 0x100000
      {D3DFVF_XYZ, 12, 1000, 0, D3DLOCK_DISCARD},                     // would pass the end
  };
  proxy->clearLog();
  for (const Lock& lock : locks) {
    ASSERT_NE(context->lockDynamicVertices(lock.fvf, lock.stride, lock.count), nullptr);
    context->unlockDynamicVertices();
    const tstest::DeviceCall call = proxy->callsOf(DeviceCallKind::LockVertexBuffer).back();
    EXPECT_EQ(call.args[0], lock.offset) << lock.count;
    EXPECT_EQ(call.args[2], lock.flags) << lock.count;
  }
  EXPECT_EQ(proxy->count(DeviceCallKind::CreateVertexBuffer), 1u) << "the ring is made once";
  EXPECT_EQ(context->lockDynamicVertices(D3DFVF_XYZ, 12, 0x100000 / 12 + 1), nullptr) << "too big for the ring";
}

TEST_F(ContextTest, RenderSurfacesOfBothKindsAreDrawnIntoReadBackAndReleased) {
  ts3d::RenderSurface* screen = ts3d::RenderSurface::create(640, 480, true, false);
  ts3d::RenderSurface* small = ts3d::RenderSurface::create(256, 256, false, true);
  EXPECT_FLOAT_EQ(screen->uScale, 1.0f / 1024.0f) << "a power-of-two texture around the screen";

  ts3d::RenderSurface* back = context->renderTarget();
  context->setRenderTarget(screen);
  context->setClearColor(ts3d::color(0.0f, 1.0f, 0.0f, 1.0f));
  context->clear(1, true);
  readTarget();
  EXPECT_EQ(frameWidth, 1024u);
  EXPECT_TRUE(pixelNear(rgbAt(100, 100), 0, 255, 0));

  // The quad covers the viewport alone, cut to the back buffer's 4:3: inside it yellow, below it not.
  context->setRenderTarget(small);
  context->setClearColor(ts3d::color(1.0f, 1.0f, 0.0f, 1.0f));
  context->beginScene();
  context->clear(1, false);
  context->endScene();
  readTarget();
  EXPECT_TRUE(pixelNear(rgbAt(128, 100), 255, 255, 0) && !pixelNear(rgbAt(128, 220), 255, 255, 0));
  context->setRenderTarget(back);
  delete screen;
  delete small;

  // Nothing of ours, rings and surfaces included, outlives the context.
  context->lockDynamicIndices(3);
  context->unlockDynamicIndices();
  IDirect3DDevice9* real = proxy->real();
  real->AddRef();
  ts3d::Context::destroy();
  EXPECT_EQ(real->Release(), 0u);
}

}  // namespace
