#include "sound/stereo_stream.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tssound {
namespace {

constexpr size_t kBlockFrames = 4096;

}  // namespace

StereoStream::StereoStream(std::unique_ptr<Decoder> decoder_)
    : decoder(std::move(decoder_)),
      step(static_cast<double>(decoder->rate()) / kRate),
      block(kBlockFrames * static_cast<size_t>(decoder->channels())) {}

bool StereoStream::pull(int16_t frame[2]) {
  if (blockUsed == blockFrames) {
    blockFrames = decoder->read(block.data(), kBlockFrames);
    blockUsed = 0;
    if (blockFrames == 0) return false;
  }
  const int channels = decoder->channels();
  const int16_t* source = block.data() + blockUsed++ * static_cast<size_t>(channels);
  frame[0] = source[0];
  frame[1] = source[channels > 1 ? 1 : 0];
  return true;
}

void StereoStream::advance() {
  if (!haveAfter) {
    atEnd = true;
    return;
  }
  std::copy(after, after + 2, before);
  ++index;
  haveAfter = pull(after);
  if (!haveAfter) std::copy(before, before + 2, after);
}

size_t StereoStream::read(int16_t* out, size_t frames) {
  if (!primed) {
    primed = true;
    atEnd = !pull(before);
    haveAfter = !atEnd && pull(after);
    if (!haveAfter) std::copy(before, before + 2, after);
  }
  size_t written = 0;
  for (; written < frames && !atEnd; ++written) {
    for (int side = 0; side < 2; ++side)
      out[written * 2 + side] =
          static_cast<int16_t>(std::lround(before[side] + (after[side] - before[side]) * fraction));
    for (fraction += step; fraction >= 1.0 && !atEnd; fraction -= 1.0) advance();
  }
  return written;
}

bool StereoStream::seek(double seconds) {
  const auto frame = static_cast<int64_t>(std::floor(seconds * decoder->rate()));
  if (frame < 0 || !decoder->seek(frame)) return false;
  start = frame;
  index = 0;
  fraction = 0.0;
  blockFrames = blockUsed = 0;
  primed = haveAfter = atEnd = false;
  return true;
}

double StereoStream::seconds() const { return (static_cast<double>(start + index) + fraction) / decoder->rate(); }

}  // namespace tssound
