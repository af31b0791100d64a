#include "renderers/scene_renderer_channels.h"

#include "context/context.h"
#include "materials/material_fx.h"
#include "materials/texture.h"
#include "scene/camera.h"
#include "scene/scene_hierarchy.h"

namespace ts3d {

namespace {

constexpr DWORD kSceneSurfaceWidth = 1024, kSceneSurfaceHeight = 512;
// The scene is drawn at this size whatever the output's.
constexpr DWORD kSceneWidth = 640, kSceneHeight = 480;
constexpr DWORD kGradientSize = 256;
constexpr float kWholeTexture[4] = {0.0f, 0.0f, 1.0f, 1.0f};

}  // namespace

SceneRendererChannels::SceneRendererChannels() = default;
SceneRendererChannels::~SceneRendererChannels() = default;

void SceneRendererChannels::createResources() {
  if (!sceneSurface) {
    ready = setUp();
    return;
  }
  if (effect) effect->createResources();
  ready = effect && effect->isValid();
}

bool SceneRendererChannels::setUp() {
  context = Context::instance;
  effect = loadEffect(kEffectResource);
  if (!effect) return false;
  if (lookupTexture) lookupTexture->createResources();
  sceneSurface.reset(RenderSurface::create(kSceneSurfaceWidth, kSceneSurfaceHeight, true, true));
  sceneViewport = surfaceViewport(*sceneSurface, 0, 0, kSceneWidth, kSceneHeight);
  followTechnique();
  return true;
}

void SceneRendererChannels::followTechnique() {
  usesFilter13 = effect->isTechnique("filter1_3");
  usesFilterNops = effect->isTechnique("filter_nops");
  if (usesFilter13 && !gradientSurface) {
    gradientSurface.reset(RenderSurface::create(kGradientSize, kGradientSize, true, true));
    gradientViewport = surfaceViewport(*gradientSurface, 0, 0, kGradientSize, kGradientSize);
  }
}

void SceneRendererChannels::render(SceneHierarchy& drawn, Camera* view) {
  scene = &drawn;
  camera = view;
  if (!ready || !lookupTexture || !offsetController || !rowController) {
    renderPlain(drawn, view);
    return;
  }
  RenderSurface* saved = context->renderTarget();
  context->setRenderTarget(sceneSurface.get());
  context->setViewport(sceneViewport);
  if (view) view->apply();
  drawn.clear(view, Context::ClearAll, true);
  drawn.render();
  if (usesFilter13) drawGradient();

  clearSavedTarget(saved);
  setFilterParameters();
  float texels[4];
  textureRect(*sceneSurface, sceneViewport, texels);
  drawQuad(effect.get(), kFullScreenRect, texels, texels, texels, nullptr);
}

void SceneRendererChannels::drawGradient() {
  effect->setVectorParameter("Offset") = D3DXVECTOR4(2.0f * offsetController->value - 1.0f, rowController->value, 0, 0);
  effect->setTextureParameter("Lookup") = lookupTexture->d3dTexture();
  effect->setTechnique("gradient");
  context->setRenderTarget(gradientSurface.get());
  context->setViewport(gradientViewport);
  drawQuad(effect.get(), kFullScreenRect, kWholeTexture, nullptr, nullptr, nullptr);
}

void SceneRendererChannels::setFilterParameters() {
  effect->setTextureParameter("RenderTarget") = sceneSurface->texture.get();
  if (usesFilter13) {
    effect->setTextureParameter("Lookup") = gradientSurface->texture.get();
    effect->setTechnique("filter1_3");
    return;
  }
  const float offset = offsetController->value;
  // Without pixel shaders the offset only shifts the levels: the lookup isn't read.
  effect->setVectorParameter("Offset") = usesFilterNops ? D3DXVECTOR4(offset, offset, offset, offset)
                                                        : D3DXVECTOR4(2.0f * offset - 1.0f, rowController->value, 0, 0);
  effect->setTextureParameter("Lookup") = lookupTexture->d3dTexture();
}

}  // namespace ts3d
