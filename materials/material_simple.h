#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>
#include <vector>

#include "materials/material.h"
#include "materials/render_state_block.h"
#include "materials/state_shadow.h"
#include "materials/texture_stage.h"
#include "scene/controller/controller.h"
#include "scene/value_types.h"

namespace ts3d {

// The fixed-function material: a device material driven by controllers, a block of render
// states and up to kMaxStages texture stages.
// Body of MTSM (version 2): objects diffuse, ambient, specular, emissive, power, from version
// 2 on opacity (may be null); the render state body; one byte of order; uint32 stage count and
// that many stage objects.
//
// The material owns no stage: several materials may share one. Stages read from a file are kept
// by the file's root; a stage given to setStage stays its caller's.
class MaterialSimple : public Material {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("MTSM");
  static constexpr int32_t kVersion = 2;
  // The Context shadows eight stages, and applyPass closes the cascade on the one behind the
  // last used stage.
  static constexpr uint32_t kMaxStages = StageCount - 1;

  MaterialSimple();
  ~MaterialSimple() override;
  MaterialSimple(const MaterialSimple&) = delete;
  MaterialSimple& operator=(const MaterialSimple&) = delete;

  void update(float time) override;
  int order() override { return orderValue; }
  bool isComposite() override { return false; }
  uint32_t beginPasses(uint32_t) override { return 1; }
  // Needs a Context.
  void applyPass(uint32_t pass) override;
  void prepare() override;
  void createResources() override {}

  virtual void setOrder(int32_t value) { orderValue = value; }
  virtual void setRenderStates(const RenderStateBlock& block) { stateBlock = block; }
  virtual RenderStateBlock& renderStates() { return stateBlock; }
  // Grows the list with null entries up to index; an index of kMaxStages or more is refused.
  virtual void setStage(uint32_t index, TextureStage* stage);
  virtual TextureStage* stage(uint32_t index);
  virtual uint32_t stageCount();
  virtual Texture* stageTexture(uint32_t index);

  // Each replaces (and deletes) the controller that stood there; null is allowed.
  void setDiffuseController(controller::ControllerBase<color>* replacement);
  void setAmbientController(controller::ControllerBase<color>* replacement);
  void setSpecularController(controller::ControllerBase<color>* replacement);
  void setEmissiveController(controller::ControllerBase<color>* replacement);
  void setPowerController(controller::ControllerBase<float>* replacement);
  void setOpacityController(controller::ControllerBase<float>* replacement);

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  controller::ControllerBase<color>* diffuseController = nullptr;
  controller::ControllerBase<color>* ambientController = nullptr;
  controller::ControllerBase<color>* specularController = nullptr;
  controller::ControllerBase<color>* emissiveController = nullptr;
  controller::ControllerBase<float>* powerController = nullptr;
  controller::ControllerBase<float>* opacityController = nullptr;
  RenderStateBlock stateBlock;
  int32_t orderValue = 0;
  D3DMATERIAL9 d3dMaterial;
  bool isStatic = false;
  std::vector<TextureStage*> stages;  // not owned: a stage may serve several materials

 private:
  void buildMaterial();
};

}  // namespace ts3d
