#include "scene/atmospheric_billboard.h"

#include <algorithm>

#include "context/context.h"
#include "scene/transformation.h"

namespace ts3d {

void AtmosphericBillboard::update(float time) {
  for (BillboardElement& element : elements) element.update(time);
  centers.resize(elements.size());
  for (size_t i = 0; i < elements.size(); ++i) {
    const BillboardElement& element = elements[i];
    // An element without a place stands at the origin, one without a size is nothing.
    const matrix* place = element.transformation ? element.transformation->matrix() : nullptr;
    centers[i] = D3DXVECTOR4(place ? place->_41 : 0.0f, place ? place->_42 : 0.0f, place ? place->_43 : 0.0f,
                             element.sizeController ? element.sizeController->value : 0.0f);
  }
}

void AtmosphericBillboard::makeGeometry() {
  const auto count = static_cast<uint32_t>(std::min<size_t>(centers.size(), kMaxQuads));
  auto* geometry = new GeometrySimple(true, false);
  billboard->geometry.reset(geometry);
  geometry->positions.resize(4 * count);
  geometry->colors.assign(4 * count, color(1.0f, 1.0f, 1.0f, 1.0f));
  TextureChannel channel;
  for (uint32_t i = 0; i < count; ++i) {
    const auto v = static_cast<uint16_t>(4 * i);
    geometry->faces.push_back({{static_cast<uint16_t>(v + 1), static_cast<uint16_t>(v + 2), v}});
    geometry->faces.push_back(
        {{static_cast<uint16_t>(v + 1), static_cast<uint16_t>(v + 3), static_cast<uint16_t>(v + 2)}});
    channel.coordinates.insert(channel.coordinates.end(), {{0.0f, -1.0f}, {1.0f, -1.0f}, {0.0f, 0.0f}, {1.0f, 0.0f}});
  }
  geometry->textureChannels.push_back(std::move(channel));
  geometry->createResources();
}

void AtmosphericBillboard::enter(Camera* /*camera*/) {
  if (!billboard || centers.empty()) return;
  if (!billboard->geometry) makeGeometry();
  GeometrySimple& geometry = *billboard->geometry;
  // The view's turn alone: the quads lie in the camera's right and up axes.
  matrix turn = Context::instance->transforms.getInverseView();
  turn._41 = turn._42 = turn._43 = 0.0f;
  // The geometry keeps the count of its first drawing.
  const size_t count = std::min(centers.size(), geometry.positions.size() / 4);
  for (size_t i = 0; i < count; ++i) {
    const D3DXVECTOR4& center = centers[i];
    const float h = center.w * 0.5f;
    const vect3 corners[4] = {{-h, -h, 0.0f}, {h, -h, 0.0f}, {-h, h, 0.0f}, {h, h, 0.0f}};
    for (int corner = 0; corner < 4; ++corner) {
      vect3 turned;
      D3DXVec3TransformCoord(&turned, &corners[corner], &turn);
      geometry.positions[4 * i + corner] = turned + vect3(center.x, center.y, center.z);
    }
  }
  geometry.updateBuffers(GeometrySimple::kUpdatePositions);
  billboard->draw();
}

bool AtmosphericBillboard::load(tsio::InStream& in) {
  if (!in.acceptsVersion(kVersion, kVersion)) return false;
  delete billboard;
  billboard = tsio::readOwned<particle::Billboard>(in);
  elements.clear();
  uint32_t count = 0;
  if (!in.readCount(&count, 2 * tsio::InStream::kObjectFieldBytes)) return false;
  elements.reserve(count);
  for (uint32_t i = 0; i < count && in.isGood(); ++i) {
    elements.emplace_back();
    elements.back().load(in);
  }
  centers.assign(elements.size(), D3DXVECTOR4(0.0f, 0.0f, 0.0f, 0.0f));
  return in.isGood();
}

void AtmosphericBillboard::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeObject(billboard);
  out.writeInt32(static_cast<int32_t>(elements.size()));
  for (BillboardElement& element : elements) element.store(out);
}

}  // namespace ts3d
