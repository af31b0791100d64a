#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "effects/fx_filter.h"
#include "effects/screen_vertex.h"
#include "materials/texture_stage_state_block.h"

// Black and white through the texture stages: stage 0 lifts the picture to 0.5 + 0.5 x
// texel, which stage 1's signed dot product with the vertex colour reads as weight x
// (red + green + blue). A weight of 1/3 is the plain average, 0 is black. Parameter: 0 the
// weight.
class FxRenderBw : public FxFilter {
 public:
  FxRenderBw() : FxFilter(SurfaceCapture::kScreen) {}
  FxRenderBw(const EffectDescriptor& descriptor, const std::string& instanceName, ControllerFactory* factory);

  void update(uint32_t word, float time) override;
  void open() override;
  void render() override;
  void setFloat(uint32_t index, float value) override;

  // The vertex colour: the weight as a signed number, (weight + 1) / 2.
  float red = 0.0f, green = 0.0f, blue = 0.0f, alpha = 0.0f;
  std::array<ScreenVertex, 4> vertices{};  // reading order
  ts3d::TextureStageStateBlock biasStage, dotStage;
};
