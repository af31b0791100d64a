#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "geometry/oriented_box.h"
#include "geometry/shadow_volume.h"
#include "io/serializable.h"
#include "scene/controller/animatable.h"
#include "scene/transformable.h"

namespace ts3d {

class Geometry;
class GeometryComposite;
class Material;
class MaterialComposite;
class Modifier;
class ModifierStack;
class RenderQueue;

// A visible object of a scene: a geometry drawn with a material at the place of its
// transformation (none: the identity), through the render queue or directly.
class Mesh : public Animatable, public tsio::Serializable, public Transformable {
 public:
  void update(float time) override = 0;
  virtual void setGeometry(Geometry* geometry) = 0;
  // The mesh's own geometry, before modifiers.
  virtual Geometry* geometry() = 0;
  virtual void setMaterial(Material* material) = 0;
  virtual Material* material() = 0;
  virtual void setCastsShadow(bool casts) = 0;
  virtual bool castsShadow() = 0;
  // The silhouette of a caster from a world-space light; its extrusion keeps its length
  // whatever the world matrix scales.
  virtual void updateShadow(const ShadowLight& light, bool directional) = 0;
  // The shadow volume's side walls at the mesh's place, under the caller's stencil states.
  virtual void drawShadow() = 0;
  virtual void prepare() = 0;
  virtual void createResources() = 0;
  virtual void enqueue(RenderQueue& queue) = 0;
  virtual void draw() = 0;
  virtual void setHidden(bool hidden) = 0;
  virtual bool hidden() = 0;
  // Set by a renderer around one pass; there is no getter.
  virtual void setExcluded(bool excluded) = 0;
  // The box of the last update.
  virtual const OrientedBox* orientedBox() = 0;
  ~Mesh() override = default;
};

// The engine's mesh. Owns its geometry and modifier stack; material and transformation
// belong to the scene. Body of MESM (version 2): int32 flags (0x1 geometry, 0x2 modifier stack),
// those objects, bool hidden, bool shadow caster (version 2 only), int32 count and that many
// int32 material ids, object material, object transformation.
class MeshSimple : public Mesh {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("MESM");
  static constexpr int32_t kVersion = 2;
  static constexpr int32_t kFlagGeometry = 0x1;
  static constexpr int32_t kFlagStack = 0x2;

  MeshSimple() = default;
  ~MeshSimple() override;
  MeshSimple(const MeshSimple&) = delete;
  MeshSimple& operator=(const MeshSimple&) = delete;

  void update(float time) override;
  void setGeometry(Geometry* geometry) override { meshGeometry = geometry; }
  Geometry* geometry() override { return meshGeometry; }
  void setMaterial(Material* material) override { meshMaterial = material; }
  Material* material() override { return meshMaterial; }
  void setCastsShadow(bool casts) override { shadowCaster = casts; }
  bool castsShadow() override { return shadowCaster; }
  void updateShadow(const ShadowLight& light, bool directional) override;
  // Needs a Context.
  void drawShadow() override;
  void prepare() override {}
  // Also makes a caster's shadow volume.
  void createResources() override;
  void enqueue(RenderQueue& queue) override;
  // Needs a Context.
  void draw() override;
  void setHidden(bool hidden) override { isHidden = hidden; }
  bool hidden() override { return isHidden; }
  void setExcluded(bool excludedNow) override { excluded = excludedNow; }
  const OrientedBox* orientedBox() override { return &box; }

  void setGeometryAndGroups(Geometry* geometry, const std::vector<uint32_t>& ids);
  // Takes the modifier (owned from then on) when there is a geometry to modify.
  bool addModifier(Modifier* modifier);

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  // What is drawn: the stack's output, or the mesh's own geometry.
  Geometry* currentGeometry() const;
  // The transformation's matrix, or the identity.
  const matrix* worldMatrix();

  std::vector<uint32_t> materialIds;  // sub-material ids of a composite geometry's children
  Material* meshMaterial = nullptr;
  Geometry* meshGeometry = nullptr;
  ModifierStack* modifierStack = nullptr;
  bool shadowCaster = false;
  std::unique_ptr<ShadowVolume> shadowVolume;  // a caster's, from createResources
  bool excluded = false;  // not stored
  bool isHidden = false;
  OrientedBox box;

 private:
  // The material and the current geometry where each is a composite, else null: with both,
  // each child is drawn with its own sub-material.
  struct CompositePair {
    MaterialComposite* table;
    GeometryComposite* parts;
  };
  CompositePair compositePair(Geometry* current) const;
};

}  // namespace ts3d
