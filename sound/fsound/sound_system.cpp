#include "sound/fsound/sound_system.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace fsound {
namespace {

// How often the mixer looks for room in the output.
constexpr std::chrono::milliseconds kMixPeriod(2);
constexpr int kPanRight = 255;
constexpr double kRate = tssound::StereoStream::kRate;

// The gains of the left and right side for a pan of 0 (left) to 255 (right), or both sides whole.
constexpr int32_t kWhole = 256;

void panGains(int pan, int32_t& left, int32_t& right) {
  left = right = kWhole;
  if (pan == FSOUND_STEREOPAN) return;
  left = std::min(kWhole, (kPanRight - pan) * 2 * kWhole / kPanRight);
  right = std::min(kWhole, pan * 2 * kWhole / kPanRight);
}

}  // namespace

SoundSystem::SoundSystem(std::unique_ptr<Output> output_, int channels)
    : output(std::move(output_)),
      channelCount(channels),
      piece(output->blockFrames() * 2),
      sum(output->blockFrames() * 2),
      block(output->blockFrames() * 2),
      mixer([this] { run(); }) {}

SoundSystem::~SoundSystem() {
  {
    std::lock_guard<std::mutex> guard(lock);
    stopping = true;
  }
  wake.notify_one();
  mixer.join();
}

bool SoundSystem::knows(const FSOUND_STREAM* stream) const {
  return stream && std::any_of(streams.begin(), streams.end(), [&](const auto& s) { return s.get() == stream; });
}

FSOUND_STREAM* SoundSystem::open(std::unique_ptr<tssound::Decoder> decoder) {
  std::lock_guard<std::mutex> guard(lock);
  streams.push_back(std::make_unique<FSOUND_STREAM>(std::move(decoder)));
  return streams.back().get();
}

bool SoundSystem::close(FSOUND_STREAM* stream) {
  std::lock_guard<std::mutex> guard(lock);
  const auto found = std::find_if(streams.begin(), streams.end(), [&](const auto& s) { return s.get() == stream; });
  if (found == streams.end()) return false;
  streams.erase(found);
  return true;
}

void SoundSystem::anchor(FSOUND_STREAM& stream, double seconds) const {
  stream.anchorSeconds = seconds;
  stream.anchorFrame = queuedFrames;
  stream.mixedFrames = 0;
}

int SoundSystem::play(int channel, FSOUND_STREAM* stream) {
  std::lock_guard<std::mutex> guard(lock);
  if (!knows(stream)) return -1;
  if (stream->channel >= 0) return stream->channel;
  const auto taken = [&](int c) {
    return std::any_of(streams.begin(), streams.end(), [&](const auto& s) { return s->channel == c; });
  };
  if (channel == FSOUND_FREE)
    for (channel = 0; channel < channelCount && taken(channel); ++channel) {
    }
  if (channel < 0 || channel >= channelCount || taken(channel)) return -1;
  stream->channel = channel;
  anchor(*stream, stream->sound.seconds());
  return channel;
}

bool SoundSystem::stop(FSOUND_STREAM* stream) {
  std::lock_guard<std::mutex> guard(lock);
  if (!knows(stream)) return false;
  if (stream->channel < 0) return true;
  // What was mixed but not yet heard is dropped: the stream goes on from what was heard.
  const double heard = secondsOf(*stream);
  stream->sound.seek(heard);
  anchor(*stream, heard);
  stream->channel = -1;
  return true;
}

bool SoundSystem::setTime(FSOUND_STREAM* stream, int milliseconds) {
  std::lock_guard<std::mutex> guard(lock);
  const double seconds = milliseconds / 1000.0;
  if (!knows(stream) || milliseconds < 0 || !stream->sound.seek(seconds)) return false;
  anchor(*stream, seconds);
  return true;
}

double SoundSystem::secondsOf(const FSOUND_STREAM& stream) {
  const uint64_t heardUpTo =
      std::clamp(output->playedFrames(), stream.anchorFrame, stream.anchorFrame + stream.mixedFrames);
  return stream.anchorSeconds + static_cast<double>(heardUpTo - stream.anchorFrame) / kRate;
}

int SoundSystem::time(FSOUND_STREAM* stream) {
  std::lock_guard<std::mutex> guard(lock);
  // The small term keeps a time set in whole milliseconds from reading one less.
  constexpr double kTolerance = 1e-6;
  return knows(stream) ? static_cast<int>(std::floor(secondsOf(*stream) * 1000.0 + kTolerance)) : 0;
}

bool SoundSystem::setPan(int channel, int pan) {
  std::lock_guard<std::mutex> guard(lock);
  if (pan != FSOUND_STEREOPAN && (pan < 0 || pan > kPanRight)) return false;
  for (auto& stream : streams)
    if (stream->channel == channel) {
      stream->pan = pan;
      return true;
    }
  return false;
}

void SoundSystem::mixBlock() {
  const size_t frames = output->blockFrames();
  std::fill(sum.begin(), sum.end(), 0);
  for (auto& stream : streams) {
    if (stream->channel < 0) continue;
    const size_t got = stream->sound.read(piece.data(), frames);
    int32_t gain[2];
    panGains(stream->pan, gain[0], gain[1]);
    for (size_t i = 0; i < got * 2; ++i) sum[i] += piece[i] * gain[i % 2] / kWhole;
    stream->mixedFrames += got;
    if (got < frames) stream->channel = -1;  // at its end: the channel is free again
  }
  for (size_t i = 0; i < sum.size(); ++i) block[i] = static_cast<int16_t>(std::clamp(sum[i], -32768, 32767));
  output->queue(block.data());
  queuedFrames += frames;
}

void SoundSystem::run() {
  std::unique_lock<std::mutex> guard(lock);
  while (!stopping) {
    while (output->wantsBlock()) mixBlock();
    wake.wait_for(guard, kMixPeriod);
  }
}

}  // namespace fsound
