#include "effects/fx_render_bw.h"

#include "context/context.h"

namespace {

// The texture factor of the bias stage: 0.5 in each channel.
constexpr D3DCOLOR kHalfGrey = 0x808080;

}  // namespace

FxRenderBw::FxRenderBw(const EffectDescriptor& descriptor_, const std::string& instanceName_,
                       ControllerFactory* factory)
    : FxFilter(SurfaceCapture::kScreen, descriptor_, instanceName_, factory) {
  FxRenderBw::applyParameters();
}

void FxRenderBw::open() {
  FxFilter::open();
  setPictureQuad(vertices.data(), {0, 0, kFrameWidth, kFrameHeight}, capture.picture(),
                 ts3d::packColor(ts3d::color(red, green, blue, alpha)));
  states.alphaBlendEnable = false;
  // texel x 0.5 + 0.5, the 0.5 in the stage's third argument.
  biasStage.colorOp = ts3d::TextureMultiplyAdd;
  biasStage.colorArg1 = ts3d::ArgTexture;
  biasStage.colorArg2 = ts3d::ArgTFactor;
  // The signed dot product of that with the vertex colour.
  dotStage.colorOp = ts3d::TextureDotProduct3;
  dotStage.colorArg1 = ts3d::ArgCurrent;
  dotStage.colorArg2 = ts3d::ArgDiffuse;
  for (ts3d::TextureStageStateBlock* stage : {&biasStage, &dotStage}) {
    stage->alphaOp = ts3d::TextureDisable;
    stage->alphaArg1 = stage->alphaArg2 = ts3d::ArgTexture;
    stage->magFilter = stage->minFilter = stage->mipFilter = ts3d::FilterLinear;
  }
}

void FxRenderBw::update(uint32_t word, float time) {
  TimelineBase::update(word, time);
  const D3DCOLOR packed = ts3d::packColor(ts3d::color(red, green, blue, alpha));
  for (ScreenVertex& vertex : vertices) vertex.color = packed;
}

void FxRenderBw::render() {
  if (!capture.surface) return;
  IDirect3DDevice9* device = context->device.get();
  context->beginScene();
  context->applyRenderState(states);
  context->resetTextureStages();
  context->applyStageState(0, biasStage);
  device->SetRenderState(D3DRS_TEXTUREFACTOR, kHalfGrey);
  device->SetTextureStageState(0, D3DTSS_COLORARG0, D3DTA_TFACTOR);
  context->applyStageState(1, dotStage);
  context->setTexture(0, capture.surface->texture.get());
  drawScreenQuad(vertices.data());
  context->endScene();
  device->SetTextureStageState(0, D3DTSS_COLORARG0, D3DTA_TFACTOR);
  context->resetTextureStages();
}

void FxRenderBw::setFloat(uint32_t index, float value) {
  if (index != 0) return;
  red = green = blue = (value + 1.0f) * 0.5f;
  alpha = 1.0f;
}
