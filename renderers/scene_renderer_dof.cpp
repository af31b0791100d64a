#include "renderers/scene_renderer_dof.h"

#include <algorithm>
#include <cmath>

#include "context/context.h"
#include "geometry/modifier_stack.h"
#include "gfxhelper/d3dx9tex.h"
#include "materials/material_fx.h"
#include "scene/camera.h"
#include "scene/render_queue.h"
#include "scene/scene_hierarchy.h"

namespace ts3d {

namespace {

constexpr uint32_t kLookupWidth = 256, kLookupHeight = 4;
// The surfaces, and the pictures drawn in them whatever the size of the output.
constexpr DWORD kSceneWidth = 1024, kSceneHeight = 512, kBlurWidth = 512, kBlurHeight = 256;
constexpr DWORD kPictureWidth = 640, kPictureHeight = 480, kBlurPictureWidth = 320, kBlurPictureHeight = 240;
// The focus coordinate of an object at the focus distance: the floor of the lookup's V.
constexpr float kFocusCentre = 0.5f;
// A focus distance of 0 would divide by zero: nearer focus than this is taken as this.
constexpr float kNearestFocus = 1e-3f;
constexpr const char* kOffsetNames[4] = {"OffsetTex0", "OffsetTex1", "OffsetTex2", "OffsetTex3"};
constexpr const char* kWeightNames[4] = {"WeightTex0", "WeightTex1", "WeightTex2", "WeightTex3"};

// The blur amount by focus coordinate: a V with its floor at 0 from 0.4 to 0.6 and 1 at both ends.
VOID WINAPI fillLookup(D3DXVECTOR4* out, const D3DXVECTOR2* texCoord, const D3DXVECTOR2*, LPVOID) {
  const float amount = std::max(0.0f, std::fabs(1.25f - 2.5f * texCoord->x) - 0.25f);
  *out = D3DXVECTOR4(amount, amount, amount, amount);
}

}  // namespace

SceneRendererDOF::SceneRendererDOF() = default;
SceneRendererDOF::~SceneRendererDOF() = default;

bool SceneRendererDOF::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  uint32_t count = 0;
  if (!in.readCount(&count, 3 * tsio::InStream::kObjectFieldBytes)) return false;
  for (uint32_t i = 0; i < count && in.isGood(); ++i) {
    Camera* entry = tsio::readShared<Camera>(in);
    CameraFocus focus;
    focus.focusScaleController = tsio::readShared<controller::ControllerBase<float>>(in);
    focus.focusDistanceController = tsio::readShared<controller::ControllerBase<float>>(in);
    // render never looks for a null camera: such an entry could not be chosen.
    if (entry) cameras[entry] = focus;
  }
  return in.isGood();
}

void SceneRendererDOF::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeInt32(static_cast<int32_t>(cameras.size()));
  for (const auto& [entry, focus] : cameras) {
    out.writeObject(entry);
    out.writeObject(focus.focusScaleController);
    out.writeObject(focus.focusDistanceController);
  }
}

void SceneRendererDOF::update(float time) {
  for (const auto& [entry, focus] : cameras) {
    if (focus.focusScaleController) focus.focusScaleController->update(time);
    if (focus.focusDistanceController) focus.focusDistanceController->update(time);
  }
}

void SceneRendererDOF::createResources() {
  if (sceneSurface) return;
  ready = setUp();
}

bool SceneRendererDOF::setUp() {
  context = Context::instance;
  if (!context) return false;
  effect = loadEffect(kEffectResource);
  if (!effect) return false;
  depthStack = std::make_unique<ModifierStack>();
  depthStack->add(new MaterialFXModifier(effect.get()));
  // D3DXCreateTexture takes the nearest format the device has when it lacks this one.
  if (FAILED(D3DXCreateTexture(context->device.get(), kLookupWidth, kLookupHeight, 0, 0, D3DFMT_A8B8G8R8,
                               D3DPOOL_DEFAULT, lookupTexture.out())) ||
      FAILED(D3DXFillTexture(lookupTexture.get(), fillLookup, nullptr)))
    return false;
  sceneSurface.reset(RenderSurface::create(kSceneWidth, kSceneHeight, true, true));
  blurSurface.reset(RenderSurface::create(kBlurWidth, kBlurHeight, true, true));
  fullViewport = surfaceViewport(*sceneSurface, 0, 0, kSceneWidth, kSceneHeight);
  sceneViewport = surfaceViewport(*sceneSurface, 0, 0, kPictureWidth, kPictureHeight);
  blurViewport = surfaceViewport(*blurSurface, 0, 0, kBlurPictureWidth, kBlurPictureHeight);
  wideBlurViewport = surfaceViewport(*sceneSurface, kPictureWidth, 0, kBlurPictureWidth, kBlurPictureHeight);
  return sceneSurface->texture && blurSurface->texture;
}

void SceneRendererDOF::render(SceneHierarchy& frameScene, Camera* frameCamera) {
  scene = &frameScene;
  camera = frameCamera;
  const auto entry = cameras.find(camera);
  if (!ready || entry == cameras.end()) {
    renderPlain(frameScene, frameCamera);
    return;
  }
  focusScale = entry->second.focusScaleController;
  focusDistance = entry->second.focusDistanceController;
  RenderSurface* saved = context->renderTarget();
  context->setRenderTarget(sceneSurface.get());
  context->setViewport(fullViewport);
  context->clear(Context::ClearDepth | Context::ClearStencil, true);

  context->setViewport(sceneViewport);
  camera->apply();
  scene->clear(camera, Context::ClearTarget, true);
  scene->render();
  drawDepth();
  drawBlurs();

  clearSavedTarget(saved);
  merge();
}

void SceneRendererDOF::drawDepth() {
  // Alpha 1 everywhere first: where no object stands the blur is strongest. The scene's
  // clear colour stays as it was for the frames after.
  const color kept = context->clearColor;
  context->setClearColor(color(0, 0, 0, 1));
  context->clear(Context::ClearDepth | Context::ClearStencil, true);
  context->clear(Context::ClearAlphaOnly, false);
  context->setClearColor(kept);
  effect->setTechnique("depth");
  effect->setTextureParameter("LookupMap") = lookupTexture.get();
  effect->setVectorParameter("Clip") =
      D3DXVECTOR4(camera->clipNear(), camera->clipFar() - camera->clipNear(), 0.0f, 0.0f);
  float distance = focusDistance ? focusDistance->value : camera->focusDistance();
  if (std::fabs(distance) < kNearestFocus) distance = kNearestFocus;
  // Depth 0 maps to the lookup's start and twice the focus distance to its end.
  float slope = kFocusCentre / distance;
  if (focusScale) slope *= focusScale->value;
  effect->setVectorParameter("Target") = D3DXVECTOR4(distance, kFocusCentre, slope, 0.0f);
  std::unique_ptr<RenderQueue> queue(scene->collectVisible());
  queue->setStack(depthStack.get());
  queue->setMaterial(effect.get());
  queue->draw();
}

void SceneRendererDOF::drawBlurs() {
  const float su = 2 * sceneSurface->uScale, sv = 2 * sceneSurface->vScale;
  // The wide blur goes across into blurSurface, then down beside the picture; the small one
  // samples the picture's four neighbours. Each source rectangle is pulled in by its reach.
  const struct {
    RenderSurface* target;
    const D3DVIEWPORT9& viewport;
    RenderSurface* source;
    const D3DVIEWPORT9& sourceViewport;
    float offsets[4][2];
    float weight[4];
    float inset[4];
  } passes[] = {
      {blurSurface.get(), blurViewport, sceneSurface.get(), sceneViewport,
       {{-3 * su, 0}, {-su, 0}, {su, 0}, {3 * su, 0}}, {0.1f, 0.4f, 0.4f, 0.1f}, {1.5f * su, 0, -1.5f * su, 0}},
      {sceneSurface.get(), wideBlurViewport, blurSurface.get(), blurViewport,
       {{0, -3 * sv}, {0, -sv}, {0, sv}, {0, 3 * sv}}, {0.1f, 0.4f, 0.4f, 0.1f}, {0, 1.5f * sv, 0, -1.5f * sv}},
      {blurSurface.get(), blurViewport, sceneSurface.get(), sceneViewport,
       {{su, 0}, {-su, 0}, {0, sv}, {0, -sv}}, {0.25f, 0.25f, 0.25f, 0.25f}, {su, sv, -su, -sv}},
  };
  effect->setTechnique("multitap");
  for (const auto& pass : passes) {
    context->setRenderTarget(pass.target);
    context->setViewport(pass.viewport);
    effect->setTextureParameter("RenderTarget") = pass.source->texture.get();
    for (int tap = 0; tap < 4; ++tap) {
      effect->setVectorParameter(kOffsetNames[tap]) = D3DXVECTOR4(pass.offsets[tap][0], pass.offsets[tap][1], 0, 0);
      const float w = pass.weight[tap];
      effect->setVectorParameter(kWeightNames[tap]) = D3DXVECTOR4(w, w, w, w);
    }
    float source[4];
    textureRect(*pass.source, pass.sourceViewport, source);
    for (int side = 0; side < 4; ++side) source[side] += pass.inset[side];
    drawQuad(effect.get(), kFullScreenRect, source, nullptr, nullptr, nullptr);
  }
}

void SceneRendererDOF::merge() {
  effect->setTextureParameter("RenderTarget") = sceneSurface->texture.get();
  effect->setTextureParameter("RenderTargetSBlur") = blurSurface->texture.get();
  effect->setTechnique("merge");
  float sharp[4], small[4], wide[4];
  textureRect(*sceneSurface, sceneViewport, sharp);
  textureRect(*blurSurface, blurViewport, small);
  textureRect(*sceneSurface, wideBlurViewport, wide);
  drawQuad(effect.get(), kFullScreenRect, sharp, small, wide, nullptr);
}

}  // namespace ts3d
