#include "geometry/geometry_weighted.h"

#include <cstring>

namespace ts3d {

namespace {

constexpr uint32_t kRecordBytes = 4 + 12;  // four bone numbers, three weights
// Records are read as their memory image.
static_assert(sizeof(VertexWeight) == kRecordBytes, "a record has no padding");

void put(uint8_t*& destination, const void* source, size_t size) {
  std::memcpy(destination, source, size);
  destination += size;
}

}  // namespace

bool GeometryWeighted::load(tsio::InStream& in) {
  if (!GeometrySimple::load(in)) return false;
  uint32_t count = 0;
  std::vector<VertexWeight> records;
  if (!in.readCount(&count, kRecordBytes) || !in.readArray(records, count, "vertex weights")) return false;
  vertexWeights.swap(records);
  return true;
}

void GeometryWeighted::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  storeBody(out);
  out.writeInt32(static_cast<int32_t>(vertexWeights.size()));
  for (const VertexWeight& record : vertexWeights) {
    for (uint8_t bone : record.bones) out.writeUint8(bone);
    for (float weight : record.weights) out.writeFloat(weight);
  }
}

void GeometryWeighted::createResources() {
  releaseBuffers();
  vertexFormat = kVertexFormat;
  vertexStride = kVertexBytes;
  createBuffers(false, [this](uint8_t* vertices) { writeWeightedVertices(vertices); });
}

void GeometryWeighted::writeWeightedVertices(uint8_t* destination) const {
  const vect3 zero(0.0f, 0.0f, 0.0f);
  const VertexWeight none;
  const TextureCoordinate origin;
  for (uint32_t i = 0; i < layout.vertices; ++i) {
    const VertexWeight& record = i < vertexWeights.size() ? vertexWeights[i] : none;
    const uint32_t packed = record.bones[0] | record.bones[1] << 8 | record.bones[2] << 16 |
                            static_cast<uint32_t>(record.bones[3]) << 24;
    const std::vector<TextureCoordinate>* channel = textureChannels.empty() ? nullptr : &textureChannels[0].coordinates;
    put(destination, &positions[i], 12);
    put(destination, record.weights, 12);
    put(destination, &packed, 4);
    put(destination, i < normals.size() ? &normals[i] : &zero, 12);
    put(destination, channel && i < channel->size() ? &(*channel)[i] : &origin, 8);
  }
}

GeometrySimple* GeometryWeighted::splitChild(const std::vector<uint32_t>& oldNumbers) const {
  auto* child = new GeometryWeighted;
  copyVertices(*child, oldNumbers);
  if (!vertexWeights.empty()) child->vertexWeights = gather(vertexWeights, oldNumbers);
  return child;
}

}  // namespace ts3d
