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
