#include "scene/controller_transformation.h"

#include "scene/transformation.h"

namespace ts3d {

namespace {
const vect3 kOrigin{0.0f, 0.0f, 0.0f};
const vect3 kUnitScale{1.0f, 1.0f, 1.0f};
const quat kIdentityRotation{0.0f, 0.0f, 0.0f, 1.0f};
}  // namespace

ControllerTransformation::~ControllerTransformation() {
  delete positionController;
  delete rotationController;
  delete scaleController;
}

void ControllerTransformation::update(float time) { updateControllers(time); }

const matrix* ControllerTransformation::matrix() {
  composed = composeMatrix(*position(), *rotation(), *scale());
  return &composed;
}

const vect3* ControllerTransformation::position() {
  return positionController ? &positionController->value : &kOrigin;
}

const vect3* ControllerTransformation::scale() { return scaleController ? &scaleController->value : &kUnitScale; }

const quat* ControllerTransformation::rotation() const {
  return rotationController ? &rotationController->value : &kIdentityRotation;
}

bool ControllerTransformation::load(tsio::InStream& in) {
  loadController(in, positionController);
  loadController(in, rotationController);
  loadController(in, scaleController);
  return in.isGood();
}

void ControllerTransformation::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeObject(positionController);
  out.writeObject(rotationController);
  out.writeObject(scaleController);
}

ControllerTransformationMatrix::~ControllerTransformationMatrix() { delete matrixController; }

const matrix* ControllerTransformationMatrix::matrix() {
  if (matrixController) return &matrixController->value;
  D3DXMatrixIdentity(&composed);
  return &composed;
}

const vect3* ControllerTransformationMatrix::position() {
  const ts3d::matrix* current = matrix();
  translation = vect3(current->m[3][0], current->m[3][1], current->m[3][2]);
  return &translation;
}

const vect3* ControllerTransformationMatrix::scale() { return &kUnitScale; }

bool ControllerTransformationMatrix::load(tsio::InStream& in) {
  loadController(in, matrixController);
  return in.isGood();
}

void ControllerTransformationMatrix::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeObject(matrixController);
}

}  // namespace ts3d
