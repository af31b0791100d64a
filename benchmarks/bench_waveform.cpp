// SoundPlayerFMOD::extractWaveform on a three-minute 44.1 kHz stereo WAV: the whole call (file
// read, decode to one channel, the walk) against a floor of one bare pass of the same walk over
// the same samples already in memory.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "sound/sound_player_fmod.h"
#include "sound/wav_writer.h"

namespace {

constexpr int kRate = 44100, kSeconds = 180, kRuns = 5, kWindow = 882;  // a rate of 100

template <class Work>
double bestMilliseconds(Work work) {
  double best = 1e30;
  for (int run = 0; run < kRuns; ++run) {
    const auto start = std::chrono::steady_clock::now();
    work();
    best = std::min(best, std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
  }
  return best;
}

}  // namespace

int main() {
  const size_t frames = static_cast<size_t>(kRate) * kSeconds;
  std::vector<int16_t> stereo(frames * 2), mono(frames);
  for (size_t i = 0; i < frames; ++i) {
    const auto value = static_cast<int16_t>(16000.0 * std::sin(i * 2.0 * 3.14159265 * 440.0 / kRate));
    stereo[2 * i] = stereo[2 * i + 1] = mono[i] = value;
  }
  const std::string path = "bench_waveform.wav";
  if (!tssound::writeWav(path, stereo, 2, kRate)) {
    std::fprintf(stderr, "bench_waveform: cannot write %s\n", path.c_str());
    return 1;
  }
  SoundPlayerFMOD player;
  if (!player.init()) return 1;
  std::vector<float> points;
  const double whole = bestMilliseconds([&] {
    points.clear();
    player.extractWaveform(points, path, 100.0f);
  });
  std::vector<float> floorPoints;
  const double bare = bestMilliseconds([&] {
    floorPoints.clear();
    bool maximum = true;
    for (size_t cursor = 0; cursor < frames; cursor += kWindow, maximum = !maximum) {
      int16_t peak = 0;
      for (size_t i = cursor; i < std::min(frames, cursor + kWindow); ++i)
        if (maximum ? peak <= mono[i] : peak >= mono[i]) peak = mono[i];
      floorPoints.push_back(peak / 32768.0f);
    }
  });
  player.shutdown();
  std::remove(path.c_str());
  if (points != floorPoints) {
    std::fprintf(stderr, "bench_waveform: the outline differs from the bare walk's\n");
    return 1;
  }
  std::printf("extractWaveform, 3 min 44.1 kHz stereo WAV, rate 100 (%zu points): %.1f ms; bare walk over the "
              "samples in memory %.2f ms; ratio %.1f\n",
              points.size(), whole, bare, whole / bare);
  return 0;
}
