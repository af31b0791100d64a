// The bzip2 reader on what follows an "IOBZ" magic: any input gives a stream that is open or
// not, never a crash or an allocation beyond what the block could unpack to. Every input is
// also packed by the writer and must unpack to itself.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "io/persistence.h"
#include "io/stream_bzip2.h"
#include "io/stream_memory.h"
#include "tests/fuzz/silent_tracer.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static tsfuzz::SilentTracer silent;
  trace::setTracer(&silent);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto* source = new tsio::InStreamMemory;
  source->setRange(data, static_cast<int32_t>(size));
  {
    tsio::InStreamBzip2 in(source, true);
    if (in.isOpen()) {
      std::vector<uint8_t> unpacked(static_cast<size_t>(in.size()));
      in.readBytes(unpacked.data(), static_cast<uint32_t>(unpacked.size()));
      if (!in.isGood()) std::abort();
    }
  }

  if (size == 0) return 0;  // nothing to pack: the format has no empty block
  tsio::OutStreamMemory packed;
  {
    tsio::OutStreamBzip2 out(&packed, false);
    out.writeBytes(data, static_cast<uint32_t>(size));
  }
  auto* block = new tsio::InStreamMemory;
  block->setRange(packed.bytes().data(), static_cast<int32_t>(packed.bytes().size()));
  uint32_t magic = 0;
  block->readUint32(&magic);
  tsio::InStreamBzip2 in(block, true);
  if (magic != tsio::kMagicBzip2 || !in.isOpen() || in.size() != static_cast<int32_t>(size)) std::abort();
  std::vector<uint8_t> unpacked(size);
  in.readBytes(unpacked.data(), static_cast<uint32_t>(size));
  if (std::memcmp(unpacked.data(), data, size) != 0) std::abort();
  return 0;
}
