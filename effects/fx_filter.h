#pragma once

#include <cstdint>
#include <string>

#include "effects/surface_capture.h"
#include "effects/timeline_item.h"
#include "materials/render_state_block.h"

namespace ts3d {
class Context;
}

// A filter: between beginCapture and endCapture the layers below it draw into its surface,
// and render draws that picture, changed, over the fixed 640 x 480 of the reference frame
// on the restored target.
class FxFilter : public EffectBase {
 public:
  explicit FxFilter(int32_t surfaceKind) : capture(surfaceKind) {}
  // Warms the screen pool, as every filter does, whatever kind it takes at open.
  FxFilter(int32_t surfaceKind, const EffectDescriptor& descriptor, const std::string& instanceName,
           ControllerFactory* factory);

  void beginCapture() override { capture.begin(); }
  void endCapture() override { capture.end(); }
  // Takes the surface; states without depth, lighting or culling.
  void open() override;
  void close() override;

  ts3d::Context* context = nullptr;
  SurfaceCapture capture;
  ts3d::RenderStateBlock states{ts3d::RenderStateBlock::AllGroups};
};
