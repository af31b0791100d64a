#include "sound/fsound/output.h"

#include <algorithm>
#include "sound/stereo_stream.h"

namespace fsound {
namespace {

// Small, so that little is queued ahead of what the clock says was heard.
constexpr size_t kBlockFrames = tssound::StereoStream::kRate / 200;

class SilentOutput : public Output {
 public:
  size_t blockFrames() const override { return kBlockFrames; }
  bool wantsBlock() override { return queued < clock.frames() + kBlockFrames; }
  void queue(const int16_t*) override { queued += kBlockFrames; }
  uint64_t playedFrames() override { return std::min(clock.frames(), queued); }

 private:
  FrameClock clock;
  uint64_t queued = 0;
};

}  // namespace

uint64_t FrameClock::frames() const {
  const auto elapsed = std::chrono::steady_clock::now() - started;
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count()) *
         tssound::StereoStream::kRate / 1000000;
}

std::unique_ptr<Output> openSilentOutput() { return std::make_unique<SilentOutput>(); }

}  // namespace fsound
