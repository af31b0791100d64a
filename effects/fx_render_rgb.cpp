#include "effects/fx_render_rgb.h"

#include "context/context.h"

FxRenderRgb::FxRenderRgb(const EffectDescriptor& descriptor_, const std::string& instanceName_,
                         ControllerFactory* factory)
    : FxFilter(SurfaceCapture::kScreen, descriptor_, instanceName_, factory) {
  FxRenderRgb::applyParameters();
}

void FxRenderRgb::open() {
  FxFilter::open();
  placeQuads();
  states.alphaBlendEnable = false;
  stage = ts3d::TextureStageStateBlock::modulate();
}

void FxRenderRgb::update(uint32_t word, float time) {
  TimelineBase::update(word, time);
  placeQuads();
}

void FxRenderRgb::placeQuads() {
  if (!capture.surface) return;
  ScreenRect picture = capture.picture();
  for (int k = 0; k < kChannels; ++k) {
    picture.left = static_cast<float>(k) * shift;
    setPictureQuad(&vertices[4 * k], {0, 0, kFrameWidth, kFrameHeight}, picture, 0xffffffff);
  }
}

void FxRenderRgb::render() {
  if (!capture.surface) return;
  context->beginScene();
  context->resetTextureStages();
  context->applyStageState(0, stage);
  context->setTexture(0, capture.surface->texture.get());
  // Red, green, blue: the low bits of the write mask.
  for (int k = 0; k < kChannels; ++k) {
    states.colorWriteMask = 1u << k;
    context->applyRenderState(states);
    drawScreenQuad(&vertices[4 * k]);
  }
  context->endScene();
  context->resetTextureStages();
}

void FxRenderRgb::setFloat(uint32_t index, float value) {
  if (index == 0) shift = value;
}
