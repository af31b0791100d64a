#pragma once

#include <cstdint>
#include <vector>

#include "geometry/modifier.h"
#include "scene/value_types.h"

namespace ts3d {

class HierarchyNode;

// Makes a mesh follow a skeleton. Each frame apply blends every vertex of a GeometryWeighted
// over four bones into an output triangle list, on the processor, and sends it to the output's
// dynamic vertex buffer: no bone limit but the 256 that a record's numbers can name.
//
// Body of "MDSK", version 1: int32 bone count; that many objects, the bone nodes; that many
// offset matrices; the reference matrix (matrices as 16 floats).
class ModifierSkin : public Modifier {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("MDSK");
  static constexpr int32_t kVersion = 1;
  // What a record's 8-bit bone numbers can name.
  static constexpr size_t kMaxBones = 256;

  ModifierSkin() = default;
  ModifierSkin(const ModifierSkin&) = delete;
  ModifierSkin& operator=(const ModifierSkin&) = delete;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  // The bones are nodes of the scene, which moves them itself.
  void update(float) override {}
  bool modifiesGeometry() override { return true; }
  bool needsRenderSetup() override { return false; }
  bool canHandle(Geometry* geometry) override { return geometry && !geometry->isComposite(); }
  // A triangle list with a dynamic vertex buffer and copies of the input's vertices and faces
  // (a composite of such for a composite input). Weights don't reach it.
  Geometry* createOutput(Geometry* input) override;
  // Positions blended over their four bones, normals turned by their first bone alone.
  void apply(Geometry* output, Geometry* input) override;
  void setupRender() override {}

  std::vector<HierarchyNode*> bones;  // nodes of the scene: they must outlive the skin
  std::vector<matrix> boneOffsets;    // one per bone
  matrix referenceMatrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

 private:
  // Bone offset, then the bone's world matrix, then the inverted reference, for every bone;
  // the normals' inverse transposes beside them.
  void buildPalettes();

  // Kept between frames so that apply allocates nothing; always kMaxBones entries, so that
  // any bone number of a record names one.
  std::vector<matrix> palette;
  std::vector<matrix> normalPalette;
  bool paletteProjective = false;  // some entry divides by w, as a general 4x4 matrix may
  bool normalsProjective = false;
};

}  // namespace ts3d
