#pragma once

#include <d3d9.h>

#include <cstdint>

#include "platform/com_ptr.h"

namespace ts3d {

class Context;

// A picture that drawing can go to: a render-target texture with its own depth
// surface, or the back buffer itself (no texture).
class RenderSurface {
 public:
  RenderSurface() = default;
  RenderSurface(const RenderSurface&) = delete;
  RenderSurface& operator=(const RenderSurface&) = delete;

  // Needs a Context. Power-of-two textures are at least the size asked for; with
  // keepAspect the viewport is cut to the back buffer's aspect.
  static RenderSurface* create(uint32_t width, uint32_t height, bool powerOfTwo, bool keepAspect);

  void attach(Context* context);
  void setViewport(const D3DVIEWPORT9& value);

  platform::ComPtr<IDirect3DTexture9> texture;
  platform::ComPtr<IDirect3DSurface9> surface;
  platform::ComPtr<IDirect3DSurface9> depthSurface;
  D3DVIEWPORT9 viewport = {};
  Context* owner = nullptr;
  float uScale = 0.0f;
  float vScale = 0.0f;
};

}  // namespace ts3d
