#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>
#include <memory>

#include "context/render_surface.h"
#include "renderers/scene_renderer.h"

namespace ts3d {

class Camera;
class Context;
class MaterialFX;

// The base of the renderers that draw the scene into their own surfaces and finish with
// full-screen passes of an effect.
class SceneRendererMultirender : public SceneRenderer {
 public:
  // A quad over screenRect (x0, y0, x1, y1) with up to four texture rectangles (left, top,
  // right, bottom; null: the set is unused). With an effect the corners are clip-space
  // positions, -1, 1, 1, -1 being the whole viewport, drawn once per pass; without one they
  // are pixels, drawn once with the states as they stand.
  virtual void drawQuad(MaterialFX* effect, const float* screenRect, const float* tex0, const float* tex1,
                        const float* tex2, const float* tex3);

 protected:
  // The effect of a resource of the module, compiled; null when the device runs none of its
  // techniques.
  static std::unique_ptr<MaterialFX> loadEffect(uint32_t resourceId);
  // What a renderer that isn't ready draws: the scene as if the renderer weren't there.
  static void renderPlain(SceneHierarchy& scene, Camera* camera);
  // Back in the target it found, before the final pass: cleared whole in magenta, which the
  // final pass covers. The clear colour is put back after, as scenes without a background
  // clear with it: a post-process must not recolour the frames drawn after it.
  static void clearSavedTarget(RenderSurface* saved);
};

// The whole viewport in clip space, as the full-screen passes draw it.
inline constexpr float kFullScreenRect[4] = {-1.0f, 1.0f, 1.0f, -1.0f};

// A viewport of a surface with the depth range that the surface's own viewport has.
D3DVIEWPORT9 surfaceViewport(const RenderSurface& surface, DWORD x, DWORD y, DWORD width, DWORD height);

// The texels of a viewport of a surface, aimed at texel centres: left, top, right, bottom.
void textureRect(const RenderSurface& surface, const D3DVIEWPORT9& viewport, float out[4]);

}  // namespace ts3d
