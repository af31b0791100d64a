#include "geometry/modifier_stack.h"

namespace ts3d {

ModifierStack::~ModifierStack() {
  deleteOutputs();
  for (Modifier* modifier : modifiers) delete modifier;
}

void ModifierStack::deleteOutputs() {
  for (Geometry* geometry : outputs) delete geometry;
  outputs.clear();
}

bool ModifierStack::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;

  uint32_t count = 0;
  if (!in.readCount(&count, tsio::InStream::kObjectFieldBytes)) return false;
  modifiers.reserve(modifiers.size() + count);
  for (uint32_t i = 0; i < count; ++i) {
    // Adopted entries go into the list at once, so the destructor releases them even when
    // a later entry fails the read.
    modifiers.push_back(tsio::readOwned<Modifier>(in));
    if (!in.isGood()) return false;
  }
  return true;
}

void ModifierStack::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeInt32(static_cast<int32_t>(modifiers.size()));
  for (Modifier* modifier : modifiers) out.writeObject(modifier);
}

void ModifierStack::update(float time) {
  size_t k = 0;
  for (Modifier* modifier : modifiers) {
    if (!modifier) continue;
    modifier->update(time);
    if (!modifier->modifiesGeometry() || k >= outputs.size()) continue;
    Geometry* input = k == 0 ? source : outputs[k - 1];
    modifier->apply(outputs[k], input);
    ++k;
  }
}

void ModifierStack::setSource(Geometry* geometry) {
  source = geometry;
  deleteOutputs();
  Geometry* input = source;
  for (Modifier* modifier : modifiers) {
    if (!modifier) continue;
    input = modifier->createOutput(input);
    outputs.push_back(input);
  }
}

bool ModifierStack::add(Modifier* modifier) {
  modifiers.push_back(modifier);
  if (modifier && modifier->modifiesGeometry()) outputs.push_back(modifier->createOutput(output()));
  return true;
}

Geometry* ModifierStack::output() const { return outputs.empty() ? source : outputs.back(); }

void ModifierStack::setupRender() {
  for (Modifier* modifier : modifiers)
    if (modifier && modifier->needsRenderSetup()) modifier->setupRender();
}

bool ModifierStack::createResources() {
  if (outputs.empty()) return false;
  outputs.back()->createResources();
  return true;
}

}  // namespace ts3d
