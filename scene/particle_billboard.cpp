#include "scene/particle_billboard.h"

#include "context/context.h"
#include "materials/material_passes.h"

namespace ts3d {
namespace particle {

void Billboard::draw() {
  matrix identity;
  D3DXMatrixIdentity(&identity);
  Context::instance->setWorldMatrix(identity);
  drawWithMaterial(material, [this] { geometry->draw(); });
}

bool Billboard::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  material = tsio::readShared<Material>(in);
  return in.isGood();
}

void Billboard::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeObject(material);
}

}  // namespace particle
}  // namespace ts3d
