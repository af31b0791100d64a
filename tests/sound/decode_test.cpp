// Tones written by the test through each format's writer come back through openDecoder with
// their length, peaks and zero crossings; damaged files are refused with a reason.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>

#include "sound/decode/decoder.h"
#include "tests/sound/test_sounds.h"

namespace {

using tstest::Samples;
using tstest::Wave;

constexpr int16_t kLossyPeakTolerance = tstest::kToneAmplitude / 8;
constexpr size_t kSeekCheckFrames = 64;

int peak(const Samples& samples) {
  int most = 0;
  for (int16_t s : samples) most = std::max(most, std::abs(static_cast<int>(s)));
  return most;
}

// Sign changes past a quarter of the amplitude, so that a codec's noise near zero doesn't count.
int zeroCrossings(const Samples& samples) {
  constexpr int kHysteresis = tstest::kToneAmplitude / 4;
  int crossings = 0, sign = 0;
  for (int16_t s : samples) {
    const int now = s > kHysteresis ? 1 : s < -kHysteresis ? -1 : sign;
    crossings += sign != 0 && now != sign;
    sign = now;
  }
  return crossings;
}

Samples readAll(tssound::Decoder* decoder) {
  Samples all, block(4096 * static_cast<size_t>(decoder->channels()));
  while (size_t frames = decoder->read(block.data(), 4096))
    all.insert(all.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(frames * decoder->channels()));
  return all;
}

struct Row {
  const char* name;
  std::function<tstest::Bytes(const Samples&, int channels, int rate)> write;
  Wave wave;
  int channels, rate;
  int sampleTolerance;  // per sample for lossless formats, on the peak for lossy ones; -1: lossy
};

TEST(SoundDecode, TonesComeBackThroughEachFormat) {
  using namespace std::placeholders;
  const auto wav16 = std::bind(tstest::wavFile, _1, _2, _3, 16, false);
  const auto wav8 = std::bind(tstest::wavFile, _1, _2, _3, 8, false);
  const auto wavExtensible = std::bind(tstest::wavFile, _1, _2, _3, 16, true);
  const std::vector<Row> rows = {
      {"wav16", wav16, Wave::Sine440, 2, 44100, 0},        {"wav8", wav8, Wave::Square, 1, 22050, 255},
      {"wavext", wavExtensible, Wave::Silence, 2, 37800, 0}, {"ogg", tstest::oggFile, Wave::Sine440, 2, 44100, -1},
      {"ogg", tstest::oggFile, Wave::Square, 1, 22050, -1},  {"ogg", tstest::oggFile, Wave::Silence, 2, 48000, -1},
#ifdef TS_TEST_MP3
      {"mp3", tstest::mp3File, Wave::Sine440, 2, 44100, -1}, {"mp3", tstest::mp3File, Wave::Square, 1, 22050, -1},
      {"mp3", tstest::mp3File, Wave::Silence, 2, 48000, -1},
#endif
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(::testing::Message() << row.name << ", wave " << static_cast<int>(row.wave) << ", " << row.rate);
    const Samples written = tstest::makeTone(row.wave, row.channels, row.rate, static_cast<size_t>(row.rate / 2));
    std::string error;
    auto decoder = tssound::openDecoder(row.write(written, row.channels, row.rate), &error);
    ASSERT_TRUE(decoder) << error;
    ASSERT_EQ(decoder->channels(), row.channels);
    ASSERT_EQ(decoder->rate(), row.rate);
    const Samples decoded = readAll(decoder.get());
    EXPECT_EQ(decoder->error(), "");
    const int64_t frames = static_cast<int64_t>(written.size()) / row.channels;
    EXPECT_NEAR(static_cast<double>(decoded.size() / row.channels), frames, 1);
    EXPECT_NEAR(decoder->lengthFrames(), frames, 1);
    EXPECT_NEAR(peak(decoded), peak(written), row.sampleTolerance < 0 ? kLossyPeakTolerance : row.sampleTolerance);
    EXPECT_NEAR(zeroCrossings(decoded), zeroCrossings(written), 1);
    ASSERT_EQ(decoded.size(), written.size());
    if (row.sampleTolerance >= 0) {
      for (size_t i = 0; i < written.size(); ++i) ASSERT_NEAR(decoded[i], written[i], row.sampleTolerance) << i;
    }

    // A seek lands on the same samples as reading through.
    Samples again(kSeekCheckFrames * static_cast<size_t>(row.channels));
    ASSERT_TRUE(decoder->seek(frames / 2));
    ASSERT_EQ(decoder->read(again.data(), kSeekCheckFrames), kSeekCheckFrames);
    const auto from = decoded.begin() + frames / 2 * row.channels;
    for (size_t i = 0; i < again.size(); ++i) ASSERT_NEAR(again[i], from[static_cast<std::ptrdiff_t>(i)], std::max(row.sampleTolerance, 0)) << i;
    EXPECT_FALSE(decoder->seek(frames + 1));
  }
}

TEST(SoundDecode, DamagedFilesAreRefusedWithAReason) {
  const Samples tone = tstest::makeTone(Wave::Sine440, 1, 8000, 800);
  tstest::Bytes hours = tstest::wavFile(tone, 1, 8000, 16, false);
  hours.resize(60);
  tstest::Bytes deep = tstest::wavFile(tone, 1, 8000, 16, false);
  deep[34] = 24;  // bits per sample
  tstest::Bytes cutOgg = tstest::oggFile(tone, 1, 8000);
  cutOgg.resize(cutOgg.size() / 8);
  tstest::Bytes flippedOgg = tstest::oggFile(tone, 1, 8000);
  flippedOgg[30] ^= 0x10;  // in the identification header
  const struct {
    tstest::Bytes bytes;
    const char* reason;
  } rows[] = {
      {hours, "WAV: a chunk claims 1600 bytes where 16 are left"},
      {deep, "WAV: 24-bit samples (only 8 and 16 play)"},
      {cutOgg, "Ogg Vorbis: "},
      {flippedOgg, "Ogg Vorbis: "},
      {{'I', 'D', '3', 4, 0, 0, 0, 0, 0, 0, 1, 2, 3}, "MP3: "},
      {{1, 2, 3, 4}, "not a sound file that plays here (WAV, Ogg Vorbis or MP3)"},
  };
  for (const auto& row : rows) {
    std::string error;
    EXPECT_FALSE(tssound::openDecoder(row.bytes, &error));
    EXPECT_EQ(error.substr(0, std::string(row.reason).size()), row.reason);
  }
}

}  // namespace
