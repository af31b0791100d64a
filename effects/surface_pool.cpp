#include "effects/surface_pool.h"

#include "context/render_surface.h"

SurfacePool::SurfacePool(unsigned int width_, unsigned int height_, bool powerOfTwo_, bool keepAspect_)
    : width(width_), height(height_), powerOfTwo(powerOfTwo_), keepAspect(keepAspect_) {}

SurfacePool::~SurfacePool() = default;

ts3d::RenderSurface* SurfacePool::acquire() {
  for (Entry& entry : entries) {
    if (!entry.inUse) {
      entry.inUse = true;
      return entry.surface;
    }
  }
  entries.push_back({true, ts3d::RenderSurface::create(width, height, powerOfTwo, keepAspect)});
  return entries.back().surface;
}

bool SurfacePool::release(ts3d::RenderSurface* surface) {
  for (Entry& entry : entries) {
    if (entry.surface == surface) {
      entry.inUse = false;
      return true;
    }
  }
  return false;
}

void SurfacePool::empty() {
  for (Entry& entry : entries) delete entry.surface;
  entries.clear();
}
