#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "context/context.h"
#include "platform/com_ptr.h"
#include "scene/scene_hierarchy.h"
#include "tests/device/test_device.h"
#include "tests/support/proxy_device.h"

namespace tstest {

// A Context made the way the render window makes it, on a hidden window, with a
// recording proxy between it and the real device.
class ContextTest : public ::testing::Test {
 protected:
  void SetUp() override {
    window = createHiddenWindow(640, 480);
    ts3d::Context::setWindows(window, nullptr);
    ts3d::Context::setFullscreenOptions(false, false, false);
    ts3d::Context::setMultisample(0, 0);
    ts3d::Context::setDisplayMode(640, 480, -1);
    ts3d::Context::wrapDevice = &wrap;
    ts3d::Context::create();
    context = ts3d::Context::instance;
    ASSERT_NE(context, nullptr);
    proxy = static_cast<ProxyDevice*>(context->device.get());
  }
  void TearDown() override {
    if (HasFailure()) {
      const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
      std::string name = std::string(test->test_suite_name()) + "." + test->name();
      for (char& c : name)
        if (c == '/') c = '_';
      saveFailedFrame(frame, frameWidth, frameHeight, name);
    }
    ts3d::Context::destroy();
    ts3d::Context::wrapDevice = nullptr;
    DestroyWindow(window);
  }

  static IDirect3DDevice9* wrap(IDirect3DDevice9* real) {
    ProxyDevice* proxy = ProxyDevice::create(real);
    real->Release();  // the proxy holds the one reference now
    return proxy;
  }

  // Clip space is world space: identity world, view and projection, in the transform cache
  // and on the device.
  void useIdentityTransforms() {
    ts3d::matrix identity;
    D3DXMatrixIdentity(&identity);
    context->setWorldMatrix(identity);
    context->transforms.setView(identity);
    context->device->SetTransform(D3DTS_VIEW, &identity);
    context->transforms.setProjection(identity);
    context->device->SetTransform(D3DTS_PROJECTION, &identity);
  }

  // The scene at time 0 over a black clear, through its renderers, read back.
  void drawScene(ts3d::SceneHierarchy& scene) {
    scene.update(0.0f);
    context->setClearColor(ts3d::color(0, 0, 0, 1));
    context->beginScene();
    scene.clear(0.0f);
    scene.render();
    context->endScene();
    readTarget();
  }

  // The pixels of a surface (by default the current target), read back from the real device
  // as 0xAARRGGBB. The last frame read is saved beside the test program if the test fails.
  std::vector<uint32_t> readTarget(IDirect3DSurface9* surface = nullptr) {
    if (!surface) surface = context->currentTarget->surface.get();
    D3DSURFACE_DESC desc;
    surface->GetDesc(&desc);
    frameWidth = desc.Width;
    frameHeight = desc.Height;
    frame.clear();
    platform::ComPtr<IDirect3DSurface9> copy;
    D3DLOCKED_RECT locked;
    if (SUCCEEDED(proxy->real()->CreateOffscreenPlainSurface(desc.Width, desc.Height, desc.Format,
                                                             D3DPOOL_SYSTEMMEM, copy.out(), nullptr)) &&
        SUCCEEDED(proxy->real()->GetRenderTargetData(surface, copy.get())) &&
        SUCCEEDED(copy->LockRect(&locked, nullptr, D3DLOCK_READONLY))) {
      frame.resize(static_cast<size_t>(desc.Width) * desc.Height);
      for (unsigned int y = 0; y < desc.Height; ++y)
        std::memcpy(&frame[static_cast<size_t>(y) * desc.Width],
                    static_cast<const char*>(locked.pBits) + y * locked.Pitch, desc.Width * sizeof(uint32_t));
      copy->UnlockRect();
    }
    return frame;
  }
  // A pixel of the last frame read, without alpha.
  uint32_t rgbAt(unsigned int x, unsigned int y) const {
    return frame.at(static_cast<size_t>(y) * frameWidth + x) & 0xFFFFFFu;
  }

  std::vector<uint32_t> frame;
  unsigned int frameWidth = 0, frameHeight = 0;
  HWND window = nullptr;
  ts3d::Context* context = nullptr;
  ProxyDevice* proxy = nullptr;
};

}  // namespace tstest
