#pragma once

#include <cstdint>
#include <vector>

#include "scene/atmospheric.h"
#include "scene/billboard_element.h"
#include "scene/particle_billboard.h"

namespace ts3d {

// Square quads that face the camera, one per element, at the element's place with its size as
// their side, drawn after the meshes. Body of ATBL (version 1): object billboard, int32 element
// count, then each element's body.
class AtmosphericBillboard : public Atmospheric {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("ATBL");
  static constexpr int32_t kVersion = 1;
  // Four vertices each under 16-bit indices.
  static constexpr uint32_t kMaxQuads = 0x10000 / 4;

  AtmosphericBillboard() = default;
  ~AtmosphericBillboard() override { delete billboard; }
  AtmosphericBillboard(const AtmosphericBillboard&) = delete;
  AtmosphericBillboard& operator=(const AtmosphericBillboard&) = delete;

  // The elements, then each centre from its transformation's matrix and its size.
  void update(float time) override;
  // Needs a Context: the quads turned to the current view, then drawn.
  void enter(Camera* camera) override;
  void leave() override {}

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  std::vector<BillboardElement> elements;
  std::vector<D3DXVECTOR4> centers;  // x, y, z and size; one per element
  particle::Billboard* billboard = nullptr;  // owned

 private:
  // The quads' faces, texture coordinates and colours, for the elements of this moment.
  void makeGeometry();
};

}  // namespace ts3d
