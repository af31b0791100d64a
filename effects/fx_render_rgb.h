#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "effects/fx_filter.h"
#include "effects/screen_vertex.h"
#include "materials/texture_stage_state_block.h"

// Pulls the colour channels apart: red from the picture as it is, green and blue from it
// stretched to the right by one and two shifts, each written through its own channel mask.
// Parameter: 0 the shift, in texture coordinates.
class FxRenderRgb : public FxFilter {
 public:
  FxRenderRgb() : FxFilter(SurfaceCapture::kScreen) {}
  FxRenderRgb(const EffectDescriptor& descriptor, const std::string& instanceName, ControllerFactory* factory);

  void update(uint32_t word, float time) override;
  void open() override;
  void render() override;
  void setFloat(uint32_t index, float value) override;

  static constexpr int kChannels = 3;

  float shift = 0.0f;
  std::array<ScreenVertex, 4 * kChannels> vertices{};  // a quad a channel, reading order
  ts3d::TextureStageStateBlock stage;

 private:
  // Quad k shows the picture from k shifts in on its left edge; the right edges stay.
  void placeQuads();
};
