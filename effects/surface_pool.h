#pragma once

#include <cstddef>
#include <vector>

namespace ts3d {
class RenderSurface;
}

// Off-screen pictures of one size that filters and transitions borrow for a frame.
// Taking the first free one keeps the pool as small as the busiest frame needs.
class SurfacePool {
 public:
  struct Entry {
    bool inUse;
    ts3d::RenderSurface* surface;
  };

  SurfacePool(unsigned int width, unsigned int height, bool powerOfTwo, bool keepAspect);
  ~SurfacePool();
  SurfacePool(const SurfacePool&) = delete;
  SurfacePool& operator=(const SurfacePool&) = delete;

  ts3d::RenderSurface* acquire();
  // True when the surface was one of this pool's.
  bool release(ts3d::RenderSurface* surface);
  // Frees every surface: they belong to a device that is about to go.
  void empty();
  size_t size() const { return entries.size(); }

 private:
  std::vector<Entry> entries;
  unsigned int width, height;
  bool powerOfTwo, keepAspect;
};
