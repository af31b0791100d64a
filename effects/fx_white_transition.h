#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "context/color_vertex.h"
#include "effects/timeline_item.h"
#include "materials/render_state_block.h"

namespace ts3d {
class Context;
}

// A cut at progress 0.5 under a flash: white is added, rising from nothing at 0 to full at
// 0.5 and falling to nothing at 1. Parameter: 0 the progress.
class FxWhiteTransition : public TransitionBase {
 public:
  FxWhiteTransition() = default;
  FxWhiteTransition(const EffectDescriptor& descriptor, const std::string& instanceName, ControllerFactory* factory);

  void update(uint32_t word, float time) override;
  void open() override;
  void close() override;
  void render() override;

  ts3d::Context* context = nullptr;
  std::array<ts3d::ColorVertex, 4> vertices{};  // strip order, over the target's viewport at open
  ts3d::RenderStateBlock states{ts3d::RenderStateBlock::AllGroups};
};
