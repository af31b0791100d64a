#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// A walk over the chunks of an object stream that needs no class: it reads the chunk headers
// and finds nested chunks and reference words inside bodies by their shape alone.
//
// A body is opaque, so what counts as nested is decided by shape:
// - a chunk: four code letters [A-Za-z0-9_], a version below 256, the id that the next object
//   must have (ids count up in the order objects are first written) and a size that keeps it
//   inside its parent; at any byte of the body, since strings leave bodies unaligned;
// - a reference: a word 0x8000iiii at a 4-byte step from the start of the body, from the end of
//   the last nested chunk or from the end of a string (two or more printable characters and a
//   0 byte), naming an object already met.
// Everything else is the class's own data. The walk is linear in the size of the stream, keeps
// at most one entry per object and a stack of at most kMaxDepth open chunks.
namespace tstool {

// The reader's own limit on nesting, so that what passes here also passes there.
constexpr size_t kMaxDepth = 256;
// Object ids are 16 bits.
constexpr uint32_t kMaxObjects = 0x10000;

struct Chunk {
  int64_t offset;  // of the header, shown with the walk's base added
  size_t depth;    // 1 for the root
  uint32_t code;
  uint16_t version;
  uint16_t id;
  int32_t size;  // of the body
};

struct Reference {
  int64_t offset;
  size_t depth;  // of the chunk whose body holds the word
  uint16_t id;
  uint32_t targetCode;
  int64_t targetOffset;
};

class TreeVisitor {
 public:
  virtual void chunk(const Chunk&) {}
  virtual void reference(const Reference&) {}
  virtual ~TreeVisitor() = default;
};

struct WalkResult {
  bool ok = false;
  bool nullRoot = false;
  size_t chunks = 0;
  size_t references = 0;
  size_t depth = 0;  // deepest nesting met
  // The first fault, when ok is false: where (with the base added) and what.
  int64_t faultOffset = 0;
  std::string fault;
};

// Walks size bytes of an object stream; every offset that it reports is base plus the position
// in data (4 for an uncompressed file gives file offsets). The visitor may be null.
WalkResult walkObjectStream(const uint8_t* data, size_t size, int64_t base, TreeVisitor* visitor);

// The four letters of a code in reading order; bytes that aren't printable as \xNN.
std::string codeText(uint32_t code);

}  // namespace tstool
