#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>
#include <map>
#include <string>

#include "geometry/modifier.h"
#include "gfxhelper/d3dx9effect.h"
#include "materials/material.h"
#include "platform/com_ptr.h"

namespace ts3d {

// The programmable material: an effect with a current technique, named parameters and an
// optional base material that prepares the fixed-function state under it. Its source is an
// effect file, or an effect held as a resource of this module.
// Body of MTFX (version 1, any version read alike): the file name, NUL-terminated; object
// baseMaterial (may be null). Parameters and technique stay out of the file: a loaded effect
// material runs its first valid technique with the effect's own defaults.
class MaterialFX : public Material {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("MTFX");
  static constexpr int32_t kVersion = 1;

  MaterialFX() = default;
  ~MaterialFX() override = default;
  MaterialFX(const MaterialFX&) = delete;
  MaterialFX& operator=(const MaterialFX&) = delete;

  // No base; call createResources, then check isValid.
  static MaterialFX* createFromResource(uint32_t resourceId);

  void update(float time) override;
  int order() override { return 1; }
  bool isComposite() override { return false; }
  // Applies the base (or resets the device), then begins the technique with the parameters
  // of the maps. 0 passes when not valid: the caller draws nothing.
  uint32_t beginPasses(uint32_t subIndex) override;
  void applyPass(uint32_t pass) override;
  void endPasses() override;
  void prepare() override;
  // Compiles the effect and takes its first technique valid on this device. Needs a Context.
  void createResources() override;
  virtual bool isValid() { return valid; }

  // The effect must know the name: callers use their own fixed sources.
  void setTechnique(const std::string& name);
  bool isTechnique(const std::string& name);
  // Values take effect at the next beginPasses; names the effect lacks are kept and skipped.
  IDirect3DBaseTexture9*& setTextureParameter(const std::string& name) { return textureParameters[name]; }
  D3DXVECTOR4& setVectorParameter(const std::string& name) { return vectorParameters[name]; }
  // The matrices of the semantics table, from the Context's transform cache, into the effect.
  void bindMatrices();

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  std::map<std::string, IDirect3DBaseTexture9*> textureParameters;  // not owned
  std::map<std::string, D3DXVECTOR4> vectorParameters;
  platform::ComPtr<ID3DXEffect> effect;
  D3DXHANDLE technique = nullptr;
  uint32_t passCount = 0;
  uint32_t resourceId = 0;
  std::string fileName;
  Material* baseMaterial = nullptr;  // not owned
  bool valid = false;

 private:
  // The base, unless following bases from it comes back here: a file may chain effect
  // materials into a loop, which would recurse without end. Such a material runs baseless.
  Material* base();
};

// Feeds the matrices of each drawn object to an effect material; sits in the modifier stack
// of the objects drawn with it. Made in code only: it never reaches a file.
class MaterialFXModifier : public Modifier {
 public:
  explicit MaterialFXModifier(MaterialFX* target) : material(target) {}

  void update(float) override {}
  bool modifiesGeometry() override { return false; }
  bool needsRenderSetup() override { return true; }
  bool canHandle(Geometry*) override { return true; }
  Geometry* createOutput(Geometry* input) override { return input; }
  void apply(Geometry*, Geometry*) override {}
  void setupRender() override { material->bindMatrices(); }
  bool load(tsio::InStream&) override { return false; }
  void store(tsio::OutStream&) override {}

  MaterialFX* material;  // not owned
};

}  // namespace ts3d
