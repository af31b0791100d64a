#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "geometry/geometry_simple.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

namespace tstest {

using Bytes = std::vector<uint8_t>;

// Little-endian bytes written value by value, for files shaped by hand.
struct ByteWriter {
  Bytes bytes;
  ByteWriter& u8(uint8_t v) {
    bytes.push_back(v);
    return *this;
  }
  ByteWriter& u16(uint16_t v) { return u8(static_cast<uint8_t>(v)).u8(static_cast<uint8_t>(v >> 8)); }
  ByteWriter& u32(uint32_t v) { return u16(static_cast<uint16_t>(v)).u16(static_cast<uint16_t>(v >> 16)); }
  ByteWriter& f32(float v) {
    uint32_t bits = 0;
    std::memcpy(&bits, &v, 4);
    return u32(bits);
  }
  ByteWriter& text(const char* letters) {
    for (const char* c = letters; *c; ++c) u8(static_cast<uint8_t>(*c));
    return *this;
  }
  ByteWriter& append(const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return *this;
  }
};

// A plain persistence file whose root is one chunk with the given body.
inline Bytes fileOf(const char* code, uint16_t version, const Bytes& body) {
  ByteWriter w;
  w.text("NONE").text(code).u16(version).u16(0).u32(static_cast<uint32_t>(body.size())).append(body);
  return w.bytes;
}

// The outcome of reading a file: the root (owned here) and the boxes a user would see.
struct ReadOutcome {
  std::unique_ptr<tsio::Serializable> root;
  std::vector<std::string> boxes;

  ts3d::GeometrySimple* geometry() const { return as<ts3d::GeometrySimple>(); }
  template <class T>
  T* as() const {
    return dynamic_cast<T*>(root.get());
  }
};

inline ReadOutcome readFile(const Bytes& file) {
  RecordingTracer tracer;
  ReadOutcome outcome;
  outcome.root.reset(loadFromBytes(file));
  outcome.boxes = tracer.texts('b');
  return outcome;
}

inline Bytes storeFile(tsio::Serializable& root) {
  RecordingTracer tracer;
  return storeToBytes(&root, 0);
}

inline ts3d::Face face(uint16_t a, uint16_t b, uint16_t c) {
  ts3d::Face f;
  f.vertex[0] = a;
  f.vertex[1] = b;
  f.vertex[2] = c;
  return f;
}

}  // namespace tstest
