#include "scene/transformable.h"

#include "io/serializable.h"
#include "scene/transformation.h"

namespace ts3d {

Transformable::~Transformable() {
  if (ownsTransformation) delete transformation;
}

void Transformable::loadTransformation(tsio::InStream& in) {
  Transformation* loaded = tsio::readShared<Transformation>(in);
  if (ownsTransformation) delete transformation;
  ownsTransformation = false;
  transformation = loaded;
  auto* fixed = dynamic_cast<TransformationPRS*>(loaded);
  if (fixed && !fixed->hasOwner && in.adopt(fixed)) {
    fixed->hasOwner = true;
    ownsTransformation = true;
  }
}

}  // namespace ts3d
