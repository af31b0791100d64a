#include "scene/transformation.h"

#include "scene/controller/values.h"

namespace ts3d {

matrix composeMatrix(const vect3& position, const quat& rotation, const vect3& scale) {
  matrix scaling, rotating, translating, scaledRotated, result;
  D3DXMatrixScaling(&scaling, scale.x, scale.y, scale.z);
  D3DXMatrixRotationQuaternion(&rotating, &rotation);
  D3DXMatrixTranslation(&translating, position.x, position.y, position.z);
  D3DXMatrixMultiply(&scaledRotated, &scaling, &rotating);
  D3DXMatrixMultiply(&result, &scaledRotated, &translating);
  return result;
}

bool TransformationPRS::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  matrixValid = false;
  controller::readValue(in, positionValue);
  controller::readValue(in, rotationValue);
  controller::readValue(in, scaleValue);
  return in.isGood();
}

void TransformationPRS::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  controller::writeValue(out, positionValue);
  controller::writeValue(out, rotationValue);
  controller::writeValue(out, scaleValue);
}

const matrix* TransformationPRS::matrix() {
  if (!matrixValid) {
    matrixValue = composeMatrix(positionValue, rotationValue, scaleValue);
    matrixValid = true;
  }
  return &matrixValue;
}

}  // namespace ts3d
