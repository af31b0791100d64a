#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

class SurfacePool;
namespace ts3d {
class Context;
}

// The host's handle on the rendering context: opens it on the host's window,
// shows a frame when no effect draws, and presents. The four operations are the
// host's interface, by position; the destructor is not one of them: the window
// lives inside the driver object and is never deleted through a pointer.
class RenderWindow final {
 public:
  explicit RenderWindow(std::vector<SurfacePool*> pools = {});
  virtual bool open(HWND window, HMODULE module, uint32_t width, uint32_t height, int32_t bits, bool windowed,
                    int32_t antialias);
  virtual void close();
  virtual void drawIdleFrame();
  virtual void present();
  ~RenderWindow();
  RenderWindow(const RenderWindow&) = delete;
  RenderWindow& operator=(const RenderWindow&) = delete;

  uint32_t width = 0;
  uint32_t height = 0;
  bool isOpen = false;
  ts3d::Context* context = nullptr;

 private:
  // Pools whose surfaces belong to the device: emptied before it goes, so a
  // reopened window never hands out a surface of an old device.
  std::vector<SurfacePool*> pools;
};
