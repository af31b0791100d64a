#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "sound/decode/decoder.h"

namespace tssound {

// A decoder's sound as the output hears it: 44,100 stereo frames a second. A single channel
// goes to both sides, channels beyond two are dropped, and another rate is converted by
// straight lines between neighbouring frames. Decodes a block at a time, as it is read.
class StereoStream {
 public:
  static constexpr int kRate = 44100;

  explicit StereoStream(std::unique_ptr<Decoder> decoder);

  // Up to `frames` frames, two samples each, into out; fewer only where the sound ends.
  size_t read(int16_t* out, size_t frames);
  // Goes to the sound's frame at `seconds`; false, and nothing moved, past its end.
  bool seek(double seconds);
  // Where the next frame read lies in the sound, in seconds.
  double seconds() const;

 private:
  // The next frame of the sound, as left and right, into `frame`; false at its end.
  bool pull(int16_t frame[2]);
  // Moves `before` on by one source frame; past the last one the sound has ended.
  void advance();

  std::unique_ptr<Decoder> decoder;
  const double step;  // source frames per output frame
  std::vector<int16_t> block;
  size_t blockFrames = 0, blockUsed = 0;
  // The next output frame lies between the source frames `before`, number start + index, and
  // `after`, at `fraction`. After the last source frame `after` repeats `before`.
  int16_t before[2] = {0, 0}, after[2] = {0, 0};
  int64_t start = 0, index = 0;
  double fraction = 0.0;
  bool primed = false, haveAfter = false, atEnd = false;
};

}  // namespace tssound
