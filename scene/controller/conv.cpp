#include "scene/controller/conv.h"

namespace ts3d::controller {

void Conv<color, vect3>::update(float time) {
  if (!source) return;
  source->update(time);
  value = color(source->value.x, source->value.y, source->value.z, 1.0f);
}

void Conv<color, vect3>::scale(float factor) {
  if (source) source->scale(factor);
}

bool Conv<color, vect3>::load(tsio::InStream& in) {
  source = tsio::readShared<ControllerBase<vect3>>(in);
  return in.isGood();
}

void Conv<color, vect3>::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kChunkVersion);
  out.writeObject(source);
}

}  // namespace ts3d::controller
