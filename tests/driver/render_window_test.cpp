#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "context/context.h"
#include "driver/driver_kmt.h"
#include "tests/device/test_device.h"

namespace {

class RenderWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    window = tstest::createHiddenWindow(640, 480);
    ASSERT_TRUE(theDriver.renderWindow()->open(window, nullptr, 640, 480, 32, true, 0));
  }
  void TearDown() override {
    if (theDriver.window.isOpen) theDriver.renderWindow()->close();
    DestroyWindow(window);
  }

  std::vector<uint32_t> readBack() {
    IDirect3DDevice9* device = ts3d::Context::instance->device.get();
    std::vector<uint32_t> pixels;
    IDirect3DSurface9* back = nullptr;
    IDirect3DSurface9* copy = nullptr;
    device->GetBackBuffer(0, 0, D3DBACKBUFFER_TYPE_MONO, &back);
    device->CreateOffscreenPlainSurface(640, 480, D3DFMT_X8R8G8B8, D3DPOOL_SYSTEMMEM, &copy, nullptr);
    if (SUCCEEDED(device->GetRenderTargetData(back, copy))) {
      D3DLOCKED_RECT locked;
      copy->LockRect(&locked, nullptr, D3DLOCK_READONLY);
      pixels.resize(640 * 480);
      for (int y = 0; y < 480; ++y)
        for (int x = 0; x < 640; ++x)
          pixels[y * 640 + x] =
              reinterpret_cast<const uint32_t*>(static_cast<const char*>(locked.pBits) + y * locked.Pitch)[x];
      copy->UnlockRect();
    }
    copy->Release();
    back->Release();
    return pixels;
  }

  HWND window = nullptr;
};

TEST_F(RenderWindowTest, OpenConfiguresTheContextFromTheHostsArguments) {
  RenderWindow* renderWindow = theDriver.renderWindow();
  EXPECT_TRUE(renderWindow->isOpen);
  EXPECT_EQ(renderWindow->context, ts3d::Context::instance);
  EXPECT_EQ(renderWindow->width, 640u);
  EXPECT_EQ(ts3d::Context::colorBits, 32) << "windowed: the desktop's format settles the depth";
  EXPECT_EQ(ts3d::Context::focusWindow, window);
  EXPECT_EQ(ts3d::Context::deviceWindow, window);
  renderWindow->close();
  EXPECT_EQ(ts3d::Context::instance, nullptr);
  // Antialias 3 means no multisampling; bits are ignored in a window.
  renderWindow->open(window, nullptr, 640, 480, 16, true, 3);
  EXPECT_EQ(ts3d::Context::multisampleType, 0);
  EXPECT_EQ(ts3d::Context::colorBits, 32);
}

TEST_F(RenderWindowTest, IdleFrameShowsTwoRedDiagonals) {
  RenderWindow* renderWindow = theDriver.renderWindow();
  renderWindow->drawIdleFrame();
  const std::vector<uint32_t> pixels = readBack();
  ASSERT_EQ(pixels.size(), 640u * 480u);
  auto at = [&](int x, int y) { return pixels[y * 640 + x]; };
  // On both diagonals (y = 0.75 x and y = 480 - 0.75 x) the pixel or a neighbour is red.
  auto redNear = [&](int x, int y) {
    for (int dy = -1; dy <= 1; ++dy)
      if (tstest::pixelNear(at(x, y + dy), 255, 0, 0, 8)) return true;
    return false;
  };
  bool ok = true;
  for (int x : {40, 200, 320, 480, 600}) {
    ok &= redNear(x, x * 3 / 4);
    ok &= redNear(x, 480 - x * 3 / 4);
  }
  // Away from the lines: the clear colour, blue.
  for (auto [x, y] : {std::pair{320, 60}, std::pair{320, 420}, std::pair{60, 240}, std::pair{580, 240}})
    ok &= tstest::pixelNear(at(x, y), 0, 0, 255);
  if (!ok) tstest::saveFailedFrame(pixels, 640, 480, "IdleFrame");
  EXPECT_TRUE(ok);
  renderWindow->present();
}

TEST_F(RenderWindowTest, PoolsReuseFreedSurfacesAndEmptyWhenTheWindowCloses) {
  ts3d::RenderSurface* first = theDriver.acquireSurface(0);
  ts3d::RenderSurface* second = theDriver.acquireSurface(0);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_NE(first, second);
  EXPECT_EQ(theDriver.screenSurfaces.size(), 2u);
  theDriver.releaseSurface(first);
  EXPECT_EQ(theDriver.acquireSurface(0), first) << "the freed surface is handed out again";
  EXPECT_EQ(theDriver.screenSurfaces.size(), 2u);

  // Harmless releases: null, unknown, twice.
  theDriver.releaseSurface(nullptr);
  theDriver.releaseSurface(second);
  theDriver.releaseSurface(second);
  EXPECT_EQ(theDriver.acquireSurface(0), second);
  EXPECT_EQ(theDriver.acquireSurface(2), nullptr);
  EXPECT_EQ(theDriver.acquireSurface(-1), nullptr);

  ts3d::RenderSurface* small = theDriver.acquireSurface(1);
  ASSERT_NE(small, nullptr);
  EXPECT_EQ(small->viewport.Height, 192u);
  EXPECT_EQ(theDriver.smallSurfaces.size(), 1u);

  // Closing frees them with the device: nothing of ours keeps the device alive.
  IDirect3DDevice9* device = ts3d::Context::instance->device.get();
  device->AddRef();
  theDriver.renderWindow()->close();
  EXPECT_EQ(theDriver.screenSurfaces.size(), 0u);
  EXPECT_EQ(theDriver.smallSurfaces.size(), 0u);
  EXPECT_EQ(device->Release(), 0u);
}

}  // namespace
