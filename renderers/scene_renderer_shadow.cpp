#include "renderers/scene_renderer_shadow.h"

#include "context/context.h"
#include "scene/camera.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/scene_hierarchy.h"
#include "scene/transformation.h"

namespace ts3d {

namespace {

constexpr int32_t kAlphaBlended = 2;  // blend preset: source alpha over the target
constexpr int32_t kShadowFarFactor = 2;  // volumes reach twice the far plane's distance

vect3 placeOf(const Transformable& object) {
  return object.transformation ? *object.transformation->position() : vect3(0.0f, 0.0f, 0.0f);
}

}  // namespace

void SceneRendererShadow::createResources() {
  volumeStates = RenderStateBlock(RenderStateBlock::AllGroups);
  volumeStates.lighting = false;
  volumeStates.cullMode = CullNone;
  volumeStates.stencilEnable = true;
  volumeStates.twoSidedStencil = true;
  volumeStates.depthMode = DepthTestNoWrite;
  volumeStates.colorWriteMask = 0;
  // Walls seen from the front count one way, from the back the other; only the walls in front
  // of what the scene drew pass, so a pixel behind a front wall alone ends with a count.
  volumeStates.stencilPass = StencilIncr;
  volumeStates.ccwStencilPass = StencilDecr;

  screenStates = RenderStateBlock(RenderStateBlock::AllGroups);
  screenStates.lighting = false;
  screenStates.cullMode = CullNone;
  screenStates.zEnable = false;
  screenStates.stencilEnable = true;
  // 1 <= count: any count but 0, as the eight bits wrap below it.
  screenStates.stencilFunc = CompareLessEqual;
  screenStates.stencilRef = 1;
  screenStates.alphaBlendEnable = true;
  screenStates.setBlendPreset(kAlphaBlended);

  twoSided = Context::instance && Context::instance->capabilities.stencilTwoSided;
}

void SceneRendererShadow::render(SceneHierarchy& scene, Camera* camera) {
  context = Context::instance;
  if (!context) return;
  if (camera) camera->apply();
  Light* light = scene.shadowLight;
  const std::vector<Mesh*>* casters = light && camera && !light->shadowMeshes().empty() ? &light->shadowMeshes() : nullptr;
  if (casters) {
    const vect3 lightPosition = placeOf(*light);
    const float reach = kShadowFarFactor * camera->clipFar();
    for (Mesh* mesh : *casters) {
      if (!mesh) continue;
      vect3 direction = placeOf(*mesh) - lightPosition;
      D3DXVec3Normalize(&direction, &direction);
      mesh->updateShadow(ShadowLight{lightPosition, direction * reach}, false);
    }
  }
  // Directly: this renderer draws the contents itself and ends the chain.
  scene.renderContents();
  if (!casters) return;
  drawVolumes(*casters);
  darken();
  RenderStateBlock stencilOff(RenderStateBlock::StencilGroup);
  stencilOff.stencilEnable = false;
  context->applyRenderState(stencilOff);
}

void SceneRendererShadow::drawVolumes(const std::vector<Mesh*>& casters) {
  if (twoSided) {
    context->applyRenderState(volumeStates);
    for (Mesh* mesh : casters)
      if (mesh) mesh->drawShadow();
    return;
  }
  // One face direction a pass, counting with the opposite sign of the two-sided path: only
  // a count of 0 matters, and that is the same.
  for (Mesh* mesh : casters) {
    if (!mesh) continue;
    volumeStates.cullMode = CullCounterClockwise;
    volumeStates.stencilPass = StencilDecr;
    context->applyRenderState(volumeStates);
    mesh->drawShadow();
    volumeStates.twoSidedStencil = false;
    volumeStates.cullMode = CullClockwise;
    volumeStates.stencilPass = StencilIncr;
    context->applyRenderState(volumeStates);
    mesh->drawShadow();
  }
}

void SceneRendererShadow::darken() {
  const RenderSurface* target = context->renderTarget();
  if (!target) return;
  const auto width = static_cast<float>(target->viewport.Width);
  const auto height = static_cast<float>(target->viewport.Height);
  auto* quad = static_cast<ColorVertex*>(context->lockDynamicVertices(ColorVertex::kFvf, sizeof(ColorVertex), 4));
  if (!quad) return;
  quad[0] = {0.0f, 0.0f, 0.0f, 1.0f, kShade};
  quad[1] = {width, 0.0f, 0.0f, 1.0f, kShade};
  quad[2] = {0.0f, height, 0.0f, 1.0f, kShade};
  quad[3] = {width, height, 0.0f, 1.0f, kShade};
  context->unlockDynamicVertices();
  context->applyRenderState(screenStates);
  // The diffuse colour alone: a texture that the scene left on stage 0 would tint the shade.
  context->resetTextureStages();
  context->drawDynamicVertices(D3DPT_TRIANGLESTRIP, 0, 2);
}

}  // namespace ts3d
