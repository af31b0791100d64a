#include "effects/fx_blend_transition.h"

#include "context/context.h"

FxBlendTransition::FxBlendTransition(const EffectDescriptor& descriptor_, const std::string& instanceName_,
                                     ControllerFactory* factory)
    : TransitionBase(descriptor_, instanceName_, factory) {
  FxBlendTransition::applyParameters();
  SurfaceCapture::warmUp();
}

void FxBlendTransition::open() {
  context = ts3d::Context::instance;
  capture.acquire();
  const D3DVIEWPORT9& viewport = context->renderTarget()->viewport;
  setPictureQuad(vertices.data(), {0, 0, static_cast<float>(viewport.Width), static_cast<float>(viewport.Height)},
                 capture.picture(), 0);
  states.cullMode = ts3d::CullNone;
  states.alphaBlendEnable = true;
  states.srcBlend = ts3d::BlendSrcAlpha;
  states.destBlend = ts3d::BlendInvSrcAlpha;
  states.zEnable = false;
  states.lighting = false;
  // Colour from the texture, alpha from the vertices.
  stage = ts3d::TextureStageStateBlock::modulate();
  stage.colorOp = ts3d::TextureSelectArg2;
  stage.colorArg1 = ts3d::ArgDiffuse;
  stage.colorArg2 = ts3d::ArgTexture;
  stage.alphaOp = ts3d::TextureSelectArg1;
  stage.alphaArg1 = ts3d::ArgDiffuse;
  stage.alphaArg2 = ts3d::ArgTexture;
}

void FxBlendTransition::close() {
  capture.release();
  context = nullptr;
}

void FxBlendTransition::update(uint32_t word, float time) {
  TimelineBase::update(word, time);
  const D3DCOLOR packed = ts3d::packColor(ts3d::color(1, 1, 1, 1.0f - progressValue));
  for (ScreenVertex& vertex : vertices) vertex.color = packed;
}

bool FxBlendTransition::needsInput(int32_t input) {
  if (progressValue == 0.0f) return input == 1;
  if (progressValue == 1.0f) return input == 2;
  return true;
}

void FxBlendTransition::beginInput(int32_t input) {
  if (input != 1 || progressValue == 0.0f || !capture.surface) return;
  context->setTexture(0, nullptr);  // the surface is not to be bound while it is drawn to
  capture.begin();
}

void FxBlendTransition::render() {
  // At progress 0 input 1 went straight to the target, and the surface holds an old picture.
  if (!capture.surface || progressValue == 0.0f) return;
  context->beginScene();
  context->resetTextureStages();
  context->applyRenderState(states);
  context->applyStageState(0, stage);
  context->setTexture(0, capture.surface->texture.get());
  drawScreenQuad(vertices.data());
  context->endScene();
}
