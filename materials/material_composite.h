#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "materials/material.h"

namespace ts3d {

// A table of sub-materials for meshes of composite geometry: each child of such a mesh names a
// material id, and the table turns it into one of its sub-materials. It draws nothing itself:
// the pass operations go to the sub-material chosen last. Owns none of them: they stand in the
// scene's own list, which also updates them.
// Body of MTCP (version 2): uint32 count and that many objects (null allowed); uint32 id count
// and, per id in ascending order, uint32 id and uint32 index. Version 1 ends behind the objects.
class MaterialComposite : public Material {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("MTCP");
  static constexpr int32_t kVersion = 2;

  MaterialComposite() = default;
  ~MaterialComposite() override = default;
  MaterialComposite(const MaterialComposite&) = delete;
  MaterialComposite& operator=(const MaterialComposite&) = delete;

  void update(float) override {}
  int order() override;
  bool isComposite() override { return true; }
  // Selects subMaterials[index] (an index here, not an id) and begins its passes. No material
  // there: the device's material is reset and the one pass draws as a mesh without material.
  uint32_t beginPasses(uint32_t index) override;
  void applyPass(uint32_t pass) override;
  void endPasses() override;
  void prepare() override {}
  void createResources() override {}
  // The same for the sub-material of a material id; an id the table lacks selects nothing.
  virtual uint32_t beginPassesForId(uint32_t id);

  // The sub-material of the id (may be null), or this composite for an id the table lacks.
  Material* subMaterialForId(uint32_t id);

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  std::vector<Material*> subMaterials;      // not owned
  std::map<uint32_t, uint32_t> idToIndex;   // material id to index in subMaterials
  uint32_t currentIndex = 0;

 private:
  Material* selected() const;

  // Set while a call is forwarded: a file may make a sub-material (or an effect's base) lead
  // back here, and such a loop must end instead of recursing.
  bool forwarding = false;
};

}  // namespace ts3d
