#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "scene/value_types.h"

namespace ts3d {

class Geometry;
class GeometrySimple;

// One edge of a closed surface: its two vertices and the faces on either side.
struct ShadowEdge {
  static constexpr uint16_t kNoFace = 0xffff;

  uint16_t vertex0 = 0, vertex1 = 0;
  uint16_t face0 = kNoFace, face1 = kNoFace;
};

// A light as a volume sees it: where it stands and the extrusion, whose length is how far the
// silhouette is pulled away from it.
struct ShadowLight {
  vect3 position{0.0f, 0.0f, 0.0f};
  vect3 vector{0.0f, 0.0f, 0.0f};
};

// The stencil shadow of one mesh: the surface's edges are found once, its silhouette as seen
// from a light on each update, and draw pulls that silhouette away from the light into side
// walls (no caps) for the shadow renderer to count in the stencil buffer. Works on the
// geometry's weldedFaces, so a seam of texture coordinates or normals doesn't open the
// surface. A composite geometry is merged into one owned copy, unless it is modified, which
// this volume can't follow: then it does nothing.
class ShadowVolume {
 public:
  ShadowVolume(Geometry* followed, bool hasModifiers);
  ~ShadowVolume();
  ShadowVolume(const ShadowVolume&) = delete;
  ShadowVolume& operator=(const ShadowVolume&) = delete;

  // Welds the positions and finds the edges; once per createResources.
  void build();
  // Face normals and centres again, for positions that moved.
  void refresh();
  // The silhouette: edges between a face turned to the light and one turned away, and open
  // edges of faces turned to it. A directional light only changes the facing test.
  void update(const ShadowLight& light, bool directional);
  // The side walls of the silhouette through the Context's dynamic rings; sets no render state.
  void draw();

  Geometry* geometry;  // the merged copy, when there is one, is held by `merged`
  bool directional = false;
  ShadowLight light;
  std::vector<ShadowEdge> edges;
  std::vector<vect3> faceNormals;
  std::vector<vect3> faceCenters;
  std::vector<uint32_t> faceAway;  // 1 when the face points away from the light
  std::vector<uint32_t> silhouette;       // numbers of edges
  std::vector<uint32_t> silhouetteKinds;  // per silhouette entry: 2 when face0 is the one turned away, else 1

 private:
  // The triangle list followed, or null when there is none the volume can work on.
  GeometrySimple* surface() const;

  std::unique_ptr<GeometrySimple> merged;
  uint32_t vertexSpan = 0;  // one past the highest vertex number of the welded faces
};

}  // namespace ts3d
