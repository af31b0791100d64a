#pragma once

#include <cstdint>
#include <string>

#include "effects/fx_scene_renderer.h"
#include "effects/param_float.h"
#include "renderers/scene_renderer_blur.h"

// Bloom on a scene item while open. Parameters: 0 the scene item; 1 the blur radius, in
// texels per pass step.
class FxSrGaussian : public FxSceneRenderer<ts3d::SceneRendererBlur> {
 public:
  FxSrGaussian() = default;
  FxSrGaussian(const EffectDescriptor& descriptor, const std::string& instanceName, ControllerFactory* factory);

  void setFloat(uint32_t index, float value) override;

  ParamFloat radiusValue;

 protected:
  void connect(ts3d::SceneRendererBlur& taken) override { taken.radiusController = &radiusValue; }
};
