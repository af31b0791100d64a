#include "geometry/modifier_skin.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "geometry/geometry_composite.h"
#include "geometry/geometry_weighted.h"
#include "scene/controller/values.h"
#include "scene/hierarchy_node.h"

namespace ts3d {

namespace {

constexpr uint32_t kMatrixBytes = 64;
const matrix kIdentity(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);

// One row of a matrix in one SIMD register: x, y, z and w of a transformed point side by side.
using Row = float __attribute__((vector_size(16)));

Row rowOf(const matrix& m, int row) {
  Row value;
  std::memcpy(&value, m.m[row], sizeof value);
  return value;
}

// What D3DXVec3TransformCoord gives; the division by w only for a palette that needs it.
template <bool kProjective>
Row transformed(const vect3& p, const matrix& m) {
  const Row t = p.x * rowOf(m, 0) + p.y * rowOf(m, 1) + p.z * rowOf(m, 2) + rowOf(m, 3);
  if constexpr (kProjective) return t / t[3];
  return t;
}

bool isAffine(const matrix& m) { return m._14 == 0.0f && m._24 == 0.0f && m._34 == 0.0f && m._44 == 1.0f; }

// Every vertex over all four of its bones, zero weights included: skipping them would only add
// a branch to the common case of four weighted bones. palette holds kMaxBones entries, so no
// 8-bit bone number reaches past it.
template <bool kProjective>
void blendPositions(const vect3* in, const VertexWeight* records, vect3* out, size_t count, const matrix* palette) {
  for (size_t i = 0; i < count; ++i) {
    const vect3& p = in[i];
    const VertexWeight& r = records[i];
    const float rest = 1.0f - r.weights[0] - r.weights[1] - r.weights[2];
    const Row sum = transformed<kProjective>(p, palette[r.bones[0]]) * r.weights[0] +
                    transformed<kProjective>(p, palette[r.bones[1]]) * r.weights[1] +
                    transformed<kProjective>(p, palette[r.bones[2]]) * r.weights[2];
    const Row blended = sum + transformed<kProjective>(p, palette[r.bones[3]]) * rest;
    out[i] = vect3(blended[0], blended[1], blended[2]);
  }
}

// A normal follows its first bone alone, whatever that bone's weight.
template <bool kProjective>
void turnNormals(const vect3* in, const VertexWeight* records, vect3* out, size_t count, const matrix* palette) {
  for (size_t i = 0; i < count; ++i) {
    const Row t = transformed<kProjective>(in[i], palette[records[i].bones[0]]);
    const vect3 turned(t[0], t[1], t[2]);
    D3DXVec3Normalize(&out[i], &turned);
  }
}

}  // namespace

bool ModifierSkin::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  uint32_t count = 0;
  if (!in.readCount(&count, tsio::InStream::kObjectFieldBytes + kMatrixBytes)) return false;
  std::vector<HierarchyNode*> nodes;
  nodes.reserve(count);
  for (uint32_t i = 0; i < count && in.isGood(); ++i) nodes.push_back(tsio::readShared<HierarchyNode>(in));
  std::vector<matrix> offsets(count);
  for (matrix& offset : offsets) controller::readValue(in, offset);
  matrix reference;
  controller::readValue(in, reference);
  if (!in.isGood()) return false;
  bones.swap(nodes);
  boneOffsets.swap(offsets);
  referenceMatrix = reference;
  return true;
}

void ModifierSkin::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeInt32(static_cast<int32_t>(bones.size()));
  for (HierarchyNode* bone : bones) out.writeObject(bone);
  for (size_t i = 0; i < bones.size(); ++i)
    controller::writeValue(out, i < boneOffsets.size() ? boneOffsets[i] : kIdentity);
  controller::writeValue(out, referenceMatrix);
}

Geometry* ModifierSkin::createOutput(Geometry* input) {
  if (auto* composite = dynamic_cast<GeometryComposite*>(input)) {
    std::vector<Geometry*> children;
    children.reserve(composite->children.size());
    for (Geometry* child : composite->children) children.push_back(child ? createOutput(child) : nullptr);
    return new GeometryComposite(std::move(children));
  }
  auto* output = new GeometrySimple(true, false);
  if (const auto* simple = dynamic_cast<const GeometrySimple*>(input)) {
    output->positions = simple->positions;
    output->normals = simple->normals;
    output->colors = simple->colors;
    output->textureChannels = simple->textureChannels;
    output->faces = simple->faces;
  }
  return output;
}

void ModifierSkin::buildPalettes() {
  matrix inverse;
  // A reference without an inverse would send every vertex to infinity: it counts as the identity.
  if (!D3DXMatrixInverse(&inverse, nullptr, &referenceMatrix)) inverse = kIdentity;
  // Bone numbers beyond the bones (a damaged file) name the identity: that share stays in the bind pose.
  palette.assign(kMaxBones, kIdentity);
  normalPalette.assign(kMaxBones, kIdentity);
  const size_t used = std::min(bones.size(), kMaxBones);
  for (size_t i = 0; i < used; ++i) {
    const matrix& offset = i < boneOffsets.size() ? boneOffsets[i] : kIdentity;
    matrix posed;
    D3DXMatrixMultiply(&posed, &offset, bones[i] ? bones[i]->matrix() : &kIdentity);
    D3DXMatrixMultiply(&palette[i], &posed, &inverse);
    // A bone scaled flat has no inverse: its normals keep their bind-pose direction.
    matrix undone;
    if (!D3DXMatrixInverse(&undone, nullptr, &palette[i])) continue;
    undone._41 = undone._42 = undone._43 = 0.0f;
    D3DXMatrixTranspose(&normalPalette[i], &undone);
  }
  paletteProjective = !std::all_of(palette.begin(), palette.end(), isAffine);
  normalsProjective = !std::all_of(normalPalette.begin(), normalPalette.end(), isAffine);
}

void ModifierSkin::apply(Geometry* output, Geometry* input) {
  auto* compositeOut = dynamic_cast<GeometryComposite*>(output);
  if (auto* compositeIn = dynamic_cast<GeometryComposite*>(input); compositeIn && compositeOut) {
    // Children that a damaged file doesn't pair up are left as they are.
    const size_t pairs = std::min(compositeIn->children.size(), compositeOut->children.size());
    for (size_t i = 0; i < pairs; ++i) apply(compositeOut->children[i], compositeIn->children[i]);
    return;
  }
  const auto* weighted = dynamic_cast<const GeometryWeighted*>(input);
  auto* target = dynamic_cast<GeometrySimple*>(output);
  // A skin on geometry without weights (a damaged file) leaves its output in the bind pose.
  if (!weighted || !target) return;
  buildPalettes();

  // Records and vertices may differ in number in a damaged file: vertices without a record
  // stay where they are.
  const size_t vertices =
      std::min({weighted->positions.size(), weighted->vertexWeights.size(), target->positions.size()});
  const VertexWeight* records = weighted->vertexWeights.data();
  if (paletteProjective)
    blendPositions<true>(weighted->positions.data(), records, target->positions.data(), vertices, palette.data());
  else
    blendPositions<false>(weighted->positions.data(), records, target->positions.data(), vertices, palette.data());
  const size_t normals = std::min({vertices, weighted->normals.size(), target->normals.size()});
  if (normalsProjective)
    turnNormals<true>(weighted->normals.data(), records, target->normals.data(), normals, normalPalette.data());
  else
    turnNormals<false>(weighted->normals.data(), records, target->normals.data(), normals, normalPalette.data());
  // The whole vertex rather than positions and normals alone, so that the dynamic buffer is
  // discarded instead of locked in place: a few ns a vertex more for the unchanged elements,
  // no wait for Wine's device thread.
  target->updateBuffers(GeometrySimple::kUpdateVertices);
  target->boxValid = false;  // the box follows the vectors, whether or not there are device buffers
}

}  // namespace ts3d
