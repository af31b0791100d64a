#pragma once

#include <cstdint>

#include "io/serializable.h"
#include "scene/controller/animatable.h"
#include "scene/controller/controller.h"
#include "scene/frustum.h"
#include "scene/transformable.h"
#include "scene/value_types.h"

namespace ts3d {

// A point of view: a view matrix from update, view and projection to the device in apply.
class Camera : public Animatable, public tsio::Serializable, public Transformable {
 public:
  virtual void apply() = 0;
  virtual Frustum& frustum(Frustum& out) = 0;
  virtual float clipNear() = 0;
  virtual float clipFar() = 0;
  virtual float rangeNear() = 0;
  virtual float rangeFar() = 0;
  virtual float focusDistance() = 0;
  virtual const matrix* viewMatrix() = 0;
  virtual const matrix* projectionMatrix() = 0;
  ~Camera() override = default;
};

// The engine's camera. Right-handed: it looks along its local -Z axis with +Y up. Controllers
// are owned and on the Animatable list; the transformation is not owned. Body of cASM
// (version 1): objects transformation, fov, near, far, clip near, range far.
class CameraSimple : public Camera {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("cASM");
  static constexpr int32_t kVersion = 1;
  static constexpr float kDefaultNear = 1.0f;
  static constexpr float kDefaultFar = 10000.0f;

  CameraSimple();
  ~CameraSimple() override;
  CameraSimple(const CameraSimple&) = delete;
  CameraSimple& operator=(const CameraSimple&) = delete;

  void update(float time) override;
  // Needs a Context. Without a field of view only the view reaches the device.
  void apply() override;
  Frustum& frustum(Frustum& out) override;
  float clipNear() override;
  float clipFar() override;
  float rangeNear() override;
  float rangeFar() override;
  // The distance to the target of the camera's node when it aims at one, else half the way
  // from clipNear to clipFar.
  float focusDistance() override;
  const matrix* viewMatrix() override { return &view; }
  const matrix* projectionMatrix() override { return &projection; }

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  controller::ControllerBase<float>* fovController = nullptr;  // vertical, radians
  matrix view;
  matrix projection;
  controller::ControllerBase<float>* nearController = nullptr;       // projection's near plane
  controller::ControllerBase<float>* farController = nullptr;        // projection's far plane
  controller::ControllerBase<float>* clipNearController = nullptr;   // read by depth of field
  controller::ControllerBase<float>* rangeFarController = nullptr;   // read by fog
};

}  // namespace ts3d
