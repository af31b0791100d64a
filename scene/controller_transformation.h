#pragma once

#include <cstdint>

#include "io/serializable.h"
#include "scene/controller/animatable.h"
#include "scene/controller/controller.h"
#include "scene/value_types.h"

namespace ts3d {

// The animated position, rotation and scale of a node of the scene's tree. The three
// controllers are owned and stand on the Animatable list; answers are those of the last
// update. Body of CPRS (version 1): object position, object rotation, object scale.
class ControllerTransformation : public Animatable, public tsio::Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("CPRS");
  static constexpr int32_t kVersion = 1;

  ControllerTransformation() = default;
  ~ControllerTransformation() override;
  ControllerTransformation(const ControllerTransformation&) = delete;
  ControllerTransformation& operator=(const ControllerTransformation&) = delete;

  void update(float time) override;
  // Composed anew on each call into a buffer of this object: good until the next call.
  virtual const ts3d::matrix* matrix();
  virtual const vect3* position();
  virtual const vect3* scale();

  // The rotation that matrix() uses; the identity without a rotation controller.
  const quat* rotation() const;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  // A file may leave any of them null: then the origin, the identity and unit scale stand in.
  controller::ControllerBase<vect3>* positionController = nullptr;
  controller::ControllerBase<quat>* rotationController = nullptr;
  controller::ControllerBase<vect3>* scaleController = nullptr;

 protected:
  ts3d::matrix composed;
};

// A node animated by whole matrices: the three controllers of the base stay null. Body of CMTX
// (version 1): object matrix controller.
class ControllerTransformationMatrix : public ControllerTransformation {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("CMTX");
  static constexpr int32_t kVersion = 1;

  ControllerTransformationMatrix() = default;
  ~ControllerTransformationMatrix() override;

  // The controller's matrix; the identity without one.
  const ts3d::matrix* matrix() override;
  // Elements 12, 13, 14 of the matrix.
  const vect3* position() override;
  // Always 1, 1, 1: whatever scale the matrix holds is not taken apart.
  const vect3* scale() override;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  controller::ControllerBase<ts3d::matrix>* matrixController = nullptr;

 private:
  vect3 translation{0.0f, 0.0f, 0.0f};
};

}  // namespace ts3d
