// Writes the seed corpora of the sound fuzz targets with the tests' own writers: short tones in
// every WAV layout the reader knows, in Ogg Vorbis and in MP3, into the three folders given.
#include <cstdio>
#include <string>

#include "platform/whole_file.h"
#include "tests/sound/test_sounds.h"

namespace {

using tstest::Wave;

constexpr int kRates[] = {8000, 22050, 44100};
constexpr Wave kWaves[] = {Wave::Sine440, Wave::Square};

bool save(const std::string& path, const tstest::Bytes& bytes) {
  return !bytes.empty() && platform::writeWholeFile(path, bytes.data(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: make_sound_corpus WAV_DIR OGG_DIR MP3_DIR\n");
    return 2;
  }
  const std::string wav = argv[1], ogg = argv[2], mp3 = argv[3];
  bool ok = true;
  int n = 0;
  for (int channels = 1; channels <= 2; ++channels)
    for (int rate : kRates)
      for (Wave wave : kWaves) {
        // A tenth of a second: small inputs keep the fuzzer fast.
        const tstest::Samples tone = tstest::makeTone(wave, channels, rate, static_cast<size_t>(rate / 10));
        const std::string name = "/" + std::to_string(n++);
        ok = save(wav + name + "-8", tstest::wavFile(tone, channels, rate, 8, false)) &&
             save(wav + name + "-16", tstest::wavFile(tone, channels, rate, 16, n % 2 == 0)) &&
             save(ogg + name, tstest::oggFile(tone, channels, rate)) && save(mp3 + name, tstest::mp3File(tone, channels, rate)) && ok;
      }
  if (!ok) std::fprintf(stderr, "make_sound_corpus: a file could not be written\n");
  return ok ? 0 : 1;
}
