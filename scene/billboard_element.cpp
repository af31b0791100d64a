#include "scene/billboard_element.h"

#include <utility>

#include "io/serializable.h"
#include "scene/transformation.h"

namespace ts3d {

BillboardElement::BillboardElement(BillboardElement&& other) noexcept
    : transformation(other.transformation), sizeController(std::exchange(other.sizeController, nullptr)) {
  controllers = std::move(other.controllers);
  other.controllers.clear();
}

bool BillboardElement::load(tsio::InStream& in) {
  transformation = tsio::readShared<Transformation>(in);
  loadController(in, sizeController);
  return in.isGood();
}

void BillboardElement::store(tsio::OutStream& out) {
  out.writeObject(transformation);
  out.writeObject(sizeController);
}

}  // namespace ts3d
