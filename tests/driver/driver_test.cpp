#include <gtest/gtest.h>

#include <windows.h>

#include "context/context.h"
#include "driver/data_kind.h"
#include "driver/driver_kmt.h"
#include "tests/device/test_device.h"

namespace {

TEST(DataKind, TheLastDotDecidesCaseSensitively) {
  // The image extensions themselves are the table in the code; one stands for them.
  const std::pair<const char*, DataKind> rows[] = {
      {"c:\\demo\\my.scene.ts2", DataKind::Scene}, {"a.png", DataKind::Texture},        {"scene.TS2", DataKind::None},
      {"scene.ts2.bak", DataKind::None},           {"dir.v2\\picture", DataKind::None}, {"", DataKind::None}};
  for (const auto& [path, kind] : rows) EXPECT_EQ(dataKindOf(path), kind) << path;
  EXPECT_EQ(theDriver.loadData("music.ogg"), nullptr);
}

TEST(RenderWindow, PoolsReuseFreedSurfacesAndEmptyWhenTheWindowCloses) {
  HWND window = tstest::createHiddenWindow(640, 480);
  ASSERT_TRUE(theDriver.renderWindow()->open(window, nullptr, 640, 480, 32, true, 0));
  ts3d::RenderSurface* first = theDriver.acquireSurface(0);
  ts3d::RenderSurface* second = theDriver.acquireSurface(0);
  ASSERT_NE(first, nullptr);
  EXPECT_NE(first, second);
  theDriver.releaseSurface(first);
  EXPECT_EQ(theDriver.acquireSurface(0), first) << "the freed surface is handed out again";
  EXPECT_NE(theDriver.acquireSurface(0), first) << "but not while it is in use";

  // Harmless releases: null, twice; kinds outside the two give nothing.
  theDriver.releaseSurface(nullptr);
  theDriver.releaseSurface(second);
  theDriver.releaseSurface(second);
  EXPECT_EQ(theDriver.acquireSurface(0), second);
  EXPECT_EQ(theDriver.acquireSurface(2), nullptr);
  EXPECT_EQ(theDriver.acquireSurface(-1), nullptr);
  ASSERT_NE(theDriver.acquireSurface(1), nullptr);

  // Closing frees them with the device: nothing of ours keeps the device alive.
  IDirect3DDevice9* device = ts3d::Context::instance->device.get();
  device->AddRef();
  theDriver.renderWindow()->close();
  EXPECT_EQ(device->Release(), 0u);
  DestroyWindow(window);
}

}  // namespace
