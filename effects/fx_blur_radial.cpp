#include "effects/fx_blur_radial.h"

#include <algorithm>
#include <vector>

#include "context/context.h"
#include "effects/blend_choice.h"
#include "effects/screen_vertex.h"

namespace {

constexpr int kLayerVertices = 6;
constexpr float kMarkArm = 10.0f;

// The two triangles of a layer, as a list, from its quad in reading order.
void appendLayer(std::vector<ScreenVertex>& out, const ScreenRect& place, const ScreenRect& picture, D3DCOLOR color) {
  ScreenVertex quad[4];
  setPictureQuad(quad, place, picture, color);
  for (int corner : {0, 1, 2, 1, 2, 3}) out.push_back(quad[corner]);
}

}  // namespace

FxBlurRadial::FxBlurRadial(const EffectDescriptor& descriptor_, const std::string& instanceName_,
                           ControllerFactory* factory)
    : FxFilter(SurfaceCapture::kSmall, descriptor_, instanceName_, factory) {
  FxBlurRadial::applyParameters();
}

void FxBlurRadial::endCapture() {
  if (!capture.savedTarget) return;
  context->setRenderTarget(capture.savedTarget);
  // The filter's picture is all the target will show.
  const ts3d::color kept = context->clearColor;
  context->setClearColor(ts3d::color(0, 0, 0, 0));
  context->clear(ts3d::Context::ClearAll, true);
  context->setClearColor(kept);
}

void FxBlurRadial::open() {
  FxFilter::open();
  states.alphaBlendEnable = true;
  stage = ts3d::TextureStageStateBlock::modulate();
  stage.alphaOp = ts3d::TextureModulate;
  stage.alphaArg1 = ts3d::ArgDiffuse;
  stage.alphaArg2 = ts3d::ArgTexture;
  stage.magFilter = stage.minFilter = ts3d::FilterLinear;
  stage.mipFilter = ts3d::FilterNone;
}

void FxBlurRadial::render() {
  if (!capture.surface) return;
  const int copies = std::max(passes, 0), count = copies + 1;
  const ScreenRect picture = capture.picture();
  std::vector<ScreenVertex> vertices;
  vertices.reserve(static_cast<size_t>(count) * kLayerVertices);
  appendLayer(vertices, {0, 0, kFrameWidth, kFrameHeight}, picture, 0xffffffff);
  const D3DCOLOR copyColor = ts3d::packColor(ts3d::color(1, 1, 1, alpha / static_cast<float>(count)));
  for (int i = 1; i <= copies; ++i) {
    // The frame scaled by 1 + s about the centre.
    const float s = static_cast<float>(i) * spread / static_cast<float>(count);
    appendLayer(vertices,
                {-s * centerX, -s * centerY, kFrameWidth + s * (kFrameWidth - centerX),
                 kFrameHeight + s * (kFrameHeight - centerY)},
                picture, copyColor);
  }
  IDirect3DBaseTexture9* texture = capture.surface->texture.get();

  context->beginScene();
  context->resetTextureStages();
  ts3d::RenderStateBlock opaque(ts3d::RenderStateBlock::AllGroups);
  opaque.zEnable = false;
  opaque.lighting = false;
  opaque.cullMode = ts3d::CullNone;
  context->applyRenderState(opaque);
  ts3d::TextureStageStateBlock plain;
  plain.colorOp = ts3d::TextureSelectArg1;
  plain.colorArg1 = ts3d::ArgTexture;
  plain.colorArg2 = ts3d::ArgDiffuse;
  plain.magFilter = plain.minFilter = ts3d::FilterLinear;
  plain.mipFilter = ts3d::FilterNone;
  context->applyStageState(0, plain);
  context->setTexture(0, texture);
  drawScreenPrimitives(D3DPT_TRIANGLELIST, 2, vertices.data());

  // Every copy in one draw; with no passes a draw of nothing.
  context->resetTextureStages();
  context->applyRenderState(states);
  context->setTexture(0, texture);
  context->applyStageState(0, stage);
  drawScreenPrimitives(D3DPT_TRIANGLELIST, static_cast<UINT>(2 * copies), vertices.data() + kLayerVertices);
  context->endScene();
}

void FxBlurRadial::drawCenterMark() {
  if (!context) return;
  const ts3d::color yellow(1, 1, 0, 1);
  const float right[2] = {centerX + kMarkArm, centerY}, left[2] = {centerX - kMarkArm, centerY};
  const float below[2] = {centerX, centerY + kMarkArm}, above[2] = {centerX, centerY - kMarkArm};
  context->beginScene();
  context->drawLine(right, left, yellow);
  context->drawLine(below, above, yellow);
  context->endScene();
}

void FxBlurRadial::setFloat(uint32_t index, float value) {
  switch (index) {
    case 1: centerX = value * 1000.0f; break;
    case 2: centerY = value * 1000.0f; break;
    case 3: spread = value * 2.0f; break;
    case 4: alpha = value; break;
    default: break;
  }
}

void FxBlurRadial::setInt(uint32_t index, int32_t value) {
  if (index == 0) passes = value;
  if (index == 5) destChoice = value;
  if (index == 6) srcChoice = value;
  states.destBlend = blendFactorOfChoice(destChoice, states.destBlend);
  states.srcBlend = blendFactorOfChoice(srcChoice, states.srcBlend);
}
