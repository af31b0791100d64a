#include "scene/atmospheric_fog.h"

#include "scene/camera.h"

namespace ts3d {

AtmosphericFog::~AtmosphericFog() {
  delete colorController;
  delete startController;
  delete endController;
}

void AtmosphericFog::enter(Camera* camera) {
  if (!colorController || !camera) return;
  // A missing bound is the camera's range's own.
  const float s = startController ? startController->value : 0.0f;
  const float e = endController ? endController->value : 1.0f;
  // A ramp of no width has no place where it meets 0 and 1: no fog.
  if (e == s) return;
  const float n = camera->rangeNear(), f = camera->rangeFar();
  settings.color = packColor(colorController->value);
  settings.mode = FogLinear;
  settings.kind = FogVertex;
  // Where the ramp through (s, 0) and (e, 1), over the range n to f, meets 0 and 1.
  const float start = (0.0f - s) * (f - n) / (e - s) + n;
  settings.start = start < 0.0f ? 0.0f : start;
  settings.end = (1.0f - s) * (f - n) / (e - s) + n;
  Context::instance->setFog(true, settings);
}

void AtmosphericFog::leave() {
  if (colorController) Context::instance->setFog(false, FogSettings());
}

void AtmosphericFog::clear(Camera* /*camera*/, uint32_t flags, bool direct) {
  if (colorController) clearInColor(colorController->value, flags, direct);
}

bool AtmosphericFog::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  in.readBool(&clears);
  loadController(in, colorController);
  loadController(in, startController);
  loadController(in, endController);
  return in.isGood();
}

void AtmosphericFog::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeBool(clears);
  out.writeObject(colorController);
  out.writeObject(startController);
  out.writeObject(endController);
}

}  // namespace ts3d
