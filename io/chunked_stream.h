#pragma once

#include <cstdint>
#include <map>
#include <stack>
#include <string>
#include <vector>

#include "io/stream_composite.h"

// The chunked object format. At each place where a store called writeObject the stream holds
// one object word: 0 for null, 0x80000000 | id for an object stored earlier, or a chunk:
// code (4 letters, first in the low byte), uint16 version, uint16 id, int32 body size, body.
// Ids count from 0 in the order objects are first written.
namespace tsio {

class OutStreamChunked : public OutStreamComposite {
 public:
  // Ids are 16 bits: a file holds at most this many objects.
  static constexpr int32_t kMaxObjects = 0x10000;

  OutStreamChunked(OutStream* wrapped, bool ownsWrapped) : OutStreamComposite(wrapped, ownsWrapped) {}

  void writeObject(Serializable* object) override;
  void beginChunk(uint32_t code, int32_t version) override;

 private:
  int32_t currentId = 0;  // id of the object being stored, for its beginChunk
  int32_t nextId = 0;
  std::map<Serializable*, uint16_t> objectIds;
  std::stack<int32_t> sizePositions;
  bool refusedObjects = false;
};

// Reads a graph of objects. The first readObject outside any load reads a whole graph. Damage
// that could crash, hang or exhaust memory (a body cut short or longer than its chunk, sizes
// past the bytes left, nesting beyond kMaxDepth, a load that calls fail) refuses the graph:
// one message names the fault, every object made for it is deleted and the result is null.
// Anything else the format allows loads: unknown chunks and references to nothing give null.
class InStreamChunked : public InStreamComposite {
 public:
  static constexpr size_t kMaxDepth = 256;
  // What readChunkHeader found at the read position.
  enum HeaderKind : int { kNullWord = 0, kChunk = 1, kReference = 2 };

  InStreamChunked(InStream* wrapped, bool ownsWrapped) : InStreamComposite(wrapped, ownsWrapped) {}

  Serializable* readObject() override;
  bool readObjectBody(Serializable* object) override;
  bool isGood() override { return failure.empty() && inner->isGood(); }
  bool isChunked() override { return true; }
  int32_t chunkCode() override { return headers.empty() ? 0 : headers.back().code; }
  int32_t chunkVersion() override { return headers.empty() ? 0 : headers.back().version; }
  int32_t chunkSize() override { return currentSize; }
  void fail(const std::string& reason) override;
  bool claim(Serializable* object) override;
  virtual int readChunkHeader();
  virtual void pushHeader();
  virtual void popHeader();

 private:
  struct Header {
    int32_t code;
    uint16_t version;
    uint16_t id;
    int32_t end;  // stream position behind the body
  };
  // What the stream knows of each object made for the graph being read.
  struct Made {
    bool loading;
    bool claimed;
  };

  Serializable* readNested();
  Serializable* readChunk();
  Serializable* finishGraph(Serializable* root);
  // Keeps the first fault only: later ones are mostly its consequences.
  void reject(const std::string& reason);
  // Where the body of the chunk being read must end: its parent's end, or the stream's.
  int32_t limit();

  std::map<uint16_t, Serializable*> objects;
  std::vector<Header> headers;
  uint16_t currentId = 0;
  int32_t currentSize = 0;
  std::map<Serializable*, Made> made;
  bool expectingBody = false;
  std::string failure;  // the first fault met; empty while all is well
};

}  // namespace tsio
