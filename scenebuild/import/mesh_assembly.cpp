#include "scenebuild/import/mesh_assembly.h"

namespace tsimport {

namespace {

constexpr uint32_t kNone = UINT32_MAX;

bool check(const Primitive& primitive, std::string& error) {
  const size_t count = primitive.positions.size();
  if (primitive.indices.size() % 3 != 0) {
    error = std::to_string(primitive.indices.size()) + " indices do not make whole triangles";
    return false;
  }
  for (uint32_t index : primitive.indices)
    if (index >= count) {
      error = "index " + std::to_string(index) + " past the " + std::to_string(count) + " vertices";
      return false;
    }
  const size_t sizes[] = {primitive.normals.size(), primitive.texCoords.size(), primitive.colors.size()};
  for (size_t size : sizes)
    if (size != 0 && size != count) {
      error = "a vertex attribute has " + std::to_string(size) + " values for " + std::to_string(count) + " vertices";
      return false;
    }
  return true;
}

ts3d::vect3 faceNormal(const ts3d::vect3& a, const ts3d::vect3& b, const ts3d::vect3& c) {
  ts3d::vect3 ab = b - a, ac = c - a, normal;
  D3DXVec3Cross(&normal, &ab, &ac);
  const float length = D3DXVec3Length(&normal);
  return length > 0.0f ? normal / length : ts3d::vect3(0, 1, 0);
}

// Copies vertex `source` of the primitive into the part, with the flat normal when it has none.
void copyVertex(const Primitive& primitive, uint32_t source, const ts3d::vect3& flatNormal, MeshPart& part) {
  part.positions.push_back(primitive.positions[source]);
  part.normals.push_back(primitive.normals.empty() ? flatNormal : primitive.normals[source]);
  if (!primitive.texCoords.empty()) part.texCoords.push_back(primitive.texCoords[source]);
  if (!primitive.colors.empty()) part.colors.push_back(primitive.colors[source]);
  part.sourceVertices.push_back(source);
}

}  // namespace

bool addPrimitive(const Primitive& primitive, Mesh& mesh, std::string& error) {
  if (!check(primitive, error)) return false;
  // Flat normals need a vertex per corner; shared vertices keep one each.
  const bool flat = primitive.normals.empty();
  std::vector<uint32_t> partVertex(flat ? 0 : primitive.positions.size(), kNone);
  std::vector<uint32_t> used;  // the sources entered in partVertex for the current part
  MeshPart* part = nullptr;
  for (size_t t = 0; t < primitive.indices.size(); t += 3) {
    const uint32_t* corners = &primitive.indices[t];
    uint32_t fresh = 3;
    if (!flat) fresh = (partVertex[corners[0]] == kNone) + (partVertex[corners[1]] == kNone) + (partVertex[corners[2]] == kNone);
    if (!part || part->positions.size() + fresh > kMaxPartVertices) {
      mesh.parts.emplace_back();
      part = &mesh.parts.back();
      part->material = primitive.material;
      part->sourcePrimitive = primitive.sourcePrimitive;
      for (uint32_t source : used) partVertex[source] = kNone;
      used.clear();
    }
    const ts3d::vect3 normal =
        flat ? faceNormal(primitive.positions[corners[0]], primitive.positions[corners[1]], primitive.positions[corners[2]])
             : ts3d::vect3(0, 0, 0);
    for (int c = 0; c < 3; ++c) {
      const uint32_t source = corners[c];
      if (flat || partVertex[source] == kNone) {
        if (!flat) {
          partVertex[source] = static_cast<uint32_t>(part->positions.size());
          used.push_back(source);
        }
        part->indices.push_back(static_cast<uint16_t>(part->positions.size()));
        copyVertex(primitive, source, normal, *part);
      } else {
        part->indices.push_back(static_cast<uint16_t>(partVertex[source]));
      }
    }
  }
  return true;
}

}  // namespace tsimport
