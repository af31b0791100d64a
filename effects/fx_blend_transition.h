#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "effects/screen_vertex.h"
#include "effects/surface_capture.h"
#include "effects/timeline_item.h"
#include "materials/render_state_block.h"
#include "materials/texture_stage_state_block.h"

namespace ts3d {
class Context;
}

// A cross-fade: input 1 is drawn into a screen surface, input 2 straight to the target, and
// the surface goes over it with the alpha 1 - progress. Parameter: 0 the progress.
class FxBlendTransition : public TransitionBase {
 public:
  FxBlendTransition() = default;
  FxBlendTransition(const EffectDescriptor& descriptor, const std::string& instanceName, ControllerFactory* factory);

  bool needsInput(int32_t input) override;
  void beginInput(int32_t input) override;
  void endCapture() override { capture.end(); }
  void update(uint32_t word, float time) override;
  void open() override;
  void close() override;
  void render() override;

  ts3d::Context* context = nullptr;
  std::array<ScreenVertex, 4> vertices{};  // reading order, over the target's viewport at open
  ts3d::TextureStageStateBlock stage;
  ts3d::RenderStateBlock states{ts3d::RenderStateBlock::AllGroups};
  SurfaceCapture capture{SurfaceCapture::kScreen};
};
