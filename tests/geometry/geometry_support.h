#pragma once

#include <cstdint>

#include "geometry/geometry_simple.h"
#include "tests/controller/support.h"

namespace tstest {

inline ts3d::Face face(uint16_t a, uint16_t b, uint16_t c) {
  ts3d::Face f;
  f.vertex[0] = a;
  f.vertex[1] = b;
  f.vertex[2] = c;
  return f;
}

}  // namespace tstest
