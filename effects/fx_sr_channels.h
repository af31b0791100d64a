#pragma once

#include <cstdint>
#include <string>

#include "effects/fx_scene_renderer.h"
#include "effects/param_float.h"
#include "renderers/scene_renderer_channels.h"

// Colour grading of a scene item while open. Parameters: 0 the scene item; 1 the lookup
// image item; 2 the horizontal shift of the curves, 0.5 leaving them as they are; 3 the
// lookup's row.
class FxSrChannels : public FxSceneRenderer<ts3d::SceneRendererChannels> {
 public:
  FxSrChannels() = default;
  FxSrChannels(const EffectDescriptor& descriptor, const std::string& instanceName, ControllerFactory* factory);
  // The base's destructor can't reach disconnect any more.
  ~FxSrChannels() override { close(); }

  void setFloat(uint32_t index, float value) override;
  void setData(uint32_t index, DataItem* item) override;

  DataItem* lookupData = nullptr;  // not owned
  ParamFloat offsetValue;
  ParamFloat rowValue;

 protected:
  void connect(ts3d::SceneRendererChannels& taken) override;
  void disconnect(ts3d::SceneRendererChannels& held) override;
};
