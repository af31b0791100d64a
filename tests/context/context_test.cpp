#include <gtest/gtest.h>

#include <string>

#include "tests/context/context_fixture.h"

namespace {

using tstest::ContextTest;
using tstest::DeviceCall;
using tstest::DeviceCallKind;

uint32_t at(const std::vector<uint32_t>& pixels, unsigned int width, unsigned int x, unsigned int y) {
  return pixels[static_cast<size_t>(y) * width + x];
}

void saveOnFailure(bool ok, const std::vector<uint32_t>& pixels, unsigned int width, unsigned int height,
                   const char* name) {
  if (!ok) tstest::saveFailedFrame(pixels, width, height, name);
}

TEST(ContextConfiguration, DisplayModeSettlesDepthAndWindowsDefaultToFocus) {
  ts3d::Context::setDisplayMode(800, 600, 16);
  EXPECT_EQ(ts3d::Context::depthBits, 16);
  EXPECT_EQ(ts3d::Context::colorBits, 16);
  ts3d::Context::setDisplayMode(800, 600, 32);
  EXPECT_EQ(ts3d::Context::depthBits, 24);
  ts3d::Context::setDisplayMode(1024, 768, -1);
  EXPECT_EQ(ts3d::Context::colorBits, -1);
  EXPECT_EQ(ts3d::Context::screenRect.right, 1024);
  EXPECT_EQ(ts3d::Context::screenRect.bottom, 768);

  HWND focus = reinterpret_cast<HWND>(0x1234);
  ts3d::Context::setWindows(focus, nullptr);
  EXPECT_EQ(ts3d::Context::deviceWindow, focus);
  ts3d::Context::setWindows(nullptr, nullptr);
}

TEST_F(ContextTest, CreateSettlesFromTheDesktopAndReadsCapabilities) {
  EXPECT_EQ(ts3d::Context::colorBits, 32);
  EXPECT_EQ(ts3d::Context::depthBits, 24);
  EXPECT_EQ(context->capabilities.stencilBits, 8u);
  EXPECT_GE(context->capabilities.maxLights, 8u);
  EXPECT_FLOAT_EQ(context->aspect, 640.0f / 480.0f);
  ASSERT_NE(context->currentTarget, nullptr);
  EXPECT_EQ(context->currentTarget->texture.get(), nullptr);
  EXPECT_EQ(context->currentTarget->owner, context);
  EXPECT_EQ(context->currentTarget->viewport.Width, 640u);
}

TEST_F(ContextTest, ClearDirectAndThroughTheQuadWithAlphaOnlyWrites) {
  IDirect3DSurface9* back = context->currentTarget->surface.get();

  proxy->clearLog();
  context->clear(0, true);
  context->clear(0, false);
  EXPECT_EQ(proxy->totalCalls(), 0u) << "clear(0) must touch nothing";

  // The default clear colour is blue; nothing is stored by clear itself.
  context->clear(7, true);
  std::vector<uint32_t> pixels = readTarget(back);
  bool ok = tstest::pixelNear(at(pixels, 640, 320, 240), 0, 0, 255);
  saveOnFailure(ok, pixels, 640, 480, "ClearDirect");
  EXPECT_TRUE(ok);
  ASSERT_EQ(proxy->count(DeviceCallKind::Clear), 1u);
  EXPECT_EQ(proxy->callsOf(DeviceCallKind::Clear)[0].args[1],
            D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER | D3DCLEAR_STENCIL);

  // Through the quad: the whole viewport takes the colour.
  context->setClearColor(ts3d::color(1.0f, 0.0f, 0.0f, 1.0f));
  context->beginScene();
  context->clear(1, false);
  context->endScene();
  pixels = readTarget(back);
  ok = tstest::pixelNear(at(pixels, 640, 0, 0), 255, 0, 0) && tstest::pixelNear(at(pixels, 640, 639, 479), 255, 0, 0);
  saveOnFailure(ok, pixels, 640, 480, "ClearQuad");
  EXPECT_TRUE(ok);

  // Alpha only: the colours stay red although the clear colour is green.
  context->setClearColor(ts3d::color(0.0f, 1.0f, 0.0f, 0.5f));
  context->beginScene();
  context->clear(8 | 1, false);
  context->endScene();
  pixels = readTarget(back);
  ok = tstest::pixelNear(at(pixels, 640, 320, 240), 255, 0, 0);
  saveOnFailure(ok, pixels, 640, 480, "ClearAlphaOnly");
  EXPECT_TRUE(ok);

  // Without stencil bits the stencil flag is dropped and the rest is cleared.
  proxy->clearLog();
  context->capabilities.stencilBits = 0;
  context->clear(4 | 2, true);
  ASSERT_EQ(proxy->count(DeviceCallKind::Clear), 1u);
  EXPECT_EQ(proxy->callsOf(DeviceCallKind::Clear)[0].args[1], D3DCLEAR_ZBUFFER);
}

TEST_F(ContextTest, VertexRingAlignsToEachStrideAndWrapsWithDiscard) {
  proxy->clearLog();
  ASSERT_NE(context->lockDynamicVertices(D3DFVF_XYZRHW | D3DFVF_DIFFUSE, 20, 4), nullptr);
  context->unlockDynamicVertices();
  ASSERT_NE(context->lockDynamicVertices(D3DFVF_XYZ | D3DFVF_DIFFUSE, 16, 3), nullptr);
  context->unlockDynamicVertices();
  ASSERT_NE(context->lockDynamicVertices(D3DFVF_XYZRHW | D3DFVF_DIFFUSE, 20, 2), nullptr);
  context->unlockDynamicVertices();
  // A lock that would pass the end goes back to 0.
  ASSERT_NE(context->lockDynamicVertices(D3DFVF_XYZ, 12, 87000), nullptr);
  context->unlockDynamicVertices();
  ASSERT_NE(context->lockDynamicVertices(D3DFVF_XYZ, 12, 1000), nullptr);
  context->unlockDynamicVertices();

  const std::vector<DeviceCall> locks = proxy->callsOf(DeviceCallKind::LockVertexBuffer);
  ASSERT_EQ(locks.size(), 5u);
  struct Expected {
    int64_t offset, size, flags;
  } expected[] = {
      {0, 80, D3DLOCK_DISCARD},
      {96, 48, D3DLOCK_NOOVERWRITE},    // (0 + 80 + 16) rounded down to 16
      {160, 40, D3DLOCK_NOOVERWRITE},   // (96 + 48 + 20) rounded down to 20
      {204, 1044000, D3DLOCK_NOOVERWRITE},  // (160 + 40 + 12) rounded down to 12; ends below 0x100000
      {0, 12000, D3DLOCK_DISCARD},      // 1044204 + 12000 would pass the end
  };
  for (size_t i = 0; i < locks.size(); ++i) {
    EXPECT_EQ(locks[i].args[0], expected[i].offset) << i;
    EXPECT_EQ(locks[i].args[1], expected[i].size) << i;
    EXPECT_EQ(locks[i].args[2], expected[i].flags) << i;
  }
  EXPECT_EQ(proxy->count(DeviceCallKind::CreateVertexBuffer), 1u) << "the ring is made once";
  EXPECT_EQ(context->lockDynamicVertices(D3DFVF_XYZ, 12, 0x100000 / 12 + 1), nullptr) << "too big for the ring";

  // Drawing from the ring binds it at the last lock's offset and stride.
  proxy->clearLog();
  context->drawDynamicVertices(D3DPT_TRIANGLELIST, 0, 1);
  ASSERT_EQ(proxy->count(DeviceCallKind::SetStreamSource), 1u);
  EXPECT_EQ(proxy->callsOf(DeviceCallKind::SetStreamSource)[0].args[1], 0);
  EXPECT_EQ(proxy->callsOf(DeviceCallKind::SetStreamSource)[0].args[2], 12);
  EXPECT_EQ(proxy->callsOf(DeviceCallKind::SetFVF)[0].args[0], D3DFVF_XYZ);
  EXPECT_EQ(proxy->count(DeviceCallKind::SetVertexShader), 1u);
}

TEST_F(ContextTest, IndexRingFollowsWithoutAlignment) {
  proxy->clearLog();
  context->lockDynamicIndices(3);
  context->unlockDynamicIndices();
  context->lockDynamicIndices(5);
  context->unlockDynamicIndices();
  context->lockDynamicIndices(0x7fff9);
  context->unlockDynamicIndices();
  const std::vector<DeviceCall> locks = proxy->callsOf(DeviceCallKind::LockIndexBuffer);
  ASSERT_EQ(locks.size(), 3u);
  EXPECT_EQ(locks[0].args[0], 0);
  EXPECT_EQ(locks[0].args[2], D3DLOCK_DISCARD);
  EXPECT_EQ(locks[1].args[0], 6);
  EXPECT_EQ(locks[1].args[2], D3DLOCK_NOOVERWRITE);
  EXPECT_EQ(locks[2].args[0], 0) << "16 + 0xffff2 passes the end";
  EXPECT_EQ(locks[2].args[2], D3DLOCK_DISCARD);
}

TEST_F(ContextTest, TransformCacheComputesEachProductOnceBetweenSetters) {
  ts3d::TransformCache& cache = context->transforms;
  ts3d::matrix world, view, projection;
  D3DXMatrixTranslation(&world, 1, 2, 3);
  D3DXMatrixRotationY(&view, 0.5f);
  D3DXMatrixScaling(&projection, 2, 2, 1);
  cache.setWorld(world);
  cache.setView(view);
  cache.setProjection(projection);
  const uint32_t before = cache.computations;

  ts3d::matrix expected;
  D3DXMatrixMultiply(&expected, &world, &view);
  D3DXMatrixMultiply(&expected, &expected, &projection);
  EXPECT_EQ(cache.getWorldViewProjection(), expected);
  const uint32_t afterFirst = cache.computations;
  cache.getWorldViewProjection();
  cache.getWorldView();
  EXPECT_EQ(cache.computations, afterFirst) << "nothing recomputed while valid";
  EXPECT_EQ(afterFirst - before, 2u) << "world x view, then times projection";

  // A new projection keeps world x view but not the products with projection.
  cache.setProjection(projection);
  EXPECT_TRUE(cache.valid & ts3d::TransformCache::kWorldView);
  EXPECT_FALSE(cache.valid & ts3d::TransformCache::kWorldViewProjection);
  cache.getViewProjection();
  const uint32_t beforeWvp = cache.computations;
  cache.getWorldViewProjection();
  EXPECT_EQ(cache.computations, beforeWvp + 1) << "world x the valid view-projection";

  ts3d::matrix inverse;
  D3DXMatrixMultiply(&inverse, &cache.getInverseView(), &view);
  ts3d::matrix identity;
  D3DXMatrixIdentity(&identity);
  for (int i = 0; i < 16; ++i) EXPECT_NEAR((&inverse._11)[i], (&identity._11)[i], 1e-5f);
  cache.setWorld(world);
  EXPECT_TRUE(cache.valid & ts3d::TransformCache::kInverseView) << "the world leaves the view's inverse";
  EXPECT_FALSE(cache.valid & ts3d::TransformCache::kInverseWorldView);
}

TEST_F(ContextTest, ClipPlanesFogAndLightsReachTheDevice) {
  proxy->clearLog();
  context->pushClipPlane(D3DXPLANE(0, 1, 0, 2));
  context->pushClipPlane(D3DXPLANE(1, 0, 0, 0));
  std::vector<DeviceCall> states = proxy->callsOf(DeviceCallKind::SetRenderState);
  ASSERT_EQ(states.size(), 2u);
  EXPECT_EQ(states[1], tstest::renderStateCall(D3DRS_CLIPPLANEENABLE, 3));
  float sent[4];
  proxy->real()->GetClipPlane(0, sent);
  EXPECT_FLOAT_EQ(sent[3], -2.0f) << "the fourth component is negated";
  context->clearClipPlanes();
  EXPECT_EQ(proxy->callsOf(DeviceCallKind::SetRenderState).back(), tstest::renderStateCall(D3DRS_CLIPPLANEENABLE, 0));
  EXPECT_TRUE(context->clipPlanes.empty());

  proxy->clearLog();
  ts3d::FogSettings fog;
  fog.mode = 1;
  fog.kind = 2;
  fog.color = 0xff808080;
  fog.start = 10.0f;
  fog.end = 20.0f;
  context->setFog(true, fog);
  states = proxy->callsOf(DeviceCallKind::SetRenderState);
  ASSERT_EQ(states.size(), 7u);
  EXPECT_EQ(states[0], tstest::renderStateCall(D3DRS_FOGENABLE, TRUE));
  EXPECT_EQ(states[1], tstest::renderStateCall(D3DRS_FOGCOLOR, 0xff808080));
  EXPECT_EQ(states[4], tstest::renderStateCall(D3DRS_FOGTABLEMODE, D3DFOG_LINEAR));
  proxy->clearLog();
  context->setFog(true, ts3d::FogSettings{});
  ASSERT_EQ(proxy->count(DeviceCallKind::SetRenderState), 1u) << "mode 0 only switches fog off";

  D3DLIGHT9 light = {};
  light.Type = D3DLIGHT_DIRECTIONAL;
  light.Direction = {0, 0, -1};
  light.Diffuse = {1, 1, 1, 1};
  context->addLight(&light);
  context->addLight(&light);
  EXPECT_EQ(context->lightCount, 2u);
  BOOL enabled = FALSE;
  proxy->real()->GetLightEnable(1, &enabled);
  EXPECT_TRUE(enabled);
  context->clearLights();
  proxy->real()->GetLightEnable(1, &enabled);
  EXPECT_FALSE(enabled);
  EXPECT_EQ(context->lightCount, 0u);
}

TEST_F(ContextTest, RenderSurfacesOfBothKindsAreDrawnIntoAndReadBack) {
  ts3d::RenderSurface* screen = ts3d::RenderSurface::create(640, 480, true, false);
  ts3d::RenderSurface* small = ts3d::RenderSurface::create(256, 256, false, true);
  ASSERT_NE(screen->texture.get(), nullptr);
  ASSERT_NE(small->texture.get(), nullptr);
  D3DSURFACE_DESC desc;
  screen->surface->GetDesc(&desc);
  EXPECT_EQ(desc.Width, 1024u);
  EXPECT_EQ(desc.Height, 512u);
  EXPECT_EQ(screen->viewport.Width, 640u);
  EXPECT_EQ(screen->viewport.Height, 480u);
  EXPECT_FLOAT_EQ(screen->uScale, 1.0f / 1024.0f);
  small->surface->GetDesc(&desc);
  EXPECT_EQ(desc.Width, 256u);
  EXPECT_EQ(small->viewport.Width, 256u);
  EXPECT_EQ(small->viewport.Height, 192u) << "cut to the back buffer's 4:3";

  ts3d::RenderSurface* back = context->renderTarget();
  context->setRenderTarget(screen);
  EXPECT_EQ(screen->owner, context);
  EXPECT_EQ(back->owner, nullptr);
  context->setClearColor(ts3d::color(0.0f, 1.0f, 0.0f, 1.0f));
  context->clear(1, true);
  context->setRenderTarget(small);
  context->setClearColor(ts3d::color(1.0f, 1.0f, 0.0f, 1.0f));
  context->beginScene();
  context->clear(1, false);
  context->endScene();
  context->setRenderTarget(back);

  std::vector<uint32_t> pixels = readTarget(screen->surface.get());
  bool ok = tstest::pixelNear(at(pixels, 1024, 100, 100), 0, 255, 0);
  saveOnFailure(ok, pixels, 1024, 512, "SurfaceScreen");
  EXPECT_TRUE(ok);
  pixels = readTarget(small->surface.get());
  // The quad covers the viewport alone: inside it yellow, below it not.
  ok = tstest::pixelNear(at(pixels, 256, 128, 100), 255, 255, 0) && !tstest::pixelNear(at(pixels, 256, 128, 220), 255, 255, 0);
  saveOnFailure(ok, pixels, 256, 256, "SurfaceSmall");
  EXPECT_TRUE(ok);
  delete screen;
  delete small;
}

TEST_F(ContextTest, DestroyReleasesEveryReferenceItHolds) {
  // Use the rings and a surface, so their device objects exist too.
  context->lockDynamicVertices(D3DFVF_XYZ, 12, 3);
  context->unlockDynamicVertices();
  context->lockDynamicIndices(3);
  context->unlockDynamicIndices();
  ts3d::RenderSurface* surface = ts3d::RenderSurface::create(64, 64, false, false);
  delete surface;

  IDirect3DDevice9* real = proxy->real();
  real->AddRef();
  ts3d::Context::destroy();
  EXPECT_EQ(ts3d::Context::instance, nullptr);
  EXPECT_EQ(real->Release(), 0u) << "a reference of ours outlived the context";
}

}  // namespace

namespace {

TEST(ContextCreate, UnsupportedMultisampleFallsBackInsteadOfFailing) {
  HWND window = tstest::createHiddenWindow(320, 240);
  ts3d::Context::setWindows(window, nullptr);
  ts3d::Context::setFullscreenOptions(false, false, false);
  ts3d::Context::setDisplayMode(320, 240, -1);
  // A quality no device offers is dropped; a type it refuses goes to none.
  ts3d::Context::setMultisample(D3DMULTISAMPLE_16_SAMPLES, 1000);
  ts3d::Context::create();
  ASSERT_NE(ts3d::Context::instance, nullptr);
  EXPECT_EQ(ts3d::Context::multisampleQuality, 0);
  EXPECT_TRUE(ts3d::Context::multisampleType == 0 || ts3d::Context::multisampleType == D3DMULTISAMPLE_16_SAMPLES);
  ts3d::Context::instance->clear(7, true);
  ts3d::Context::destroy();
  ts3d::Context::setMultisample(0, 0);
  DestroyWindow(window);
}

TEST_F(ContextTest, SixteenBitDepthReachesLaterSurfaces) {
  // What the fallback from D24S8 leaves behind: every later surface takes D16.
  ts3d::Context::depthBits = 16;
  ts3d::RenderSurface* surface = ts3d::RenderSurface::create(128, 128, false, false);
  ASSERT_NE(surface->depthSurface.get(), nullptr);
  D3DSURFACE_DESC desc;
  surface->depthSurface->GetDesc(&desc);
  EXPECT_EQ(desc.Format, D3DFMT_D16);
  delete surface;
  ts3d::Context::depthBits = 24;
  surface = ts3d::RenderSurface::create(128, 128, false, false);
  surface->depthSurface->GetDesc(&desc);
  EXPECT_EQ(desc.Format, D3DFMT_D24S8);
  delete surface;
}

}  // namespace
