#pragma once

#include <cstdint>

#include "effects/screen_vertex.h"

namespace ts3d {
class RenderSurface;
}

// A surface of the driver's pools that an effect holds while it is open, and the drawing
// it redirects there: the target it saved, to go back to.
class SurfaceCapture {
 public:
  // The pools' kinds: a 640 x 480 picture, or a 256 x 256 one cut to the screen's aspect.
  static constexpr int32_t kScreen = 0;
  static constexpr int32_t kSmall = 1;

  explicit SurfaceCapture(int32_t kind_) : kind(kind_) {}
  ~SurfaceCapture() { release(); }
  SurfaceCapture(const SurfaceCapture&) = delete;
  SurfaceCapture& operator=(const SurfaceCapture&) = delete;

  // Takes a screen surface and gives it back, so that the pool holds one before the first
  // frame. Without a Context there is nothing to warm.
  static void warmUp();

  void acquire();
  // Safe twice.
  void release();
  // Drawing goes to the surface from here on; nothing happens without one.
  void begin();
  // Back to the saved target, if one is saved; it is forgotten then.
  void end();
  // The part of the surface's texture that holds the picture, in texture coordinates.
  ScreenRect picture() const;

  ts3d::RenderSurface* surface = nullptr;      // while acquired
  ts3d::RenderSurface* savedTarget = nullptr;  // while redirected

 private:
  int32_t kind;
};
