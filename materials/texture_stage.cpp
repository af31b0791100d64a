#include "materials/texture_stage.h"

#include <cmath>

#include "context/context.h"
#include "materials/controller_slot.h"

namespace ts3d {

namespace {

const matrix& identity() {
  static const matrix value(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
  return value;
}

// A missing controller gives the value that leaves the texture where it is.
float valueOf(const controller::ControllerBase<float>* source, float neutral) {
  return source ? source->value : neutral;
}

bool constantOrAbsent(const Controller* source) { return !source || source->isConstant(); }

}  // namespace

TextureStage::TextureStage() : fileMatrix(identity()), animatedMatrix(identity()) {}

TextureStage::~TextureStage() {
  delete offsetUController;
  delete offsetVController;
  delete tilingUController;
  delete tilingVController;
  delete angleUController;
  delete angleVController;
  delete angleWController;
}

bool TextureStage::nearlyEqual(const matrix& a, const matrix& b) {
  for (int i = 0; i < 16; ++i)
    if (!(std::fabs(a[i] - b[i]) < kMatrixTolerance)) return false;
  return true;
}

void TextureStage::setControllers(controller::ControllerBase<float>* offsetU,
                                  controller::ControllerBase<float>* offsetV,
                                  controller::ControllerBase<float>* tilingU,
                                  controller::ControllerBase<float>* tilingV,
                                  controller::ControllerBase<float>* angleU,
                                  controller::ControllerBase<float>* angleV,
                                  controller::ControllerBase<float>* angleW) {
  replaceController(*this, offsetUController, offsetU);
  replaceController(*this, offsetVController, offsetV);
  replaceController(*this, tilingUController, tilingU);
  replaceController(*this, tilingVController, tilingV);
  replaceController(*this, angleUController, angleU);
  replaceController(*this, angleVController, angleV);
  replaceController(*this, angleWController, angleW);
}

void TextureStage::prepare() {
  const Controller* all[] = {offsetUController, offsetVController, tilingUController, tilingVController,
                             angleUController,  angleVController,  angleWController};
  bool none = true, constant = true;
  for (const Controller* c : all) {
    none = none && !c;
    constant = constant && constantOrAbsent(c);
  }
  controllersConstant = constant;
  if (none || !constant) return;
  makeMatrix();
}

void TextureStage::makeMatrix() {
  // The centre of the image in 2D texture coordinates, whose translation row is the third.
  matrix centre(identity()), uncentre(identity());
  centre._31 = 0.5f;
  centre._32 = -0.5f;
  uncentre._31 = -0.5f;  // the inverse of a pure translation
  uncentre._32 = 0.5f;
  matrix offset(identity());
  offset._31 = -valueOf(offsetUController, 0.0f);
  offset._32 = valueOf(offsetVController, 0.0f);
  matrix tiling(identity());
  tiling._11 = valueOf(tilingUController, 1.0f);
  tiling._22 = valueOf(tilingVController, 1.0f);
  quat rotation;
  D3DXQuaternionRotationYawPitchRoll(&rotation, valueOf(angleVController, 0.0f), valueOf(angleUController, 0.0f),
                                     -valueOf(angleWController, 0.0f));
  matrix rotate;
  D3DXMatrixRotationQuaternion(&rotate, &rotation);

  animatedMatrix = uncentre * offset * tiling * rotate * centre;
  const bool useAnimated = !controllersConstant || !nearlyEqual(animatedMatrix, identity());
  if (hasFileMatrix) {
    states.textureMatrix = useAnimated ? fileMatrix * animatedMatrix : fileMatrix;
  } else if (useAnimated) {
    states.textureMatrix = animatedMatrix;
    states.transformCount = 2;
  }
}

void TextureStage::update(float time) {
  updateControllers(time);
  if (!controllersConstant) makeMatrix();
  if (mappingMode == 1) followCamera();
}

void TextureStage::followCamera() {
  if (!Context::instance) return;
  matrix m = Context::instance->transforms.getInverseView();
  for (int i = 0; i < 16; ++i) m[i] = -m[i];
  m._41 = 0.0f;
  m._42 = 0.0f;
  m._43 = 0.0f;
  states.textureMatrix = m;
}

void TextureStage::apply(uint32_t stage) {
  if (texture) texture->bind(stage);
  if (Context::instance) Context::instance->applyStageState(stage, states);
}

bool TextureStage::load(tsio::InStream& in) {
  if (!in.acceptsVersion(0, kVersion)) return false;
  const int32_t version = in.isChunked() ? in.chunkVersion() : kVersion;
  texture = tsio::readShared<Texture>(in);
  if (!states.load(in) || !in.isGood()) return false;
  hasFileMatrix = !nearlyEqual(states.textureMatrix, identity());
  fileMatrix = hasFileMatrix ? states.textureMatrix : identity();
  loadController(in, offsetUController);
  loadController(in, offsetVController);
  loadController(in, tilingUController);
  loadController(in, tilingVController);
  loadController(in, angleUController);
  loadController(in, angleVController);
  loadController(in, angleWController);
  if (version >= 2) {
    uint8_t mode = 0;
    in.readUint8(&mode);
    mappingMode = mode;
  }
  return in.isGood();
}

void TextureStage::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeObject(texture);
  const matrix working = states.textureMatrix;
  states.textureMatrix = fileMatrix;
  states.store(out);
  states.textureMatrix = working;
  out.writeObject(offsetUController);
  out.writeObject(offsetVController);
  out.writeObject(tilingUController);
  out.writeObject(tilingVController);
  out.writeObject(angleUController);
  out.writeObject(angleVController);
  out.writeObject(angleWController);
  out.writeUint8(static_cast<uint8_t>(mappingMode));
}

}  // namespace ts3d
