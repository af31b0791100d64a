#pragma once

#include <cstdint>
#include <string>

#include "effects/screen_vertex.h"
#include "effects/timeline_item.h"
#include "materials/render_state_block.h"
#include "materials/texture_stage_state_block.h"

namespace ts3d {
class Context;
}

// Fills the current target with one colour, blended by the two blend choices.
// Parameters: 0..3 red, green, blue, alpha; 4 the destination blend choice, 5 the
// source blend choice.
class FxSimpleColor : public EffectBase {
 public:
  FxSimpleColor();
  FxSimpleColor(const EffectDescriptor& descriptor, const std::string& instanceName, ControllerFactory* factory);
  ~FxSimpleColor() override;

  void update(uint32_t word, float time) override;
  void open() override;
  void close() override;
  void render() override;
  void setFloat(uint32_t index, float value) override;
  void setInt(uint32_t index, int32_t value) override;

  float red = 0.0f, green = 0.0f, blue = 0.0f, alpha = 0.0f;
  int32_t destChoice = 0;
  int32_t srcChoice = 1;
  ts3d::Context* context = nullptr;
  ScreenVertex* vertices = nullptr;  // four, while open
  ts3d::RenderStateBlock states{ts3d::RenderStateBlock::AllGroups};
  ts3d::TextureStageStateBlock stage;
};
