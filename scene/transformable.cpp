#include "scene/transformable.h"

#include "io/serializable.h"
#include "scene/transformation.h"

namespace ts3d {

void Transformable::loadTransformation(tsio::InStream& in) { transformation = tsio::readShared<Transformation>(in); }

}  // namespace ts3d
