#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>
#include <vector>

#include "io/serializable.h"
#include "scene/controller/animatable.h"
#include "scene/controller/controller.h"
#include "scene/transformable.h"
#include "scene/value_types.h"

namespace ts3d {

class Mesh;

// A light of the scene: update keeps a device light ready, apply switches it on.
// The mesh lists hold objects owned by the scene; they are kept as plain objects until the mesh
// class joins this library, and are only stored and handed out.
class Light : public Animatable, public tsio::Serializable, public Transformable {
 public:
  virtual void apply() = 0;
  virtual std::vector<Mesh*>& includedMeshes() = 0;
  virtual std::vector<Mesh*>& shadowMeshes() = 0;
  ~Light() override = default;
};

// The engine's light: a point light. The seven controllers are owned and on the Animatable
// list. Body of LTOM (version 1): objects transformation, ambient, diffuse, specular, range,
// attenuation 0, 1, 2; then int32 count and that many objects for the included meshes, and the
// same for the shadow casters.
class LightOmni : public Light {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("LTOM");
  static constexpr int32_t kVersion = 1;

  LightOmni();
  ~LightOmni() override;
  LightOmni(const LightOmni&) = delete;
  LightOmni& operator=(const LightOmni&) = delete;

  // A missing controller leaves its member of the device light at 0.
  void update(float time) override;
  // Needs a Context.
  void apply() override;
  std::vector<Mesh*>& includedMeshes() override { return included; }
  std::vector<Mesh*>& shadowMeshes() override { return shadowCasters; }

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  controller::ControllerBase<color>* diffuseController = nullptr;
  controller::ControllerBase<color>* specularController = nullptr;
  controller::ControllerBase<color>* ambientController = nullptr;
  controller::ControllerBase<float>* rangeController = nullptr;
  controller::ControllerBase<float>* attenuation0Controller = nullptr;
  controller::ControllerBase<float>* attenuation1Controller = nullptr;
  controller::ControllerBase<float>* attenuation2Controller = nullptr;
  D3DLIGHT9 d3dLight;
  std::vector<Mesh*> included;       // not owned; the engine draws without it
  std::vector<Mesh*> shadowCasters;  // not owned; read by the shadow renderer
};

}  // namespace ts3d
