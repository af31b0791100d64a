// The sound library under the player: a stream's time runs with the output's clock and jumps
// where it is set; the player's outline of a sound, read whole through a sample.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "platform/whole_file.h"
#include "sound/fsound/sound_system.h"
#include "sound/sound_player_fmod.h"
#include "tests/sound/test_sounds.h"

namespace {

using tstest::Samples;
using tstest::Wave;

TEST(Fsound, StreamTimeRunsWithTheSilentOutputAndFollowsSetTime) {
  // Mono at 22,050 Hz: the time is the sound's own, whatever it becomes on the way out.
  const tstest::Bytes wav = tstest::wavFile(tstest::makeTone(Wave::Sine440, 1, 22050, 22050 * 4), 1, 22050, 16, false);
  std::string error;
  fsound::SoundSystem system(fsound::openSilentOutput(), 32);
  FSOUND_STREAM* stream = system.open(tssound::openDecoder(wav, &error));
  const auto sleep = [](int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); };
  constexpr int kTolerance = 10, kSleepTolerance = 40;  // the second, for a busy machine's sleeps

  ASSERT_TRUE(system.setTime(stream, 1234));
  EXPECT_NEAR(system.time(stream), 1234, kTolerance) << "set before playing";
  ASSERT_GE(system.play(FSOUND_FREE, stream), 0);
  sleep(300);
  EXPECT_NEAR(system.time(stream), 1534, kSleepTolerance) << "played for 300 ms";
  ASSERT_TRUE(system.setTime(stream, 500));
  EXPECT_NEAR(system.time(stream), 500, kTolerance) << "set while playing";
  sleep(200);
  EXPECT_NEAR(system.time(stream), 700, kSleepTolerance) << "played on for 200 ms";
  ASSERT_TRUE(system.stop(stream));
  const int stopped = system.time(stream);
  sleep(100);
  EXPECT_EQ(system.time(stream), stopped) << "stopped";
  EXPECT_FALSE(system.setTime(stream, 5000)) << "past the end of four seconds";
}

TEST(Fsound, WaveformHasOnePointAWindowHighestAndLowestByTurns) {
  struct Row {
    const char* sound;
    Samples samples;
    int channels, rate;
    size_t points;
    float high, low;  // of the even and the odd points
  };
  constexpr float kHalf = tstest::kToneAmplitude / 32768.0f;
  const Row rows[] = {
      // At a rate of 100 a window is 882 samples, at any rate of the file's.
      {"a second at 44.1 kHz", tstest::makeTone(Wave::Sine440, 1, 44100, 44100), 1, 44100, 50, kHalf, -kHalf},
      {"a second at 22.05 kHz, stereo", tstest::makeTone(Wave::Sine440, 2, 22050, 22050), 2, 22050, 25, kHalf, -kHalf},
      {"empty", {}, 1, 44100, 0, 0.0f, 0.0f},
      {"shorter than a window", tstest::makeTone(Wave::Sine440, 1, 44100, 100), 1, 44100, 1, kHalf, 0.0f},
      {"shorter than a window, all below zero", Samples(100, -1000), 1, 44100, 1, 0.0f, 0.0f},
  };
  SoundPlayerFMOD player;
  ASSERT_TRUE(player.init());
  const std::string path = testing::TempDir() + "waveform.wav";
  for (const Row& row : rows) {
    const tstest::Bytes wav = tstest::wavFile(row.samples, row.channels, row.rate, 16, false);
    ASSERT_TRUE(platform::writeWholeFile(path, wav.data(), wav.size()));
    std::vector<float> points;
    player.extractWaveform(points, path, 100.0f);
    ASSERT_EQ(points.size(), row.points) << row.sound;
    for (size_t i = 0; i < points.size(); ++i)
      EXPECT_NEAR(points[i], i % 2 ? row.low : row.high, 0.002f) << row.sound << ", point " << i;
  }
  player.shutdown();
}

}  // namespace
