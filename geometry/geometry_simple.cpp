#include "geometry/geometry_simple.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include "context/context.h"
#include "geometry/geometry_composite.h"
#include "gfxhelper/d3dx9math.h"

namespace ts3d {

namespace {

constexpr uint32_t kPositionBytes = 12;
constexpr uint32_t kNormalBytes = 12;
constexpr uint32_t kColorBytes = 16;
constexpr uint32_t kCoordinateBytes = 8;
constexpr uint32_t kFaceBytes = 6;
constexpr uint32_t kRecordBytes = 8;
// The arrays are read as their memory images: each item must be exactly its stored bytes.
static_assert(sizeof(vect3) == kPositionBytes && sizeof(vect3) == kNormalBytes, "a vector is three floats");
static_assert(sizeof(color) == kColorBytes, "a colour is four floats");
static_assert(sizeof(TextureCoordinate) == kCoordinateBytes, "a coordinate pair is two floats");
static_assert(sizeof(Face) == kFaceBytes, "a face is three 16-bit indices");
static_assert(sizeof(AuxiliaryRecord) == kRecordBytes, "a record is four 16-bit values");

void writeVect3(tsio::OutStream& out, const vect3& v) {
  out.writeFloat(v.x);
  out.writeFloat(v.y);
  out.writeFloat(v.z);
}

template <class T>
const T* itemAt(const std::vector<T>& values, size_t index) {
  return index < values.size() ? &values[index] : nullptr;
}

// Buffers are byte arrays without alignment: every element goes in by memcpy.
void put(uint8_t* destination, const void* source, size_t size) { std::memcpy(destination, source, size); }

void putVect3(uint8_t* destination, const vect3* value) {
  const float zero[3] = {0.0f, 0.0f, 0.0f};
  if (value)
    put(destination, &value->x, 12);
  else
    put(destination, zero, 12);
}

vect3 unit(const vect3& v) {
  vect3 result;
  D3DXVec3Normalize(&result, &v);
  return result;
}

uint32_t rawBits(float value) {
  uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

}  // namespace

GeometrySimple::GeometrySimple(bool dynamicVertexBuffer, bool dynamicIndexBuffer)
    : dynamicVertices(dynamicVertexBuffer), dynamicIndices(dynamicIndexBuffer) {}

GeometrySimple::~GeometrySimple() { releaseBuffers(); }

BoundingBox GeometrySimple::emptyBox() {
  BoundingBox empty;
  empty.minimum = vect3(FLT_MAX, FLT_MAX, FLT_MAX);
  empty.maximum = vect3(-FLT_MAX, -FLT_MAX, -FLT_MAX);
  return empty;
}

void GeometrySimple::releaseBuffers() {
  vertexBuffer.reset();
  indexBuffer.reset();
  layout = BufferLayout();
}

// ---- persistence ----------------------------------------------------------------------

bool GeometrySimple::load(tsio::InStream& in) {
  int32_t signedFlags = 0;
  in.readInt32(&signedFlags);
  if (!in.isGood()) return false;
  const uint32_t flags = static_cast<uint32_t>(signedFlags);
  const bool tangentSpace = (flags & kFlagTangentSpace) != 0;

  uint32_t vertexTotal = 0;
  uint32_t faceTotal = 0;
  if (flags & kFlagVertices) {
    uint32_t perVertex = 0;
    if (flags & kFlagPositions) perVertex += kPositionBytes;
    if (flags & kFlagNormals) perVertex += kNormalBytes;
    if (flags & kFlagColors) perVertex += kColorBytes;
    if (!in.readCount(&vertexTotal, perVertex)) return false;
  }
  if ((flags & kFlagFaces) && !in.readCount(&faceTotal, kFaceBytes)) return false;

  // Read into locals and take them over only when the whole body is sound.
  std::vector<vect3> newPositions, newNormals;
  std::vector<color> newColors;
  std::vector<TextureChannel> newChannels;
  std::vector<Face> newFaces;
  std::vector<AuxiliaryRecord> newRecords;

  if (flags & kFlagVertices) {
    if ((flags & kFlagPositions) && !in.readArray(newPositions, vertexTotal, "positions")) return false;
    if ((flags & kFlagNormals) && !in.readArray(newNormals, vertexTotal, "normals")) return false;
    if ((flags & kFlagColors) && !in.readArray(newColors, vertexTotal, "colours")) return false;
    if (flags & kFlagChannels) {
      uint32_t channelTotal = 0;
      in.readInt32(reinterpret_cast<int32_t*>(&channelTotal));
      // A vertex format holds at most `sets` coordinate sets: later channels are stepped over.
      const uint32_t sets = tangentSpace ? kMaxCoordinateSets - 2 : kMaxCoordinateSets;
      newChannels.resize(std::min(channelTotal, sets));
      for (TextureChannel& channel : newChannels)
        if (!in.readArray(channel.coordinates, vertexTotal, "texture coordinates")) return false;
      const uint64_t skipped = (channelTotal - newChannels.size()) * static_cast<uint64_t>(vertexTotal);
      if (skipped > static_cast<uint64_t>(in.remaining()) / kCoordinateBytes) {
        in.failf("%u texture channels of %u vertices, with %d bytes left", channelTotal, vertexTotal, in.remaining());
        return false;
      }
      in.skip(static_cast<int32_t>(skipped * kCoordinateBytes));
    }
  }
  if ((flags & kFlagFaces) && !in.readArray(newFaces, faceTotal, "faces")) return false;
  if (flags & kFlagAuxiliary) {
    uint32_t recordTotal = 0;
    if (!in.readCount(&recordTotal, kRecordBytes)) return false;
    if (!in.readArray(newRecords, recordTotal, "auxiliary records")) return false;
  }
  if (!in.isGood()) return false;

  const bool hasVertexData = (flags & kFlagVertices) != 0;
  if (hasVertexData) {
    if (flags & kFlagPositions) positions.swap(newPositions);
    if (flags & kFlagNormals) normals.swap(newNormals);
    if (flags & kFlagColors) colors.swap(newColors);
    if (flags & kFlagChannels) textureChannels.swap(newChannels);
  }
  if (flags & kFlagFaces) faces.swap(newFaces);
  if (flags & kFlagAuxiliary) auxiliaryRecords.swap(newRecords);
  dynamicVertices = (flags & kFlagDynamicVertices) != 0;
  dynamicIndices = (flags & kFlagDynamicIndices) != 0;
  hasTangentSpace = tangentSpace;
  boxValid = false;
  conformToVertices();
  return true;
}

void GeometrySimple::conformToVertices() {
  // The buffer writer and the tangent code index every per-vertex vector by vertex number, so
  // one of another length than positions is cut or padded with zeros, as store pads.
  const size_t vertices = positions.size();
  if (!normals.empty()) normals.resize(vertices, vect3(0.0f, 0.0f, 0.0f));
  if (!colors.empty()) colors.resize(vertices, color(0.0f, 0.0f, 0.0f, 0.0f));
  for (TextureChannel& channel : textureChannels) channel.coordinates.resize(vertices);
  // A face naming a vertex that doesn't exist would make the device read past the buffer:
  // such a geometry keeps its vertices and draws nothing.
  for (const Face& f : faces)
    for (uint16_t v : f.vertex)
      if (v >= vertices) {
        faces.clear();
        return;
      }
}

void GeometrySimple::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  storeBody(out);
}

void GeometrySimple::storeBody(tsio::OutStream& out) {
  uint32_t flags = 0;
  if (!positions.empty()) flags |= kFlagPositions;
  if (!normals.empty()) flags |= kFlagNormals;
  if (!textureChannels.empty()) flags |= kFlagChannels;
  if (!colors.empty()) flags |= kFlagColors;
  // Colours alone don't make vertex data: without positions they have no vertex count.
  if (flags & (kFlagPositions | kFlagNormals | kFlagChannels)) flags |= kFlagVertices;
  if (!faces.empty()) flags |= kFlagFaces | kFlagFaceList;
  if (!auxiliaryRecords.empty()) flags |= kFlagAuxiliary;
  if (dynamicVertices) flags |= kFlagDynamicVertices;
  if (dynamicIndices) flags |= kFlagDynamicIndices;
  if (hasTangentSpace) flags |= kFlagTangentSpace;

  out.writeInt32(static_cast<int32_t>(flags));
  const size_t vertices = positions.size();
  if (flags & kFlagVertices) out.writeInt32(static_cast<int32_t>(vertices));
  if (flags & kFlagFaces) out.writeInt32(static_cast<int32_t>(faces.size()));

  if (flags & kFlagVertices) {
    // The vertex count comes from positions; a shorter vector pads with zeros so the body
    // stays readable.
    const vect3 zero(0.0f, 0.0f, 0.0f);
    if (flags & kFlagPositions)
      for (const vect3& p : positions) writeVect3(out, p);
    if (flags & kFlagNormals)
      for (size_t i = 0; i < vertices; ++i) writeVect3(out, i < normals.size() ? normals[i] : zero);
    if (flags & kFlagColors) {
      for (size_t i = 0; i < vertices; ++i) {
        const color c = i < colors.size() ? colors[i] : color(0.0f, 0.0f, 0.0f, 0.0f);
        out.writeFloat(c.r);
        out.writeFloat(c.g);
        out.writeFloat(c.b);
        out.writeFloat(c.a);
      }
    }
    if (flags & kFlagChannels) {
      out.writeInt32(static_cast<int32_t>(textureChannels.size()));
      for (const TextureChannel& channel : textureChannels) {
        for (size_t i = 0; i < vertices; ++i) {
          const TextureCoordinate t = i < channel.coordinates.size() ? channel.coordinates[i] : TextureCoordinate();
          out.writeFloat(t.u);
          out.writeFloat(t.v);
        }
      }
    }
  }
  if (flags & kFlagFaces)
    for (const Face& f : faces)
      for (uint16_t v : f.vertex) out.writeUint16(v);
  if (flags & kFlagAuxiliary) {
    out.writeInt32(static_cast<int32_t>(auxiliaryRecords.size()));
    for (const AuxiliaryRecord& r : auxiliaryRecords)
      for (uint16_t v : r.values) out.writeUint16(v);
  }
}

// ---- vertex layout and device buffers -------------------------------------------------

void GeometrySimple::computeVertexFormat(uint32_t* fvf, uint32_t* stride) {
  uint32_t format = D3DFVF_XYZ;
  uint32_t bytes = 12;
  // Colour and normal never stand together: a coloured geometry is drawn unlit.
  if (!colors.empty()) {
    format |= D3DFVF_DIFFUSE;
    bytes += 4;
  } else if (!normals.empty()) {
    format |= D3DFVF_NORMAL;
    bytes += 12;
  }
  const uint32_t channels = static_cast<uint32_t>(textureChannels.size());
  bytes += 8 * channels;
  uint32_t sets = channels;
  if (hasTangentSpace) {
    // The macro doesn't parenthesise its argument: pass plain names.
    const uint32_t tangentSet = channels, binormalSet = channels + 1;
    format |= D3DFVF_TEXCOORDSIZE3(tangentSet) | D3DFVF_TEXCOORDSIZE3(binormalSet);
    bytes += 24;
    sets += 2;
  }
  format |= sets << D3DFVF_TEXCOUNT_SHIFT;
  *fvf = format;
  *stride = bytes;
}

void GeometrySimple::writeVertices(uint8_t* destination, uint32_t mask) const {
  for (uint32_t i = 0; i < layout.vertices; ++i) {
    uint8_t* p = destination + static_cast<size_t>(i) * vertexStride;
    if (mask & kUpdatePositions) putVect3(p, itemAt(positions, i));
    p += 12;
    if (layout.colors) {
      if (mask & kUpdateColors) {
        const color* c = itemAt(colors, i);
        const D3DCOLOR packed = c ? packColor(*c) : 0;
        put(p, &packed, 4);
      }
      p += 4;
    } else if (layout.normals) {
      if (mask & kUpdateNormals) putVect3(p, itemAt(normals, i));
      p += 12;
    }
    for (uint32_t c = 0; c < layout.channels; ++c) {
      const uint32_t bit = c < kMaxCoordinateSets ? kUpdateChannel0 << c : 0;
      if (mask & bit) {
        const TextureCoordinate* t = itemAt(textureChannels[c].coordinates, i);
        const TextureCoordinate value = t ? *t : TextureCoordinate();
        put(p, &value.u, 4);
        put(p + 4, &value.v, 4);
      }
      p += 8;
    }
    if (layout.tangentSpace) {
      putVect3(p, itemAt(tangents, i));
      putVect3(p + 12, itemAt(binormals, i));
    }
  }
}

void GeometrySimple::createResources() {
  releaseBuffers();
  computeVertexFormat(&vertexFormat, &vertexStride);
  if (hasTangentSpace) computeTangentSpace();
  layout.colors = !colors.empty();
  layout.normals = !normals.empty();
  layout.channels = static_cast<uint32_t>(textureChannels.size());
  layout.tangentSpace = hasTangentSpace;
  createBuffers(dynamicVertices, [this](uint8_t* vertices) { writeVertices(vertices, kUpdateVertices); });
}

void GeometrySimple::createBuffers(bool dynamicVertexBuffer, const std::function<void(uint8_t*)>& writeAll) {
  Context* context = Context::instance;
  if (!context) return;
  const uint64_t vertexBytes = static_cast<uint64_t>(positions.size()) * vertexStride;
  const uint64_t indexBytes = static_cast<uint64_t>(faces.size()) * kFaceBytes;
  // Beyond what one buffer can be asked for; nothing could draw it.
  if (vertexBytes > 0x7FFFFFFFu || indexBytes > 0x7FFFFFFFu) return;

  layout.vertices = static_cast<uint32_t>(positions.size());
  layout.faces = static_cast<uint32_t>(faces.size());
  layout.dynamicVertices = dynamicVertexBuffer;
  layout.dynamicIndices = dynamicIndices;

  vertexBuffer = context->createVertexBuffer(vertexFormat, vertexStride, layout.vertices, dynamicVertexBuffer);
  indexBuffer = context->createIndexBuffer(layout.faces * 3, dynamicIndices);

  void* data = nullptr;
  if (vertexBuffer && SUCCEEDED(vertexBuffer->Lock(0, 0, &data, 0)) && data) {
    writeAll(static_cast<uint8_t*>(data));
    vertexBuffer->Unlock();
  }
  data = nullptr;
  if (indexBuffer && SUCCEEDED(indexBuffer->Lock(0, 0, &data, 0)) && data) {
    std::memcpy(data, faces.data(), static_cast<size_t>(layout.faces) * kFaceBytes);
    indexBuffer->Unlock();
  }
}

bool GeometrySimple::rewritesWholeVertex(uint32_t mask) const {
  // A coordinate set beyond what a vertex format holds has no bit: no mask rewrites it.
  if (layout.channels > kMaxCoordinateSets) return false;
  uint32_t needed = kUpdatePositions | (layout.colors ? kUpdateColors : layout.normals ? kUpdateNormals : 0);
  needed |= (kUpdateChannel0 << layout.channels) - kUpdateChannel0;
  return (mask & needed) == needed;
}

void GeometrySimple::updateBuffers(uint32_t mask) {
  if ((mask & kUpdateVertices) && vertexBuffer) {
    // Departs from the plain lock when nothing of the old contents is kept: under Wine a plain
    // lock waits for the device thread, milliseconds a frame on a busy machine; discard doesn't.
    const bool discard = layout.dynamicVertices && rewritesWholeVertex(mask);
    void* data = nullptr;
    if (SUCCEEDED(vertexBuffer->Lock(0, 0, &data, discard ? D3DLOCK_DISCARD : 0)) && data) {
      writeVertices(static_cast<uint8_t*>(data), mask & kUpdateVertices);
      vertexBuffer->Unlock();
    }
    boxValid = false;
  }
  if ((mask & kUpdateIndices) && indexBuffer) {
    // Discarding is only allowed on a dynamic buffer; a static one is locked plainly.
    void* data = nullptr;
    if (SUCCEEDED(indexBuffer->Lock(0, 0, &data, layout.dynamicIndices ? D3DLOCK_DISCARD : 0)) && data) {
      const size_t count = faces.size() < layout.faces ? faces.size() : layout.faces;
      std::memcpy(data, faces.data(), count * kFaceBytes);
      indexBuffer->Unlock();
    }
  }
}

void GeometrySimple::draw() {
  Context* context = Context::instance;
  if (!context || !vertexBuffer || !indexBuffer) return;
  IDirect3DDevice9* device = context->device.get();

  // Coloured vertices carry no normals: lighting goes off for the draw and comes back after.
  const bool unlit = layout.colors;
  RenderStateBlock saved(0);
  if (unlit) {
    saved = context->renderState();
    saved.groupMask = RenderStateBlock::LightingGroup;
    RenderStateBlock off = saved;
    off.lighting = false;
    off.specularEnable = false;
    off.normalizeNormals = false;
    context->applyRenderState(off);
  }
  device->SetIndices(indexBuffer.get());
  context->useFvf(vertexFormat);
  device->SetStreamSource(0, vertexBuffer.get(), 0, vertexStride);
  device->DrawIndexedPrimitive(D3DPT_TRIANGLELIST, 0, 0, layout.vertices, 0, layout.faces);
  if (unlit) context->applyRenderState(saved);
}

// ---- bounds ---------------------------------------------------------------------------

BoundingSphere GeometrySimple::boundingSphere() {
  BoundingSphere sphere;
  if (positions.empty()) return sphere;
  vect3 sum(0.0f, 0.0f, 0.0f);
  for (const vect3& p : positions) sum += p;
  sphere.center = sum * (1.0f / static_cast<float>(positions.size()));
  float largest = 0.0f;
  for (const vect3& p : positions) {
    const vect3 d = p - sphere.center;
    const float squared = d.x * d.x + d.y * d.y + d.z * d.z;
    if (squared > largest) largest = squared;
  }
  sphere.radius = std::sqrt(largest) + 0.0001f;
  return sphere;
}

BoundingBox GeometrySimple::boundingBox() {
  if (!boxValid) {
    box = emptyBox();
    for (const vect3& p : positions) {
      box.minimum.x = std::fmin(box.minimum.x, p.x);
      box.minimum.y = std::fmin(box.minimum.y, p.y);
      box.minimum.z = std::fmin(box.minimum.z, p.z);
      box.maximum.x = std::fmax(box.maximum.x, p.x);
      box.maximum.y = std::fmax(box.maximum.y, p.y);
      box.maximum.z = std::fmax(box.maximum.z, p.z);
    }
    boxValid = true;
  }
  return box;
}

Plane GeometrySimple::plane() {
  Plane result;
  if (positions.empty() || normals.empty()) return result;
  const vect3& n = normals[0];
  const vect3& p = positions[0];
  result.a = n.x;
  result.b = n.y;
  result.c = n.z;
  result.d = p.x * n.x + p.y * n.y + p.z * n.z;
  return result;
}

// ---- changes to the vectors ------------------------------------------------------------

void GeometrySimple::transform(const matrix& m) {
  for (vect3& p : positions) D3DXVec3TransformCoord(&p, &p, &m);
  if (!normals.empty()) {
    // Normals go through the inverse transpose, without the translation. A singular matrix
    // has none; then the normals stay as they were.
    matrix inverse;
    if (D3DXMatrixInverse(&inverse, nullptr, &m)) {
      inverse._41 = inverse._42 = inverse._43 = 0.0f;
      matrix normalMatrix;
      D3DXMatrixTranspose(&normalMatrix, &inverse);
      for (vect3& n : normals) {
        D3DXVec3TransformCoord(&n, &n, &normalMatrix);
        n = unit(n);
      }
    }
  }
  boxValid = false;
}

void GeometrySimple::flipFaces() {
  for (Face& f : faces) {
    const uint16_t first = f.vertex[0];
    f.vertex[0] = f.vertex[1];
    f.vertex[1] = first;
  }
}

GeometryComposite* GeometrySimple::split(const std::vector<uint32_t>& faceGroups, uint32_t groupCount) {
  constexpr uint32_t kUnmapped = 0xffffffffu;
  const size_t grouped = faceGroups.size() < faces.size() ? faceGroups.size() : faces.size();
  // Faces may name any 16-bit number; the map covers them all, whatever the vectors hold.
  size_t mapSize = positions.size();
  for (size_t i = 0; i < grouped; ++i)
    for (uint16_t v : faces[i].vertex)
      if (v >= mapSize) mapSize = static_cast<size_t>(v) + 1;

  std::vector<Geometry*> children;
  children.reserve(groupCount);
  std::vector<uint32_t> map;
  std::vector<uint32_t> oldNumbers;  // the child's vertices, by their number here
  for (uint32_t g = 0; g < groupCount; ++g) {
    map.assign(mapSize, kUnmapped);
    oldNumbers.clear();
    std::vector<Face> childFaces;
    for (size_t i = 0; i < grouped; ++i) {
      if (faceGroups[i] != g) continue;
      Face renumbered;
      for (int corner = 0; corner < 3; ++corner) {
        const uint16_t old = faces[i].vertex[corner];
        if (map[old] == kUnmapped) {
          map[old] = static_cast<uint32_t>(oldNumbers.size());
          oldNumbers.push_back(old);
        }
        renumbered.vertex[corner] = static_cast<uint16_t>(map[old]);
      }
      childFaces.push_back(renumbered);
    }
    GeometrySimple* child = splitChild(oldNumbers);
    child->faces = std::move(childFaces);
    children.push_back(child);
  }
  return new GeometryComposite(std::move(children));
}

GeometrySimple* GeometrySimple::splitChild(const std::vector<uint32_t>& oldNumbers) const {
  auto* child = new GeometrySimple(dynamicVertices, dynamicIndices);
  copyVertices(*child, oldNumbers);
  return child;
}

void GeometrySimple::copyVertices(GeometrySimple& child, const std::vector<uint32_t>& oldNumbers) const {
  if (!positions.empty()) child.positions = gather(positions, oldNumbers);
  if (!normals.empty()) child.normals = gather(normals, oldNumbers);
  if (!colors.empty()) child.colors = gather(colors, oldNumbers);
  child.textureChannels.resize(textureChannels.size());
  for (size_t c = 0; c < textureChannels.size(); ++c)
    if (!textureChannels[c].coordinates.empty())
      child.textureChannels[c].coordinates = gather(textureChannels[c].coordinates, oldNumbers);
}

void GeometrySimple::weldPositions() {
  const size_t count = positions.size();
  std::vector<uint16_t> map(count);
  for (size_t i = 0; i < count; ++i) {
    map[i] = static_cast<uint16_t>(i);
    const uint32_t x = rawBits(positions[i].x), y = rawBits(positions[i].y), z = rawBits(positions[i].z);
    for (size_t j = 0; j < i; ++j) {
      if (rawBits(positions[j].x) == x && rawBits(positions[j].y) == y && rawBits(positions[j].z) == z) {
        map[i] = map[j];
        break;
      }
    }
  }
  weldedFaces.resize(faces.size());
  for (size_t f = 0; f < faces.size(); ++f)
    for (int k = 0; k < 3; ++k) {
      const uint16_t v = faces[f].vertex[k];
      weldedFaces[f].vertex[k] = v < count ? map[v] : v;
    }
}

void GeometrySimple::computeTangentSpace() {
  const size_t count = positions.size();
  tangents.assign(count, vect3(0.0f, 0.0f, 0.0f));
  binormals.assign(count, vect3(0.0f, 0.0f, 0.0f));
  // Needs normals and a first channel for every vertex; without them the two sets stay zero.
  if (normals.size() != count || textureChannels.empty() || textureChannels[0].coordinates.size() != count) return;
  const std::vector<TextureCoordinate>& uv = textureChannels[0].coordinates;

  for (const Face& f : faces) {
    const uint16_t i0 = f.vertex[0], i1 = f.vertex[1], i2 = f.vertex[2];
    if (i0 >= count || i1 >= count || i2 >= count) continue;
    const vect3 e1 = positions[i0] - positions[i1];
    const vect3 e2 = positions[i2] - positions[i1];
    const float ds1 = uv[i0].u - uv[i1].u, ds2 = uv[i2].u - uv[i1].u;
    const float dt1 = uv[i0].v - uv[i1].v, dt2 = uv[i2].v - uv[i1].v;
    const vect3 tangent = unit(e1 * dt2 - e2 * dt1);
    const vect3 binormal = unit(e1 * ds2 - e2 * ds1);
    for (uint16_t v : f.vertex) {
      tangents[v] += tangent;
      binormals[v] += binormal;
    }
  }
  for (size_t i = 0; i < count; ++i) {
    tangents[i] = unit(tangents[i]);
    binormals[i] = unit(binormals[i]);
    vect3 across;
    D3DXVec3Cross(&across, &tangents[i], &binormals[i]);
    const vect3& n = normals[i];
    // A mirrored mapping gives a left-handed frame: turn both so it agrees with the normal.
    if (across.x * n.x + across.y * n.y + across.z * n.z < 0.0f) {
      tangents[i] = -tangents[i];
      binormals[i] = -binormals[i];
    }
  }
}

}  // namespace ts3d
