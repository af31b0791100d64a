#pragma once

#include "scene/value_types.h"

namespace ts3d {

// A box centred on the origin of its own space, and the matrix that takes that
// space to the world.
struct OrientedBox {
  vect3 halfSize{0.0f, 0.0f, 0.0f};
  matrix toWorld{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

}  // namespace ts3d
