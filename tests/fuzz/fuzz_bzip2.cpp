// The bzip2 reader on what follows an "IOBZ" magic: any input gives a stream that is open or
// not, never a crash or an allocation beyond what the block could unpack to.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "io/stream_bzip2.h"
#include "io/stream_memory.h"
#include "tests/support/recording_tracer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const tstest::RecordingTracer quiet;  // every message formatted, none shown
  auto* source = new tsio::InStreamMemory;
  source->setRange(data, static_cast<int32_t>(size));
  tsio::InStreamBzip2 in(source, true);
  if (in.isOpen()) {
    std::vector<uint8_t> unpacked(static_cast<size_t>(in.size()));
    in.readBytes(unpacked.data(), static_cast<uint32_t>(unpacked.size()));
    if (!in.isGood()) std::abort();
  }
  return 0;
}
