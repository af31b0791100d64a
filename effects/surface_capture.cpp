#include "effects/surface_capture.h"

#include "context/context.h"
#include "driver/driver_kmt.h"

void SurfaceCapture::warmUp() {
  if (ts3d::Context::instance) theDriver.releaseSurface(theDriver.acquireSurface(kScreen));
}

void SurfaceCapture::acquire() {
  if (!surface) surface = theDriver.acquireSurface(kind);
}

void SurfaceCapture::release() {
  if (surface) theDriver.releaseSurface(surface);
  surface = nullptr;
}

void SurfaceCapture::begin() {
  if (!surface) return;
  ts3d::Context* context = ts3d::Context::instance;
  savedTarget = context->renderTarget();
  context->setRenderTarget(surface);
}

void SurfaceCapture::end() {
  if (!savedTarget) return;
  ts3d::Context::instance->setRenderTarget(savedTarget);
  savedTarget = nullptr;
}

ScreenRect SurfaceCapture::picture() const {
  const D3DVIEWPORT9& viewport = surface->viewport;
  return {0.0f, 0.0f, static_cast<float>(viewport.Width) * surface->uScale,
          static_cast<float>(viewport.Height) * surface->vScale};
}
