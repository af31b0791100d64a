#pragma once

#include <cstdint>

#include "io/serializable.h"
#include "materials/texture.h"
#include "materials/texture_stage_state_block.h"
#include "scene/controller/animatable.h"
#include "scene/controller/controller.h"
#include "scene/value_types.h"

namespace ts3d {

// One layer of a simple material: a texture (not owned), the states of one device stage, and
// seven animated numbers that make a texture coordinate transform; or, in mapping mode 1, a
// matrix that makes camera-space reflection vectors follow the world.
// Body of TS__ (version 2): object texture, the stage block's body, objects offset U, V,
// tiling U, V, angle U, V, W, and from version 2 on one byte of mapping mode.
class TextureStage : public Animatable, public tsio::Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("TS__");
  static constexpr int32_t kVersion = 2;
  // Two matrix elements are equal when they differ by less than this.
  static constexpr float kMatrixTolerance = 0.0001f;

  TextureStage();
  ~TextureStage() override;
  TextureStage(const TextureStage&) = delete;
  TextureStage& operator=(const TextureStage&) = delete;

  void update(float time) override;
  // Decides once whether the controllers can change the matrix; after load.
  void prepare();
  // Binds the texture (a null one leaves the device's as it was) and sends the states.
  void apply(uint32_t stage);

  // The seven go together: all present or all absent. Each replaces and deletes what stood.
  void setControllers(controller::ControllerBase<float>* offsetU, controller::ControllerBase<float>* offsetV,
                      controller::ControllerBase<float>* tilingU, controller::ControllerBase<float>* tilingV,
                      controller::ControllerBase<float>* angleU, controller::ControllerBase<float>* angleV,
                      controller::ControllerBase<float>* angleW);

  bool load(tsio::InStream& in) override;
  // The matrix written is fileMatrix: what animation or the camera made never reaches a file.
  void store(tsio::OutStream& out) override;

  // Element by element within kMatrixTolerance.
  static bool nearlyEqual(const matrix& a, const matrix& b);

  Texture* texture = nullptr;
  TextureStageStateBlock states;
  // A file that holds only some of the seven gets the neutral value (offset 0, tiling 1,
  // angle 0) for each missing one.
  controller::ControllerBase<float>* offsetUController = nullptr;
  controller::ControllerBase<float>* offsetVController = nullptr;
  controller::ControllerBase<float>* tilingUController = nullptr;
  controller::ControllerBase<float>* tilingVController = nullptr;
  controller::ControllerBase<float>* angleUController = nullptr;
  controller::ControllerBase<float>* angleVController = nullptr;
  controller::ControllerBase<float>* angleWController = nullptr;
  int32_t mappingMode = 0;  // 0 plain, 1 camera reflection
  bool hasFileMatrix = false;
  matrix fileMatrix;
  bool controllersConstant = false;
  matrix animatedMatrix;

 private:
  // animatedMatrix from the controllers' values, and what it makes of states.
  void makeMatrix();
  void followCamera();
};

}  // namespace ts3d
