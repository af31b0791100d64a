#pragma once

// What the decoders share: the reason one stopped, and the layouts every one of them gives.
#include <string>
#include <utility>

#include "sound/decode/decoder.h"

namespace tssound {

class DecoderBase : public Decoder {
 public:
  const std::string& error() const override { return error_; }

 protected:
  // Keeps the first reason: what follows a damage is only its consequence.
  size_t fail(std::string reason) {
    if (error_.empty()) error_ = std::move(reason);
    return 0;
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

}  // namespace tssound
