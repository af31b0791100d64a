#pragma once

#include <cstdint>
#include <string>

#include "effects/fx_filter.h"
#include "materials/texture_stage_state_block.h"

// Smears the picture away from a centre: the picture opaque, then `passes` copies of it,
// each scaled a little more about the centre, blended over it in one draw by the blend
// choices. It draws from the small surface, and what lies beyond the 640 x 480 frame on
// the target is cleared to black. Parameters: 0 passes; 1, 2 the centre, in thousands of
// pixels; 3 the spread, half the growth of the last copy; 4 alpha, shared among the
// copies; 5 the destination blend choice, 6 the source blend choice.
class FxBlurRadial : public FxFilter {
 public:
  FxBlurRadial() : FxFilter(SurfaceCapture::kSmall) {}
  FxBlurRadial(const EffectDescriptor& descriptor, const std::string& instanceName, ControllerFactory* factory);

  // Back to the saved target, which stays saved, and that target cleared to black.
  void endCapture() override;
  void open() override;
  void render() override;
  void setFloat(uint32_t index, float value) override;
  void setInt(uint32_t index, int32_t value) override;
  // A yellow cross on the centre, for a host that lets the user place it.
  virtual void drawCenterMark();

  int32_t passes = 0;
  float centerX = 0.0f, centerY = 0.0f, spread = 0.0f, alpha = 0.0f;
  int32_t destChoice = 0;
  int32_t srcChoice = 1;
  ts3d::TextureStageStateBlock stage;
};
