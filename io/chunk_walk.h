#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "io/chunk_format.h"

// A walk over an object stream by the format's description of each body (chunk_format.h):
// every field is read where the class's load reads it, every body must end exactly where its
// chunk does. Unknown codes and versions that a class doesn't read are stepped over by their
// size, as the reader does. Stricter than the reader in one way only: ids must count up and
// references name an object stored before them, as every writer makes them.
namespace tsio::layout {

// The reader's limits, so that what passes here also passes there.
constexpr size_t kMaxDepth = 256;      // chunks inside chunks
constexpr uint32_t kMaxTreeDepth = 256;  // levels of a scene's tree of nodes
constexpr size_t kHeaderBytes = 12;

struct ChunkHeader {
  int64_t offset;  // of the header, with the walk's base added
  size_t depth;    // 1 for the root
  uint32_t code;
  uint16_t version;
  uint16_t id;
  int32_t size;                // of the body
  const ChunkFormat* format;   // null for a code the format doesn't know
};

// What an object field holds.
struct ObjectWord {
  enum class Form : uint8_t { Null, Reference, Chunk } form;
  uint16_t id = 0;             // Reference: the id named
  uint32_t targetCode = 0;     // Reference: the code of that object; 0 when it lies inside a skipped chunk
  int64_t targetOffset = 0;
};

class WalkVisitor {
 public:
  virtual void chunk(const ChunkHeader&) {}
  // A body stepped over whole: its code is unknown, or its class doesn't read its version.
  virtual void skipped(const ChunkHeader&) {}
  // After the body, walked or skipped.
  virtual void chunkEnd(const ChunkHeader&) {}
  // A field of a fixed size, a string (with its 0 byte) or raw bytes, as they stand in the data.
  // path names the field inside its chunk's body: "positions[2]", "render states.blending.srcBlend".
  virtual void value(int64_t, const std::string& /*path*/, const Field&, const uint8_t* /*bytes*/, size_t) {}
  // For a nested chunk, the chunk's own events follow.
  virtual void object(int64_t, const std::string& /*path*/, const ObjectWord&) {}
  virtual void arrayBegin(int64_t, const std::string& /*path*/, uint32_t /*count*/) {}
  virtual void element(uint32_t /*index*/) {}
  virtual void arrayEnd() {}
  virtual ~WalkVisitor() = default;
};

struct WalkResult {
  bool ok = false;
  bool nullRoot = false;
  uint32_t rootCode = 0;
  size_t chunks = 0;
  size_t references = 0;
  size_t skipped = 0;  // bodies stepped over: unknown codes and unread versions
  size_t depth = 0;    // deepest nesting met
  // The first fault, when ok is false: where (with the base added) and what, with the field read.
  int64_t faultOffset = 0;
  std::string fault;
};

// Walks size bytes of an object stream; every offset reported is base plus the position in
// data (4 for an uncompressed file gives file offsets). The visitor may be null.
WalkResult walkObjectStream(const uint8_t* data, size_t size, int64_t base, WalkVisitor* visitor);

// An integer field (or bool, or count) as load widens it.
int64_t integerAt(Kind kind, const uint8_t* bytes);

// The four letters of a code in reading order; bytes that aren't printable as \xNN.
std::string codeText(uint32_t code);

}  // namespace tsio::layout
