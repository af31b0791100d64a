#include "geometry/shadow_volume.h"

#include <algorithm>
#include <unordered_map>

#include "context/context.h"
#include "geometry/geometry_composite.h"
#include "geometry/geometry_simple.h"
#include "io/trace.h"

namespace ts3d {

namespace {

constexpr D3DCOLOR kWallColor = 0xff808080;
// Four vertices an edge: the dynamic ring holds the walls of this many, and their vertex
// numbers just reach the end of the 16-bit range.
constexpr uint32_t kMaxSilhouetteEdges = Context::VertexRing::kBytes / (4 * sizeof(LineVertex));
static_assert(kMaxSilhouetteEdges * 4 == 0x10000, "walls fill the ring and the index range together");

// The two triangles of an edge's wall, from its first vertex: the silhouette edge a, b, then a
// and b pulled away. The kinds wind opposite ways, so every wall faces out of the volume.
constexpr uint16_t kWallAwayFirst[6] = {0, 1, 2, 1, 3, 2};
constexpr uint16_t kWallFacingFirst[6] = {1, 0, 3, 0, 2, 3};

// One key per unordered pair of vertices.
uint32_t edgeKey(uint16_t a, uint16_t b) { return static_cast<uint32_t>(std::min(a, b)) << 16 | std::max(a, b); }

}  // namespace

ShadowVolume::ShadowVolume(Geometry* followed, bool hasModifiers) : geometry(followed) {
  if (!geometry || !geometry->isComposite()) return;
  traceBoxIf(hasModifiers, "ShadowVolume Generation only operates on NON-multimaterial object skinned objects.");
  if (hasModifiers) return;
  merged.reset(static_cast<GeometryComposite*>(geometry)->merged());
  geometry = merged.get();
}

ShadowVolume::~ShadowVolume() = default;

GeometrySimple* ShadowVolume::surface() const {
  return geometry && !geometry->isComposite() ? dynamic_cast<GeometrySimple*>(geometry) : nullptr;
}

void ShadowVolume::build() {
  edges.clear();
  vertexSpan = 0;
  GeometrySimple* simple = surface();
  if (!simple) return;
  simple->weldPositions();
  const std::vector<Face>& faces = simple->weldedFaces;
  // Edges name their faces in 16 bits, 0xffff meaning none: a larger surface casts nothing.
  if (faces.size() >= ShadowEdge::kNoFace) return refresh();
  // Each pair of vertices has one edge, made by the first face that has that side; the map
  // finds it in constant time where a search of the list would make the build quadratic.
  std::unordered_map<uint32_t, uint32_t> edgeOf;
  edgeOf.reserve(faces.size() * 2);
  for (size_t f = 0; f < faces.size(); ++f) {
    for (int side = 0; side < 3; ++side) {
      const uint16_t a = faces[f].vertex[side], b = faces[f].vertex[(side + 1) % 3];
      vertexSpan = std::max<uint32_t>(vertexSpan, std::max(a, b) + 1u);
      const auto [place, isNew] = edgeOf.try_emplace(edgeKey(a, b), static_cast<uint32_t>(edges.size()));
      if (isNew) edges.push_back(ShadowEdge{a, b, ShadowEdge::kNoFace, ShadowEdge::kNoFace});
      ShadowEdge& edge = edges[place->second];
      // A third face on one edge isn't recorded.
      if (edge.face0 == ShadowEdge::kNoFace)
        edge.face0 = static_cast<uint16_t>(f);
      else if (edge.face1 == ShadowEdge::kNoFace)
        edge.face1 = static_cast<uint16_t>(f);
    }
  }
  refresh();
}

void ShadowVolume::refresh() {
  faceNormals.clear();
  faceCenters.clear();
  faceAway.clear();
  const GeometrySimple* simple = surface();
  // Positions that don't reach every welded vertex (an output that shrank) cast nothing.
  if (!simple || edges.empty() || simple->positions.size() < vertexSpan) return;
  const std::vector<Face>& faces = simple->weldedFaces;
  const std::vector<vect3>& positions = simple->positions;
  faceNormals.resize(faces.size());
  faceCenters.resize(faces.size());
  for (size_t f = 0; f < faces.size(); ++f) {
    const vect3& a = positions[faces[f].vertex[0]];
    const vect3 e1 = positions[faces[f].vertex[1]] - a, e2 = positions[faces[f].vertex[2]] - a;
    D3DXVec3Cross(&faceNormals[f], &e1, &e2);
    D3DXVec3Normalize(&faceNormals[f], &faceNormals[f]);
    // The middle of the side from the second corner to the third, not the centroid.
    faceCenters[f] = a + e1 * 0.5f + e2 * 0.5f;
  }
  faceAway.assign(faces.size(), 0);
}

void ShadowVolume::update(const ShadowLight& seen, bool isDirectional) {
  light = seen;
  directional = isDirectional;
  silhouette.clear();
  silhouetteKinds.clear();
  const size_t faceCount = faceAway.size();
  const vect3* normals = faceNormals.data();
  const vect3* centers = faceCenters.data();
  uint32_t* away = faceAway.data();
  if (directional) {
    for (size_t f = 0; f < faceCount; ++f) away[f] = D3DXVec3Dot(&normals[f], &light.vector) > 0.0f;
  } else {
    for (size_t f = 0; f < faceCount; ++f) {
      const vect3 toFace = centers[f] - light.position;
      away[f] = D3DXVec3Dot(&normals[f], &toFace) > 0.0f;
    }
  }
  if (faceCount == 0) return;
  const auto edgeCount = static_cast<uint32_t>(edges.size());
  for (uint32_t e = 0; e < edgeCount; ++e) {
    const ShadowEdge& edge = edges[e];
    const uint32_t first = away[edge.face0];
    // An open edge counts where its one face looks at the light.
    const uint32_t second = edge.face1 == ShadowEdge::kNoFace ? 1u : away[edge.face1];
    if (first == second) continue;
    silhouette.push_back(e);
    silhouetteKinds.push_back(first * 2 + second);
  }
}

void ShadowVolume::draw() {
  const auto count = static_cast<uint32_t>(silhouette.size());
  const GeometrySimple* simple = surface();
  Context* context = Context::instance;
  // Beyond what the ring holds the walls would leave the volume open: it casts nothing then.
  if (count == 0 || count > kMaxSilhouetteEdges || !simple || !context || simple->positions.size() < vertexSpan)
    return;
  const std::vector<vect3>& positions = simple->positions;
  const float length = D3DXVec3Length(&light.vector);
  auto* vertices = static_cast<LineVertex*>(context->lockDynamicVertices(LineVertex::kFvf, sizeof(LineVertex), 4 * count));
  if (!vertices) return;
  const auto pulled = [&](const vect3& point) {
    vect3 away = point - light.position;
    D3DXVec3Normalize(&away, &away);
    return point + away * length;
  };
  for (uint32_t e : silhouette) {
    const vect3& a = positions[edges[e].vertex0];
    const vect3& b = positions[edges[e].vertex1];
    for (const vect3& corner : {a, b, pulled(a), pulled(b)}) *vertices++ = {corner.x, corner.y, corner.z, kWallColor};
  }
  context->unlockDynamicVertices();
  uint16_t* indices = context->lockDynamicIndices(6 * count);
  if (!indices) return;
  for (uint32_t i = 0; i < count; ++i) {
    const uint16_t* wall = silhouetteKinds[i] == 2 ? kWallAwayFirst : kWallFacingFirst;
    for (int k = 0; k < 6; ++k) *indices++ = static_cast<uint16_t>(4 * i + wall[k]);
  }
  context->unlockDynamicIndices();
  context->drawDynamicIndexed(D3DPT_TRIANGLELIST, 0, 2 * count);
}

}  // namespace ts3d
