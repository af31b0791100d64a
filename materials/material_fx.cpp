#include "materials/material_fx.h"

#include "context/context.h"
#include "io/stream.h"

namespace ts3d {

MaterialFX* MaterialFX::createFromResource(uint32_t resourceId) {
  auto* material = new MaterialFX();
  material->resourceId = resourceId;
  return material;
}

Material* MaterialFX::base() {
  // Longer chains than this are loops that don't pass through here.
  constexpr int kMaxChain = 64;
  Material* link = baseMaterial;
  for (int step = 0; link; ++step) {
    if (link == this || step == kMaxChain) return nullptr;
    auto* effectLink = dynamic_cast<MaterialFX*>(link);
    link = effectLink ? effectLink->baseMaterial : nullptr;
  }
  return baseMaterial;
}

void MaterialFX::update(float time) {
  if (Material* under = base()) under->update(time);
}

void MaterialFX::prepare() {
  if (Material* under = base()) under->prepare();
}

void MaterialFX::createResources() {
  Context* context = Context::instance;
  if (!context) return;
  const D3DXMACRO macros[] = {{nullptr, nullptr}};
  platform::ComPtr<ID3DXBuffer> errors;  // compile messages are traced where they arise
  if (resourceId != 0) {
    D3DXCreateEffectFromResourceA(context->device.get(), Context::resourceModule,
                                  MAKEINTRESOURCEA(resourceId), macros, nullptr, 0, nullptr, effect.out(),
                                  errors.out());
  } else {
    D3DXCreateEffectFromFileA(context->device.get(), fileName.c_str(), macros, nullptr, 0, nullptr, effect.out(),
                              errors.out());
  }
  valid = false;
  technique = nullptr;
  // A source that gives no effect at all leaves the material invalid.
  if (effect && SUCCEEDED(effect->FindNextValidTechnique(nullptr, &technique))) {
    valid = SUCCEEDED(effect->ValidateTechnique(technique)) && technique != nullptr;
    if (Material* under = base()) under->createResources();
  }
}

void MaterialFX::setTechnique(const std::string& name) {
  technique = effect->GetTechniqueByName(name.c_str());
  effect->ValidateTechnique(technique);
}

bool MaterialFX::isTechnique(const std::string& name) {
  D3DXTECHNIQUE_DESC desc{};
  return effect && SUCCEEDED(effect->GetTechniqueDesc(technique, &desc)) && desc.Name == name;
}

uint32_t MaterialFX::beginPasses(uint32_t) {
  Context* context = Context::instance;
  if (Material* under = base()) {
    under->beginPasses(0);
    under->applyPass(0);
  } else if (context) {
    context->resetMaterial();
  }
  if (!valid || !context) return 0;
  effect->SetTechnique(technique);
  context->effectActive = true;
  for (const auto& [name, texture] : textureParameters) {
    if (D3DXHANDLE handle = effect->GetParameterByName(nullptr, name.c_str())) effect->SetTexture(handle, texture);
  }
  for (const auto& [name, value] : vectorParameters) {
    if (D3DXHANDLE handle = effect->GetParameterByName(nullptr, name.c_str())) effect->SetVector(handle, &value);
  }
  UINT passes = 0;
  effect->Begin(&passes, 0);
  passCount = passes;
  return passCount;
}

void MaterialFX::applyPass(uint32_t pass) { effect->Pass(pass); }

void MaterialFX::endPasses() {
  if (valid) effect->End();
  if (Context::instance) Context::instance->effectActive = false;
}

void MaterialFX::bindMatrices() {
  Context* context = Context::instance;
  if (!effect || !context) return;
  TransformCache& cache = context->transforms;
  struct Binding {
    const char* semantic;
    const matrix& (*value)(TransformCache&);
  };
  static const Binding kSemantics[] = {
      {"WORLD", [](TransformCache& c) -> const matrix& { return c.world; }},
      {"VIEW", [](TransformCache& c) -> const matrix& { return c.view; }},
      {"VIEWI", [](TransformCache& c) -> const matrix& { return c.getInverseView(); }},
      {"PROJECTION", [](TransformCache& c) -> const matrix& { return c.projection; }},
      {"WORLDVIEW", [](TransformCache& c) -> const matrix& { return c.getWorldView(); }},
      {"WORLDVIEWI", [](TransformCache& c) -> const matrix& { return c.getInverseWorldView(); }},
      {"WORLDVIEWPROJECTION", [](TransformCache& c) -> const matrix& { return c.getWorldViewProjection(); }},
  };
  for (const Binding& binding : kSemantics) {
    if (D3DXHANDLE handle = effect->GetParameterBySemantic(nullptr, binding.semantic)) {
      effect->SetMatrix(handle, &binding.value(cache));
    }
  }
}

bool MaterialFX::load(tsio::InStream& in) {
  in.readString(fileName);
  baseMaterial = tsio::readShared<Material>(in);
  return true;
}

void MaterialFX::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeString(fileName);
  out.writeObject(baseMaterial);
}

}  // namespace ts3d
