#include "scene/light.h"

#include "context/context.h"
#include "scene/mesh.h"
#include "scene/transformation.h"

namespace ts3d {

namespace {

D3DCOLORVALUE colorOf(const controller::ControllerBase<color>* source) {
  D3DCOLORVALUE result = {0.0f, 0.0f, 0.0f, 0.0f};
  if (source) result = {source->value.r, source->value.g, source->value.b, source->value.a};
  return result;
}

float floatOf(const controller::ControllerBase<float>* source) { return source ? source->value : 0.0f; }

// An object word per entry; null entries, and objects that aren't meshes, stay as null.
void loadList(tsio::InStream& in, std::vector<Mesh*>& list) {
  list.clear();
  uint32_t count = 0;
  if (!in.readCount(&count, tsio::InStream::kObjectFieldBytes)) return;
  list.reserve(count);
  for (uint32_t i = 0; i < count && in.isGood(); ++i) list.push_back(tsio::readShared<Mesh>(in));
}

void storeList(tsio::OutStream& out, const std::vector<Mesh*>& list) {
  out.writeInt32(static_cast<int32_t>(list.size()));
  for (Mesh* entry : list) out.writeObject(entry);
}

}  // namespace

LightOmni::LightOmni() : d3dLight() {}

LightOmni::~LightOmni() {
  delete diffuseController;
  delete specularController;
  delete ambientController;
  delete rangeController;
  delete attenuation0Controller;
  delete attenuation1Controller;
  delete attenuation2Controller;
}

void LightOmni::update(float time) {
  updateControllers(time);
  d3dLight.Type = D3DLIGHT_POINT;
  d3dLight.Ambient = colorOf(ambientController);
  d3dLight.Diffuse = colorOf(diffuseController);
  d3dLight.Specular = colorOf(specularController);
  d3dLight.Range = floatOf(rangeController);
  d3dLight.Attenuation0 = floatOf(attenuation0Controller);
  d3dLight.Attenuation1 = floatOf(attenuation1Controller);
  d3dLight.Attenuation2 = floatOf(attenuation2Controller);
  // A node's own position, relative to its parent: the world matrix isn't consulted.
  vect3 position(0.0f, 0.0f, 0.0f);
  if (transformation) position = *transformation->position();
  d3dLight.Position = {position.x, position.y, position.z};
}

void LightOmni::apply() {
  if (Context::instance) Context::instance->addLight(&d3dLight);
}

bool LightOmni::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  loadTransformation(in);
  // The file has ambient first, unlike the fields.
  loadController(in, ambientController);
  loadController(in, diffuseController);
  loadController(in, specularController);
  loadController(in, rangeController);
  loadController(in, attenuation0Controller);
  loadController(in, attenuation1Controller);
  loadController(in, attenuation2Controller);
  loadList(in, included);
  loadList(in, shadowCasters);
  return in.isGood();
}

void LightOmni::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeObject(transformation);
  out.writeObject(ambientController);
  out.writeObject(diffuseController);
  out.writeObject(specularController);
  out.writeObject(rangeController);
  out.writeObject(attenuation0Controller);
  out.writeObject(attenuation1Controller);
  out.writeObject(attenuation2Controller);
  storeList(out, included);
  storeList(out, shadowCasters);
}

}  // namespace ts3d
