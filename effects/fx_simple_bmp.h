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

// Draws a texture item as a rectangle of the 640 x 480 reference frame, scaled to the
// current target, with the effect's alpha and blend choices. Parameters: 0 the texture
// item; 1..4 top, left, bottom, right, in thousands of pixels; 5 alpha; 6 the destination
// blend choice, 7 the source blend choice.
class FxSimpleBmp : public EffectBase {
 public:
  FxSimpleBmp();
  FxSimpleBmp(const EffectDescriptor& descriptor, const std::string& instanceName, ControllerFactory* factory);
  ~FxSimpleBmp() override;

  void update(uint32_t word, float time) override;
  void open() override;
  void close() override;
  void render() override;
  void setFloat(uint32_t index, float value) override;
  void setInt(uint32_t index, int32_t value) override;
  void setData(uint32_t index, DataItem* item) override;

  float left = 0.0f, top = 0.0f, right = 0.0f, bottom = 0.0f, alpha = 0.0f;
  DataItem* data = nullptr;  // not owned
  int32_t destChoice = 0;
  int32_t srcChoice = 1;
  ts3d::Context* context = nullptr;
  ScreenVertex* vertices = nullptr;  // four, while open
  ts3d::RenderStateBlock states{ts3d::RenderStateBlock::AllGroups};
  ts3d::TextureStageStateBlock stage;
};
