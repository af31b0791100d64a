#pragma once

#include <cstdint>

#include "io/serializable.h"
#include "scene/value_types.h"

namespace ts3d {

// Scale, then rotation, then translation: S * R * T in row-vector order.
matrix composeMatrix(const vect3& position, const quat& rotation, const vect3& scale);

// Something that answers with a place in space. The fixed kind is TransformationPRS. The other
// kind is a node of the scene's tree, which joins as a class deriving from Animatable and
// Transformation: it owns a ControllerTransformation, forwards position and scale to it, takes
// its rotation from ControllerTransformation::rotation(), and answers matrix() with its world
// matrix. Nodes belong to the tree, so Transformable never adopts them.
class Transformation : public tsio::Serializable {
 public:
  virtual const vect3* position() = 0;
  virtual const quat* rotation() = 0;
  virtual const vect3* scale() = 0;
  virtual const ts3d::matrix* matrix() = 0;
  ~Transformation() override = default;
};

// A fixed position, rotation and scale; immutable after load. Body (version 1): 10 floats,
// position x y z, rotation x y z w, scale x y z.
class TransformationPRS : public Transformation {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("TRPR");
  static constexpr int32_t kVersion = 1;

  TransformationPRS() = default;
  TransformationPRS(const vect3& position, const quat& rotation, const vect3& scale)
      : positionValue(position), rotationValue(rotation), scaleValue(scale) {}

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  const vect3* position() override { return &positionValue; }
  const quat* rotation() override { return &rotationValue; }
  const vect3* scale() override { return &scaleValue; }
  // Composed on first demand and kept: the parts never change after load.
  const ts3d::matrix* matrix() override;

  vect3 positionValue{0.0f, 0.0f, 0.0f};
  quat rotationValue{0.0f, 0.0f, 0.0f, 1.0f};
  vect3 scaleValue{1.0f, 1.0f, 1.0f};
  bool matrixValid = false;
  ts3d::matrix matrixValue;
};

}  // namespace ts3d
