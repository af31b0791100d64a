#include "renderers/scene_renderer_multirender.h"

#include <cstdint>

#include "context/context.h"
#include "materials/material_fx.h"
#include "scene/camera.h"
#include "scene/scene_hierarchy.h"

namespace ts3d {

namespace {

struct QuadVertex {
  float x, y, z, w;
  D3DCOLOR diffuse;
  float tex[4][2];
};
static_assert(sizeof(QuadVertex) == 52, "a quad vertex is position, colour and four coordinate pairs");

constexpr DWORD kEffectQuadFvf = D3DFVF_XYZW | D3DFVF_DIFFUSE | D3DFVF_TEX4;
constexpr DWORD kScreenQuadFvf = D3DFVF_XYZRHW | D3DFVF_DIFFUSE | D3DFVF_TEX4;
static_assert(kEffectQuadFvf == 0x4442 && kScreenQuadFvf == 0x444, "the quads' vertex formats");

}  // namespace

void SceneRendererMultirender::drawQuad(MaterialFX* effect, const float* screenRect, const float* tex0,
                                        const float* tex1, const float* tex2, const float* tex3) {
  Context* context = Context::instance;
  const DWORD fvf = effect ? kEffectQuadFvf : kScreenQuadFvf;
  auto* quad = static_cast<QuadVertex*>(context->lockDynamicVertices(fvf, sizeof(QuadVertex), 4));
  if (!quad) return;
  // Corners in strip order: bottom left, bottom right, top left, top right.
  const float* sets[4] = {tex0, tex1, tex2, tex3};
  const int xs[4] = {0, 2, 0, 2}, ys[4] = {3, 3, 1, 1};
  for (int corner = 0; corner < 4; ++corner) {
    QuadVertex& vertex = quad[corner];
    vertex = QuadVertex{screenRect[xs[corner]], screenRect[ys[corner]], 0.0f, 1.0f, 0xffffffff, {}};
    for (int set = 0; set < 4; ++set) {
      if (!sets[set]) continue;
      vertex.tex[set][0] = sets[set][xs[corner]];
      vertex.tex[set][1] = sets[set][ys[corner]];
    }
  }
  context->unlockDynamicVertices();
  if (!effect) {
    context->drawDynamicVertices(D3DPT_TRIANGLESTRIP, 0, 2);
    return;
  }
  const uint32_t passes = effect->beginPasses(0);
  for (uint32_t pass = 0; pass < passes; ++pass) {
    effect->applyPass(pass);
    context->drawDynamicVertices(D3DPT_TRIANGLESTRIP, 0, 2);
  }
  effect->endPasses();
}

std::unique_ptr<MaterialFX> SceneRendererMultirender::loadEffect(uint32_t resourceId) {
  std::unique_ptr<MaterialFX> effect(MaterialFX::createFromResource(resourceId));
  effect->createResources();
  if (!effect->isValid()) effect.reset();
  return effect;
}

void SceneRendererMultirender::renderPlain(SceneHierarchy& scene, Camera* camera) {
  if (camera) camera->apply();
  scene.clear(camera, Context::ClearTarget, true);
  scene.render();
}

D3DVIEWPORT9 surfaceViewport(const RenderSurface& surface, DWORD x, DWORD y, DWORD width, DWORD height) {
  return {x, y, width, height, surface.viewport.MinZ, surface.viewport.MaxZ};
}

void SceneRendererMultirender::clearSavedTarget(RenderSurface* saved) {
  Context* context = Context::instance;
  const color kept = context->clearColor;
  context->setRenderTarget(saved);
  context->setClearColor(color(1, 0, 1, 0));
  context->clear(Context::ClearAll, true);
  context->setClearColor(kept);
}

void textureRect(const RenderSurface& surface, const D3DVIEWPORT9& viewport, float out[4]) {
  const float u = surface.uScale, v = surface.vScale;
  out[0] = static_cast<float>(viewport.X) * u + u / 2;
  out[1] = static_cast<float>(viewport.Y) * v + v / 2;
  out[2] = static_cast<float>(viewport.X + viewport.Width) * u + u / 2;
  out[3] = static_cast<float>(viewport.Y + viewport.Height) * v + v / 2;
}

}  // namespace ts3d
