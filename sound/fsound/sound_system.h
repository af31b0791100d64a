#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "sound/fsound/fsound.h"
#include "sound/fsound/output.h"
#include "sound/stereo_stream.h"

// An open stream: its sound, and how its time relates to the output's frames.
struct FSOUND_STREAM {
  explicit FSOUND_STREAM(std::unique_ptr<tssound::Decoder> decoder) : sound(std::move(decoder)) {}

  tssound::StereoStream sound;
  int channel = -1;  // -1 while it doesn't play
  int pan = FSOUND_STEREOPAN;
  // Output frame `anchorFrame` carries the stream at `anchorSeconds`; `mixedFrames` of it
  // have been mixed since.
  double anchorSeconds = 0.0;
  uint64_t anchorFrame = 0, mixedFrames = 0;
};

namespace fsound {

// The streams and the output they play through, mixed block by block on a thread of its own.
// Every operation may be called from another thread; an unknown stream is refused.
class SoundSystem {
 public:
  SoundSystem(std::unique_ptr<Output> output, int channels);
  ~SoundSystem();
  SoundSystem(const SoundSystem&) = delete;
  SoundSystem& operator=(const SoundSystem&) = delete;

  FSOUND_STREAM* open(std::unique_ptr<tssound::Decoder> decoder);
  bool close(FSOUND_STREAM* stream);
  int play(int channel, FSOUND_STREAM* stream);
  bool stop(FSOUND_STREAM* stream);
  bool setTime(FSOUND_STREAM* stream, int milliseconds);
  int time(FSOUND_STREAM* stream);
  bool setPan(int channel, int pan);

 private:
  bool knows(const FSOUND_STREAM* stream) const;
  // The stream's time as far as the output has been heard.
  double secondsOf(const FSOUND_STREAM& stream);
  // Makes the stream's time `seconds` at the next frame mixed.
  void anchor(FSOUND_STREAM& stream, double seconds) const;
  void mixBlock();
  void run();

  std::unique_ptr<Output> output;
  const int channelCount;
  std::vector<std::unique_ptr<FSOUND_STREAM>> streams;
  uint64_t queuedFrames = 0;
  std::vector<int16_t> piece;
  std::vector<int32_t> sum;
  std::vector<int16_t> block;
  std::mutex lock;
  std::condition_variable wake;
  bool stopping = false;
  std::thread mixer;  // last: it starts once everything above is ready
};

}  // namespace fsound
