#pragma once

#include <cstdint>

#include "scene/atmospheric.h"
#include "scene/controller/controller.h"

namespace ts3d {

// The scene's ambient light while the meshes are drawn; the Context's is set back behind them.
// Without a colour it changes nothing. Body of ATAM (version 1): object colorController.
class AtmosphericAmbient : public Atmospheric {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("ATAM");
  static constexpr int32_t kVersion = 1;

  AtmosphericAmbient() = default;
  ~AtmosphericAmbient() override { delete colorController; }
  AtmosphericAmbient(const AtmosphericAmbient&) = delete;
  AtmosphericAmbient& operator=(const AtmosphericAmbient&) = delete;

  void update(float time) override { updateControllers(time); }
  // Needs a Context.
  void enter(Camera* camera) override;
  void leave() override;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  controller::ControllerBase<color>* colorController = nullptr;  // owned
  color savedAmbient{0.0f, 0.0f, 0.0f, 0.0f};
};

}  // namespace ts3d
