#include "context/render_surface.h"

#include "context/context.h"

namespace ts3d {
namespace {

uint32_t nextPowerOfTwo(uint32_t value) {
  uint32_t result = 1;
  while (result < value && result < 0x80000000u) result <<= 1;
  return result;
}

}  // namespace

RenderSurface* RenderSurface::create(uint32_t width, uint32_t height, bool powerOfTwo, bool keepAspect) {
  Context* context = Context::instance;
  const D3DFORMAT format = Context::colorBits == 16 ? D3DFMT_R5G6B5 : D3DFMT_A8R8G8B8;
  const D3DFORMAT depthFormat = Context::depthBits == 24 ? D3DFMT_D24S8 : D3DFMT_D16;
  const uint32_t textureWidth = powerOfTwo ? nextPowerOfTwo(width) : width;
  const uint32_t textureHeight = powerOfTwo ? nextPowerOfTwo(height) : height;

  auto* result = new RenderSurface;
  result->texture =
      context->createTexture(textureWidth, textureHeight, 1, D3DUSAGE_RENDERTARGET, format, D3DPOOL_DEFAULT);
  context->device->CreateDepthStencilSurface(textureWidth, textureHeight, depthFormat, D3DMULTISAMPLE_NONE, 0, FALSE,
                                             result->depthSurface.out(), nullptr);
  if (result->texture) result->texture->GetSurfaceLevel(0, result->surface.out());

  const D3DVIEWPORT9& screen = context->currentTarget->viewport;
  D3DVIEWPORT9 viewport = {0, 0, width, height, screen.MinZ, screen.MaxZ};
  if (keepAspect && screen.Height != 0 && height != 0) {
    const float a = static_cast<float>(screen.Width) / static_cast<float>(screen.Height);
    const float b = static_cast<float>(width) / static_cast<float>(height);
    if (a >= b)
      viewport.Height = static_cast<DWORD>(static_cast<float>(width) / a);
    else
      viewport.Width = static_cast<DWORD>(a * static_cast<float>(height));
  }
  result->viewport = viewport;
  result->uScale = 1.0f / static_cast<float>(textureWidth);
  result->vScale = 1.0f / static_cast<float>(textureHeight);
  return result;
}

void RenderSurface::attach(Context* context) {
  owner = context;
  if (context) context->device->SetViewport(&viewport);
}

void RenderSurface::setViewport(const D3DVIEWPORT9& value) {
  viewport = value;
  if (owner) owner->device->SetViewport(&viewport);
}

}  // namespace ts3d
