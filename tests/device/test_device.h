#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/com_ptr.h"

namespace tstest {

// A hidden top-level window of the given client size.
HWND createHiddenWindow(unsigned int width, unsigned int height);

// Saves a frame of 32-bit pixels as "<name>.failed.png" beside the test program, in the
// build tree, for a person to look at; a frame of the wrong size is not saved.
void saveFailedFrame(const std::vector<uint32_t>& frame, unsigned int width, unsigned int height,
                     const std::string& name);

// Whether a 0xAARRGGBB pixel is within `tolerance` of r, g, b on every channel.
bool pixelNear(uint32_t pixel, int r, int g, int b, int tolerance = 3);

// A Direct3D 9 device on a hidden window, for tests that draw and read pixels back.
// Hidden, because destroying a shown window costs seconds without a window manager.
class TestDevice {
 public:
  TestDevice(unsigned int width = 640, unsigned int height = 480);
  ~TestDevice();

  bool ok() const { return static_cast<bool>(device); }
  IDirect3DDevice9* get() const { return device.get(); }

  // The current render target, read back with GetRenderTargetData, as 0xAARRGGBB.
  std::vector<uint32_t> readBack() const;
  uint32_t pixel(const std::vector<uint32_t>& frame, unsigned int x, unsigned int y) const {
    return frame[static_cast<size_t>(y) * width + x];
  }
  // Saves the frame under the test's name so a person can look at a failure.
  void saveFailure(const std::vector<uint32_t>& frame, const std::string& name) const {
    saveFailedFrame(frame, width, height, name);
  }

  const unsigned int width, height;

 private:
  HWND hwnd = nullptr;
  platform::ComPtr<IDirect3D9> d3d;
  platform::ComPtr<IDirect3DDevice9> device;
};

}  // namespace tstest
