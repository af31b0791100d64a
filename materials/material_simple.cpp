#include "materials/material_simple.h"

#include "context/context.h"
#include "io/trace.h"
#include "materials/controller_slot.h"

namespace ts3d {

namespace {

// A file may leave out a mandatory colour or the power. The missing member then takes the
// value of the device's default material (Context::setDefaultMaterial): white diffuse, black
// ambient, specular and emissive, power 0. So such a material draws like an untouched device
// instead of failing.
D3DCOLORVALUE colorOf(const controller::ControllerBase<color>* source, const color& fallback) {
  const color& c = source ? source->value : fallback;
  return D3DCOLORVALUE{c.r, c.g, c.b, c.a};
}

bool constantOrAbsent(const Controller* source) { return !source || source->isConstant(); }

}  // namespace

MaterialSimple::MaterialSimple() : stateBlock(RenderStateBlock::defaultBlock()), d3dMaterial() {}

MaterialSimple::~MaterialSimple() {
  delete diffuseController;
  delete ambientController;
  delete specularController;
  delete emissiveController;
  delete powerController;
  delete opacityController;
}

void MaterialSimple::setDiffuseController(controller::ControllerBase<color>* replacement) {
  replaceController(*this, diffuseController, replacement);
}
void MaterialSimple::setAmbientController(controller::ControllerBase<color>* replacement) {
  replaceController(*this, ambientController, replacement);
}
void MaterialSimple::setSpecularController(controller::ControllerBase<color>* replacement) {
  replaceController(*this, specularController, replacement);
}
void MaterialSimple::setEmissiveController(controller::ControllerBase<color>* replacement) {
  replaceController(*this, emissiveController, replacement);
}
void MaterialSimple::setPowerController(controller::ControllerBase<float>* replacement) {
  replaceController(*this, powerController, replacement);
}
void MaterialSimple::setOpacityController(controller::ControllerBase<float>* replacement) {
  replaceController(*this, opacityController, replacement);
}

void MaterialSimple::setStage(uint32_t index, TextureStage* added) {
  if (index >= kMaxStages) {
    traceLog("MaterialSimple::setStage : stage %u refused, a material holds at most %u stages.", index, kMaxStages);
    return;
  }
  if (index >= stages.size()) stages.resize(index + 1, nullptr);
  stages[index] = added;
}

TextureStage* MaterialSimple::stage(uint32_t index) { return index < stages.size() ? stages[index] : nullptr; }

uint32_t MaterialSimple::stageCount() { return static_cast<uint32_t>(stages.size()); }

Texture* MaterialSimple::stageTexture(uint32_t index) {
  TextureStage* entry = stage(index);
  return entry ? entry->texture : nullptr;
}

void MaterialSimple::buildMaterial() {
  d3dMaterial.Diffuse = colorOf(diffuseController, color(1.0f, 1.0f, 1.0f, 1.0f));
  d3dMaterial.Ambient = colorOf(ambientController, color(0.0f, 0.0f, 0.0f, 0.0f));
  d3dMaterial.Specular = colorOf(specularController, color(0.0f, 0.0f, 0.0f, 0.0f));
  d3dMaterial.Emissive = colorOf(emissiveController, color(0.0f, 0.0f, 0.0f, 0.0f));
  d3dMaterial.Power = powerController ? powerController->value : 0.0f;
  if (opacityController) d3dMaterial.Diffuse.a = opacityController->value;
}

void MaterialSimple::prepare() {
  const Controller* all[] = {diffuseController, ambientController, specularController,
                             emissiveController, powerController, opacityController};
  bool constant = true;
  for (const Controller* c : all) constant = constant && constantOrAbsent(c);
  if (constant) {
    updateControllers(0.0f);
    buildMaterial();
    isStatic = true;
  }
  for (TextureStage* entry : stages)
    if (entry) entry->prepare();
}

void MaterialSimple::update(float time) {
  if (!isStatic) {
    updateControllers(time);
    buildMaterial();
  }
  for (TextureStage* entry : stages)
    if (entry) entry->update(time);
}

void MaterialSimple::applyPass(uint32_t) {
  Context* context = Context::instance;
  if (!context) return;
  context->applyRenderState(stateBlock);
  context->setMaterial(&d3dMaterial);
  if (stages.empty()) {
    context->resetTextureStages();
    return;
  }
  const uint32_t count = stageCount();
  // A null entry (a gap left by setStage) leaves its device stage as it was.
  for (uint32_t i = 0; i < count; ++i)
    if (stages[i]) stages[i]->apply(i);
  TextureStageStateBlock closing;
  closing.colorOp = TextureDisable;
  closing.alphaOp = TextureDisable;
  context->applyStageState(count, closing);
}

bool MaterialSimple::load(tsio::InStream& in) {
  if (!in.acceptsVersion(0, kVersion)) return false;
  const int32_t version = in.isChunked() ? in.chunkVersion() : kVersion;
  loadController(in, diffuseController);
  loadController(in, ambientController);
  loadController(in, specularController);
  loadController(in, emissiveController);
  loadController(in, powerController);
  if (version >= 2) loadController(in, opacityController);
  if (!in.isGood()) return false;
  if (!stateBlock.load(in)) {
    in.fail("a material's render states can't be read");
    return false;
  }
  uint8_t order = 0;
  in.readUint8(&order);
  orderValue = order;
  uint32_t count = 0;
  if (!in.readCount(&count, tsio::InStream::kObjectFieldBytes)) return false;
  stages.clear();
  for (uint32_t i = 0; i < count && in.isGood(); ++i) {
    TextureStage* loaded = tsio::readShared<TextureStage>(in);
    // The device has kMaxStages stages and the shadow state no more: later ones are read and left out.
    if (i < kMaxStages) stages.push_back(loaded);
  }
  return in.isGood();
}

void MaterialSimple::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeObject(diffuseController);
  out.writeObject(ambientController);
  out.writeObject(specularController);
  out.writeObject(emissiveController);
  out.writeObject(powerController);
  out.writeObject(opacityController);
  stateBlock.store(out);
  out.writeUint8(static_cast<uint8_t>(orderValue));
  out.writeUint32(static_cast<uint32_t>(stages.size()));
  for (TextureStage* entry : stages) out.writeObject(entry);
}

}  // namespace ts3d
