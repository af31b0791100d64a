#pragma once

#include <cstdint>
#include <vector>

#include "geometry/geometry_simple.h"

namespace ts3d {

// What binds one vertex to the skeleton: four palette numbers and the weights of the first
// three; the fourth weight is 1 minus the other three.
struct VertexWeight {
  uint8_t bones[4] = {0, 0, 0, 0};
  float weights[3] = {0.0f, 0.0f, 0.0f};
};

// The bind pose of a skinned mesh: a triangle list with one VertexWeight per vertex (or
// none). A skin reads it and draws its own output; drawn itself, it shows the bind pose.
//
// Body of "GOWT", version 1 (any version reads alike): the GeometrySimple body, then an
// int32 record count and per record four uint8 bone numbers and three float weights.
class GeometryWeighted : public GeometrySimple {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("GOWT");
  static constexpr int32_t kVersion = 1;
  // Position, three weights, four bone numbers in one UBYTE4 (bones[0] in the low byte),
  // normal, one coordinate pair: the layout that indexed vertex blending reads.
  static constexpr uint32_t kVertexFormat = D3DFVF_XYZB4 | D3DFVF_NORMAL | D3DFVF_TEX1 | D3DFVF_LASTBETA_UBYTE4;
  static constexpr uint32_t kVertexBytes = 48;

  GeometryWeighted() : GeometrySimple(false, false) {}

  // Refuses a record count beyond the bytes left. Records and vertices may differ in number:
  // the skin bounds itself by both.
  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;
  // Static buffers of the layout above; draw then works as for any triangle list.
  void createResources() override;

  std::vector<VertexWeight> vertexWeights;

 protected:
  GeometrySimple* splitChild(const std::vector<uint32_t>& oldNumbers) const override;

 private:
  void writeWeightedVertices(uint8_t* destination) const;
};

}  // namespace ts3d
