#pragma once

#include <cstdint>
#include <string>

#include "effects/timeline_item.h"

namespace ts3d {
class Context;
class SceneHierarchy;
}  // namespace ts3d

// Draws a scene item through one of its cameras. Parameters: 0 the scene item; 1 the
// camera's index, the first camera when past the end; 2 the scene's time, in hundredths.
// The scene is stepped once per frame: by clearFrame when the effect is the lowest layer,
// else by render.
class FxSimpleScene : public EffectBase {
 public:
  FxSimpleScene();
  FxSimpleScene(const EffectDescriptor& descriptor, const std::string& instanceName, ControllerFactory* factory);
  ~FxSimpleScene() override = default;

  void open() override;
  void close() override;
  void clearFrame() override;
  void render() override;
  void setFloat(uint32_t index, float value) override;
  void setInt(uint32_t index, int32_t value) override;
  void setData(uint32_t index, DataItem* item) override;

  DataItem* data = nullptr;  // not owned
  int32_t cameraIndex = 0;
  float time = 0.0f;
  bool sceneUpdated = false;
  ts3d::Context* context = nullptr;

 private:
  // The scene behind the item, reached anew each time since a reload replaces it.
  ts3d::SceneHierarchy* scene() const;
};
