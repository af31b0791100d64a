#include "effects/fx_simple_color.h"

#include "context/context.h"
#include "effects/blend_choice.h"

FxSimpleColor::FxSimpleColor() = default;

FxSimpleColor::FxSimpleColor(const EffectDescriptor& descriptor_, const std::string& instanceName_,
                             ControllerFactory* factory)
    : EffectBase(descriptor_, instanceName_, factory) {
  FxSimpleColor::applyParameters();
}

FxSimpleColor::~FxSimpleColor() { close(); }

void FxSimpleColor::open() {
  context = ts3d::Context::instance;
  if (!vertices) vertices = new ScreenVertex[4]();
  states.zEnable = false;
  states.alphaBlendEnable = true;
  states.lighting = false;
  states.cullMode = ts3d::CullNone;
  stage = ts3d::TextureStageStateBlock::modulate();
  stage.alphaOp = ts3d::TextureSelectArg1;
  stage.alphaArg1 = ts3d::ArgCurrent;
  stage.alphaArg2 = ts3d::ArgTexture;
  stage.magFilter = stage.minFilter = stage.mipFilter = ts3d::FilterLinear;
}

void FxSimpleColor::close() {
  delete[] vertices;
  vertices = nullptr;
  context = nullptr;
}

void FxSimpleColor::update(uint32_t word, float time) {
  TimelineBase::update(word, time);
  if (!vertices || !context || !context->currentTarget) return;
  // The rectangle follows the current target, so a 640 x 480 surface is filled too.
  const D3DVIEWPORT9& viewport = context->currentTarget->viewport;
  const float width = static_cast<float>(viewport.Width), height = static_cast<float>(viewport.Height);
  const D3DCOLOR packed = ts3d::packColor(ts3d::color(red, green, blue, alpha));
  const float corners[4][2] = {{0, 0}, {0, height}, {width, 0}, {width, height}};
  for (int i = 0; i < 4; ++i) {
    ScreenVertex& v = vertices[i];
    v.x = corners[i][0];
    v.y = corners[i][1];
    v.z = v.rhw = 1.0f;
    v.color = packed;
  }
}

void FxSimpleColor::render() {
  if (!vertices || !context) return;
  context->beginScene();
  context->applyRenderState(states);
  context->resetTextureStages();
  context->applyStageState(0, stage);
  drawScreenQuad(vertices);
  context->endScene();
}

void FxSimpleColor::setFloat(uint32_t index, float value) {
  switch (index) {
    case 0: red = value; break;
    case 1: green = value; break;
    case 2: blue = value; break;
    case 3: alpha = value; break;
    default: break;
  }
}

void FxSimpleColor::setInt(uint32_t index, int32_t value) {
  if (index == 4) destChoice = value;
  if (index == 5) srcChoice = value;
  states.destBlend = blendFactorOfChoice(destChoice, states.destBlend);
  states.srcBlend = blendFactorOfChoice(srcChoice, states.srcBlend);
}
