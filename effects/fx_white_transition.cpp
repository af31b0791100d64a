#include "effects/fx_white_transition.h"

#include <cmath>

#include "context/context.h"

FxWhiteTransition::FxWhiteTransition(const EffectDescriptor& descriptor_, const std::string& instanceName_,
                                     ControllerFactory* factory)
    : TransitionBase(descriptor_, instanceName_, factory) {
  FxWhiteTransition::applyParameters();
}

void FxWhiteTransition::open() {
  context = ts3d::Context::instance;
  const D3DVIEWPORT9& viewport = context->renderTarget()->viewport;
  const float width = static_cast<float>(viewport.Width), height = static_cast<float>(viewport.Height);
  const float corners[4][2] = {{0, 0}, {0, height}, {width, 0}, {width, height}};
  for (int i = 0; i < 4; ++i) vertices[i] = {corners[i][0], corners[i][1], 1.0f, 1.0f, 0};
  states.cullMode = ts3d::CullNone;
  states.alphaBlendEnable = true;
  states.setBlendPreset(1);  // additive: black adds nothing, white makes white
  states.zEnable = false;
  states.lighting = false;
}

void FxWhiteTransition::close() { context = nullptr; }

void FxWhiteTransition::update(uint32_t word, float time) {
  TimelineBase::update(word, time);
  const float brightness = 1.0f - 2.0f * std::fabs(progressValue - 0.5f);
  const D3DCOLOR packed = ts3d::packColor(ts3d::color(brightness, brightness, brightness, brightness));
  for (ts3d::ColorVertex& vertex : vertices) vertex.color = packed;
}

void FxWhiteTransition::render() {
  if (!context) return;
  context->beginScene();
  context->resetTextureStages();
  context->applyRenderState(states);
  context->useFvf(ts3d::ColorVertex::kFvf);
  context->device->DrawPrimitiveUP(D3DPT_TRIANGLESTRIP, 2, vertices.data(), sizeof(ts3d::ColorVertex));
  context->endScene();
}
