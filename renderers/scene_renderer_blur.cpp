#include "renderers/scene_renderer_blur.h"

#include "context/context.h"
#include "materials/material_fx.h"
#include "scene/camera.h"
#include "scene/scene_hierarchy.h"

namespace ts3d {

namespace {

// The scene is drawn at this size whatever the output's, in the 4:3 corner of a square surface.
constexpr DWORD kSurfaceSize = 256;
constexpr DWORD kImageWidth = 256, kImageHeight = 192;

}  // namespace

SceneRendererBlur::SceneRendererBlur() = default;
SceneRendererBlur::~SceneRendererBlur() = default;

void SceneRendererBlur::createResources() {
  if (!surfaceA) {
    ready = setUp();
    return;
  }
  if (effect) effect->createResources();
  ready = effect && effect->isValid();
  if (!ready) effect.reset();
}

bool SceneRendererBlur::setUp() {
  context = Context::instance;
  effect = loadEffect(kEffectResource);
  if (!effect) return false;
  surfaceA.reset(RenderSurface::create(kSurfaceSize, kSurfaceSize, true, true));
  surfaceB.reset(RenderSurface::create(kSurfaceSize, kSurfaceSize, true, true));
  fullViewportA = surfaceViewport(*surfaceA, 0, 0, kSurfaceSize, kSurfaceSize);
  fullViewportB = surfaceViewport(*surfaceB, 0, 0, kSurfaceSize, kSurfaceSize);
  imageViewportA = surfaceViewport(*surfaceA, 0, 0, kImageWidth, kImageHeight);
  imageViewportB = surfaceViewport(*surfaceB, 0, 0, kImageWidth, kImageHeight);
  return true;
}

void SceneRendererBlur::render(SceneHierarchy& drawn, Camera* view) {
  scene = &drawn;
  camera = view;
  if (!ready || !radiusController) {
    renderPlain(drawn, view);
    return;
  }
  const float radius = radiusController->value;
  RenderSurface* saved = context->renderTarget();
  if (view) view->apply();
  context->setRenderTarget(surfaceB.get());
  context->setViewport(fullViewportB);
  drawn.clear(view, Context::ClearTarget, true);
  context->setRenderTarget(surfaceA.get());
  context->setViewport(fullViewportA);
  drawn.clear(view, Context::ClearAll, true);
  context->setViewport(imageViewportA);
  drawn.render();

  // Ping-pong: even passes read A into B, odd ones B into A.
  for (uint32_t i = 0; i < iterations; ++i) {
    const bool even = i % 2 == 0;
    RenderSurface* target = even ? surfaceB.get() : surfaceA.get();
    context->setRenderTarget(target);
    context->setViewport(even ? imageViewportB : imageViewportA);
    blurPass(even ? *surfaceA : *surfaceB, even ? imageViewportA : imageViewportB,
             (static_cast<float>(i) + 0.5f) * radius);
  }

  clearSavedTarget(saved);
  // Always A: after an odd count of passes that is the result of the one before the last.
  blurPass(*surfaceA, imageViewportA, static_cast<float>(iterations) * radius);
}

void SceneRendererBlur::blurPass(const RenderSurface& source, const D3DVIEWPORT9& image, float radius) {
  effect->setTextureParameter("RenderTarget") = source.texture.get();
  effect->setVectorParameter("TexOffsetIter") = D3DXVECTOR4(source.uScale * radius, source.vScale * radius, 0, 0);
  float texels[4];
  textureRect(source, image, texels);
  drawQuad(effect.get(), kFullScreenRect, texels, nullptr, nullptr, nullptr);
}

}  // namespace ts3d
