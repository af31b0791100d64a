#pragma once

#include <cstdint>

#include "geometry/geometry_simple.h"
#include "tests/controller/support.h"

namespace tstest {

// A chunk body: the file builder without the magic.
struct ByteWriter : FileBuilder {
  ByteWriter() { bytes.clear(); }
};

// A plain persistence file whose root is one chunk with the given body.
inline Bytes fileOf(const char* code, uint16_t version, const Bytes& body) {
  return FileBuilder().text(code).u16(version).u16(0).u32(static_cast<uint32_t>(body.size())).append(body).bytes;
}

inline ts3d::Face face(uint16_t a, uint16_t b, uint16_t c) {
  ts3d::Face f;
  f.vertex[0] = a;
  f.vertex[1] = b;
  f.vertex[2] = c;
  return f;
}

}  // namespace tstest
