#pragma once

#include <cstdint>

#include "context/context.h"
#include "scene/atmospheric.h"
#include "scene/controller/controller.h"

namespace ts3d {

// Linear vertex fog over the meshes. The start and end controllers say where, in the camera's
// range taken as 0 to 1, the fog runs from nothing to full. Without a colour it does nothing.
// Body of ATFG (version 1): bool clears, objects colorController, startController, endController.
class AtmosphericFog : public Atmospheric {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("ATFG");
  static constexpr int32_t kVersion = 1;

  AtmosphericFog() = default;
  ~AtmosphericFog() override;
  AtmosphericFog(const AtmosphericFog&) = delete;
  AtmosphericFog& operator=(const AtmosphericFog&) = delete;

  void update(float time) override { updateControllers(time); }
  // Needs a Context; without a camera nothing happens.
  void enter(Camera* camera) override;
  void leave() override;
  bool canClear() override { return clears; }
  // Clears in the fog's colour.
  void clear(Camera* camera, uint32_t flags, bool direct) override;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  FogSettings settings{FogOff, 0};
  bool clears = false;
  controller::ControllerBase<color>* colorController = nullptr;  // the controllers are owned
  controller::ControllerBase<float>* startController = nullptr;
  controller::ControllerBase<float>* endController = nullptr;
};

}  // namespace ts3d
