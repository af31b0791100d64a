// One decoder (TS_FUZZ_OPEN: openWav, openOgg or openMp3) on any bytes: refused with a reason,
// or a layout that plays, reads that never give more than asked and end for good, no seek before
// the start.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "sound/decode/mp3.h"
#include "sound/decode/ogg.h"
#include "sound/decode/wav.h"

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

constexpr size_t kBlockFrames = 1024;

// Reads to the end; the frames read.
int64_t drain(tssound::Decoder* decoder, std::vector<int16_t>* block) {
  int64_t total = 0;
  while (size_t frames = decoder->read(block->data(), kBlockFrames)) {
    check(frames <= kBlockFrames);
    total += static_cast<int64_t>(frames);
  }
  return total;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string error;
  const auto decoder = tssound::TS_FUZZ_OPEN(std::vector<uint8_t>(data, data + size), &error);
  if (!decoder) {
    check(!error.empty());
    return 0;
  }
  check(decoder->channels() >= 1 && decoder->channels() <= 2 && decoder->rate() >= 1 && decoder->lengthFrames() >= -1);
  std::vector<int16_t> block(kBlockFrames * static_cast<size_t>(decoder->channels()));
  const int64_t frames = drain(decoder.get(), &block);
  check(decoder->read(block.data(), kBlockFrames) == 0);
  check(!decoder->seek(-1));
  // From another start a damaged lossy stream may decode to another length: only the reads' bounds hold.
  if (decoder->seek(frames / 2)) drain(decoder.get(), &block);
  return 0;
}
