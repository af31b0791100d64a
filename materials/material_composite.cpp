#include "materials/material_composite.h"

#include "context/context.h"
#include "io/stream.h"

namespace ts3d {

namespace {

// An index that no sub-material has: what an id the table lacks selects.
constexpr uint32_t kNoIndex = UINT32_MAX;
// Per id in the table: the id and its index.
constexpr uint32_t kIdEntryBytes = 8;

// Raises the flag for the time of one forwarded call.
class Forwarding {
 public:
  explicit Forwarding(bool& flag) : raised(flag) { raised = true; }
  ~Forwarding() { raised = false; }
  Forwarding(const Forwarding&) = delete;
  Forwarding& operator=(const Forwarding&) = delete;

 private:
  bool& raised;
};

}  // namespace

Material* MaterialComposite::selected() const {
  // A file's index may lie beyond the list: that selects no material.
  return currentIndex < subMaterials.size() ? subMaterials[currentIndex] : nullptr;
}

int MaterialComposite::order() {
  Material* chosen = selected();
  // Without a sub-material (or in a loop back here) it is drawn as a mesh without material: opaque.
  if (!chosen || forwarding) return 1;
  Forwarding guard(forwarding);
  return chosen->order();
}

uint32_t MaterialComposite::beginPasses(uint32_t index) {
  if (forwarding) return 0;
  currentIndex = index;
  Material* chosen = selected();
  if (!chosen) {
    if (Context* context = Context::instance) context->resetMaterial();
    return 1;
  }
  Forwarding guard(forwarding);
  return chosen->beginPasses(0);
}

void MaterialComposite::applyPass(uint32_t pass) {
  Material* chosen = selected();
  if (!chosen || forwarding) return;
  Forwarding guard(forwarding);
  chosen->applyPass(pass);
}

void MaterialComposite::endPasses() {
  Material* chosen = selected();
  if (!chosen || forwarding) return;
  Forwarding guard(forwarding);
  chosen->endPasses();
}

uint32_t MaterialComposite::beginPassesForId(uint32_t id) {
  const auto found = idToIndex.find(id);
  return beginPasses(found == idToIndex.end() ? kNoIndex : found->second);
}

Material* MaterialComposite::subMaterialForId(uint32_t id) {
  const auto found = idToIndex.find(id);
  if (found == idToIndex.end()) return this;
  return found->second < subMaterials.size() ? subMaterials[found->second] : nullptr;
}

bool MaterialComposite::load(tsio::InStream& in) {
  if (!in.acceptsVersion(1, kVersion)) return false;
  uint32_t count = 0;
  if (!in.readCount(&count, tsio::InStream::kObjectFieldBytes)) return false;
  subMaterials.reserve(count);
  for (uint32_t i = 0; i < count && in.isGood(); ++i) subMaterials.push_back(tsio::readShared<Material>(in));
  // Version 1 has no table: every mesh then draws through the composite as a whole.
  if (in.chunkVersion() == 1) return in.isGood();
  if (!in.readCount(&count, kIdEntryBytes)) return false;
  for (uint32_t i = 0; i < count && in.isGood(); ++i) {
    uint32_t id = 0, index = 0;
    in.readUint32(&id);
    in.readUint32(&index);
    idToIndex[id] = index;
  }
  return in.isGood();
}

void MaterialComposite::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeUint32(static_cast<uint32_t>(subMaterials.size()));
  for (Material* sub : subMaterials) out.writeObject(sub);
  out.writeUint32(static_cast<uint32_t>(idToIndex.size()));
  for (const auto& [id, index] : idToIndex) {
    out.writeUint32(id);
    out.writeUint32(index);
  }
}

}  // namespace ts3d
