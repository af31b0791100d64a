#include "scene/atmospheric_ambient.h"

#include "context/context.h"

namespace ts3d {

void AtmosphericAmbient::enter(Camera* /*camera*/) {
  if (!colorController) return;
  savedAmbient = Context::instance->ambient;
  Context::instance->setAmbient(colorController->value);
}

void AtmosphericAmbient::leave() {
  if (colorController) Context::instance->setAmbient(savedAmbient);
}

bool AtmosphericAmbient::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  loadController(in, colorController);
  return in.isGood();
}

void AtmosphericAmbient::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeObject(colorController);
}

}  // namespace ts3d
