#include "effects/fx_simple_bmp.h"

#include "context/context.h"
#include "driver/data_item.h"
#include "effects/blend_choice.h"
#include "io/trace.h"
#include "materials/texture_bitmap_file.h"

FxSimpleBmp::FxSimpleBmp() = default;

FxSimpleBmp::FxSimpleBmp(const EffectDescriptor& descriptor_, const std::string& instanceName_,
                         ControllerFactory* factory)
    : EffectBase(descriptor_, instanceName_, factory) {
  FxSimpleBmp::applyParameters();
}

FxSimpleBmp::~FxSimpleBmp() { close(); }

void FxSimpleBmp::open() {
  context = ts3d::Context::instance;
  if (!vertices) vertices = new ScreenVertex[4]();
  // Strip order: top left, bottom left, top right, bottom right.
  const float corners[4][4] = {
      {left, top, 0, 0}, {left, bottom, 0, 1}, {right, top, 1, 0}, {right, bottom, 1, 1}};
  const D3DCOLOR white = ts3d::packColor(ts3d::color(1, 1, 1, alpha));
  for (int i = 0; i < 4; ++i) vertices[i] = {corners[i][0], corners[i][1], 1, 1, white, corners[i][2], corners[i][3]};
  states.zEnable = false;
  states.alphaBlendEnable = true;
  states.lighting = false;
  states.cullMode = ts3d::CullNone;
  stage = ts3d::TextureStageStateBlock::modulate();
  stage.alphaOp = ts3d::TextureModulate;
  stage.alphaArg1 = ts3d::ArgCurrent;
  stage.alphaArg2 = ts3d::ArgTexture;
  stage.magFilter = stage.minFilter = stage.mipFilter = ts3d::FilterLinear;
  traceWarnIf(data == nullptr, "No texture data for effect.");
}

void FxSimpleBmp::close() {
  delete[] vertices;
  vertices = nullptr;
  context = nullptr;
}

void FxSimpleBmp::update(uint32_t word, float time) {
  TimelineBase::update(word, time);
  if (!vertices || !context || !context->currentTarget) return;
  // From the 640 x 480 reference frame to the target, by 1/640 and 1/480 in single precision.
  const D3DVIEWPORT9& viewport = context->currentTarget->viewport;
  const float scaleX = static_cast<float>(viewport.Width) * 0.0015625f;
  const float scaleY = static_cast<float>(viewport.Height) * 0.0020833334f;
  const float x0 = left * scaleX, x1 = right * scaleX, y0 = top * scaleY, y1 = bottom * scaleY;
  const float corners[4][2] = {{x0, y0}, {x0, y1}, {x1, y0}, {x1, y1}};
  const D3DCOLOR white = ts3d::packColor(ts3d::color(1, 1, 1, alpha));
  for (int i = 0; i < 4; ++i) {
    vertices[i].x = corners[i][0];
    vertices[i].y = corners[i][1];
    vertices[i].color = white;
  }
}

void FxSimpleBmp::render() {
  if (!vertices || !context) return;
  context->beginScene();
  context->resetTextureStages();
  if (ts3d::TextureBitmapFile* texture = textureOf(data)) {
    context->applyRenderState(states);
    texture->bind(0);
    context->applyStageState(0, stage);
  }
  drawScreenQuad(vertices);
  context->endScene();
}

void FxSimpleBmp::setFloat(uint32_t index, float value) {
  switch (index) {
    case 1: top = value * 1000.0f; break;
    case 2: left = value * 1000.0f; break;
    case 3: bottom = value * 1000.0f; break;
    case 4: right = value * 1000.0f; break;
    case 5: alpha = value; break;
    default: break;
  }
}

void FxSimpleBmp::setInt(uint32_t index, int32_t value) {
  if (index == 6) destChoice = value;
  if (index == 7) srcChoice = value;
  states.destBlend = blendFactorOfChoice(destChoice, states.destBlend);
  states.srcBlend = blendFactorOfChoice(srcChoice, states.srcBlend);
}

void FxSimpleBmp::setData(uint32_t index, DataItem* item) {
  if (index == 0) data = item;
}
