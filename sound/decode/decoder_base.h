#pragma once

// What the decoders share: the reason one stopped, and the layouts every one of them gives.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sound/decode/decoder.h"

namespace tssound {

class DecoderBase : public Decoder {
 public:
  const std::string& error() const override { return error_; }

 protected:
  // Keeps the first reason: what follows a damage is only its consequence.
  bool fail(std::string reason) {
    if (error_.empty()) error_ = std::move(reason);
    return false;
  }

 private:
  std::string error_;
};

// Mono and stereo only: the mixer places a sound by its pan, never by more speakers.
constexpr long kMaxChannels = 2;
// Any rate a file may carry up to eight times the mixer's: beyond it is a damaged field.
constexpr long kMaxRate = 8 * 48000;

// Empty when the layout is one we play, else why not.
inline std::string layoutProblem(long channels, long rate) {
  if (channels < 1 || channels > kMaxChannels) return std::to_string(channels) + " channels (only mono and stereo play)";
  if (rate < 1 || rate > kMaxRate) return "a rate of " + std::to_string(rate) + " frames a second";
  return {};
}

// A decoder over a library that decodes a block at a time into a layout fixed at opening.
class BlockDecoder : public DecoderBase {
 public:
  int channels() const override { return channels_; }
  int rate() const override { return static_cast<int>(rate_); }
  int64_t lengthFrames() const override { return length_; }

  size_t read(int16_t* out, size_t frames) final {
    size_t done = 0;
    for (bool more = error().empty(); more && done < frames;) {
      size_t got = 0;
      more = decodeSome(out + done * static_cast<size_t>(channels_), frames - done, &got);
      done += got;
    }
    return done;
  }

 protected:
  // Up to `frames` frames into out, their count in *got; false at the end or on damage (after fail).
  virtual bool decodeSome(int16_t* out, size_t frames, size_t* got) = 0;
  size_t frameBytes() const { return static_cast<size_t>(channels_) * sizeof(int16_t); }
  // A frame that a seek may go to: the end included, anywhere when the length isn't known.
  bool inSound(int64_t frame) const { return frame >= 0 && (length_ < 0 || frame <= length_); }

  int channels_ = 0;
  long rate_ = 0;
  int64_t length_ = -1;
};

// Opens D, whose open() gives an empty string or why its bytes don't play.
template <class D>
std::unique_ptr<Decoder> openAs(const char* format, std::vector<uint8_t> bytes, std::string* error) {
  auto decoder = std::make_unique<D>(std::move(bytes));
  const std::string problem = decoder->open();
  if (problem.empty()) return decoder;
  *error = std::string(format) + ": " + problem;
  return nullptr;
}

}  // namespace tssound
