#pragma once

#include <cstdint>

#include "scene/atmospheric.h"
#include "scene/controller/controller.h"

namespace ts3d {

class Texture;
class TextureCubemapFile;

// The frame's background: the scene has it clear the frame, in a colour, with a picture over
// the viewport, or with a sky box around the camera. Body of ATBG (version 1): int8
// clearFunction; then with 1 object colorController, with 2 object texture, with 3 object
// cubemap, with anything else nothing.
class AtmosphericBackground : public Atmospheric {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("ATBG");
  static constexpr int32_t kVersion = 1;
  static constexpr int32_t kClearColor = 1;
  static constexpr int32_t kClearPicture = 2;
  static constexpr int32_t kClearSkyBox = 3;

  AtmosphericBackground() = default;
  ~AtmosphericBackground() override { delete colorController; }
  AtmosphericBackground(const AtmosphericBackground&) = delete;
  AtmosphericBackground& operator=(const AtmosphericBackground&) = delete;

  void update(float time) override { updateControllers(time); }
  void enter(Camera*) override {}
  void leave() override {}
  bool canClear() override { return true; }
  // Needs a Context. Another clear function shows "Invalid clear function" and clears nothing.
  void clear(Camera* camera, uint32_t flags, bool direct) override;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  int32_t clearFunction = 0;
  controller::ControllerBase<color>* colorController = nullptr;  // owned; with kClearColor
  Texture* texture = nullptr;              // with kClearPicture and kClearSkyBox; not owned
  TextureCubemapFile* cubemap = nullptr;   // with kClearSkyBox: texture as a cube map

 private:
  // The texture stretched over the viewport.
  void drawPicture();
  // The cube's six face images on a box around the camera, as far out as half its far plane.
  void drawSkyBox(Camera& camera);
};

}  // namespace ts3d
