#pragma once

#include <cstdint>
#include <map>

#include "io/serializable.h"
#include "io/stream.h"

// The registry: one global table from chunk code to the factory of its class, filled by static
// ChunkRegistrer objects at start-up, before any file is read:
//   tsio::ChunkRegistrer<MyClass> registrer(tsio::fourCC("MYCL"));
// A static library drops object files that nothing names, registrers included: each library
// keeps its registrers in one file that its programs link whole (see register.cpp).
namespace tsio {

class CRSerializable {
 public:
  explicit CRSerializable(uint32_t chunkCode) : code(chunkCode) {}
  virtual Serializable* create(InStream& in) = 0;
  virtual ~CRSerializable() = default;

  const uint32_t code;
};

void registerChunk(CRSerializable* registrer, uint32_t code);
CRSerializable* findChunk(uint32_t code);
void unregisterChunk(uint32_t code);

// The table itself, null while no code is registered.
const std::map<uint32_t, CRSerializable*>* chunkRegistry();

template <class T>
class ChunkRegistrer : public CRSerializable {
 public:
  explicit ChunkRegistrer(uint32_t chunkCode) : CRSerializable(chunkCode) { registerChunk(this, code); }
  ~ChunkRegistrer() override { unregisterChunk(code); }
  ChunkRegistrer(const ChunkRegistrer&) = delete;
  ChunkRegistrer& operator=(const ChunkRegistrer&) = delete;

  // A new T with its body read; the result of its load doesn't matter here.
  Serializable* create(InStream& in) override {
    Serializable* object = new T;
    in.readObjectBody(object);
    return object;
  }
};

}  // namespace tsio
