#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "io/stream_composite.h"

namespace tsio {

// Reads an object stream stored as one bzip2 block: the whole block is read and unpacked in
// the constructor, from the source positioned behind the "IOBZ" magic, and every read then comes
// from memory. A block that can't be unpacked is reported once and gives a stream that isn't open.
class InStreamBzip2 : public InStreamComposite {
 public:
  // Beyond this an object stream is refused whatever its block says.
  static constexpr int32_t kMaxUnpackedSize = 1 << 30;

  InStreamBzip2(InStream* source, bool ownsSource);

 private:
  bool unpack(InStream& source);

  std::unique_ptr<char[]> buffer;
  int32_t bufferSize = 0;
};

// Collects the object stream in memory; its destructor compresses it as one bzip2 block and
// writes "IOBZ", the two lengths and the block to the target.
class OutStreamBzip2 : public OutStreamComposite {
 public:
  OutStreamBzip2(OutStream* destination, bool ownsDestination);
  ~OutStreamBzip2() override;

  bool isOpen() override { return target->isOpen(); }

 private:
  void pack();

  OutStream* target;
  bool ownsTarget;
};

}  // namespace tsio
