// Decoding a minute of stereo tone as MP3 (written by LAME) and Ogg Vorbis (by libvorbisenc)
// through openDecoder, against the bare library on the same bytes: libmpg123 fed from memory,
// vorbisfile over a memory stream. What ours adds: the frame scan for an exact length, the
// reading callbacks, the checks of each block's layout.
#include <mpg123.h>
#include <vorbis/vorbisfile.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

#include "sound/decode/decoder.h"
#include "tests/sound/test_sounds.h"

namespace {

using tstest::Bytes;
using tstest::Samples;

constexpr int kRate = 44100, kChannels = 2, kSeconds = 60, kRepeats = 5;
constexpr size_t kBlockFrames = 4096, kBlockBytes = kBlockFrames * kChannels * sizeof(int16_t);

void append(Samples* out, const void* block, size_t bytes) {
  const auto* samples = static_cast<const int16_t*>(block);
  out->insert(out->end(), samples, samples + bytes / sizeof(int16_t));
}

bool ours(const Bytes& file, Samples* out) {
  std::string error;
  const auto decoder = tssound::openDecoder(file, &error);
  if (!decoder) return false;
  Samples block(kBlockFrames * kChannels);
  while (size_t frames = decoder->read(block.data(), kBlockFrames)) append(out, block.data(), frames * kChannels * sizeof(int16_t));
  return decoder->error().empty();
}

bool bareMp3(const Bytes& file, Samples* out) {
  mpg123_handle* handle = mpg123_new(nullptr, nullptr);
  mpg123_param(handle, MPG123_ADD_FLAGS, MPG123_QUIET, 0);
  mpg123_format_none(handle);
  mpg123_format(handle, kRate, MPG123_STEREO, MPG123_ENC_SIGNED_16);
  mpg123_open_feed(handle);
  mpg123_feed(handle, file.data(), file.size());
  unsigned char block[kBlockBytes];
  size_t got = 0;
  int status = MPG123_OK;
  while ((status = mpg123_read(handle, block, sizeof block, &got)) == MPG123_OK || status == MPG123_NEW_FORMAT)
    append(out, block, got);
  append(out, block, got);
  mpg123_delete(handle);
  return status == MPG123_NEED_MORE;
}

bool bareOgg(const Bytes& file, Samples* out) {
  FILE* stream = fmemopen(const_cast<uint8_t*>(file.data()), file.size(), "rb");
  OggVorbis_File vorbis;
  if (stream == nullptr || ov_open(stream, &vorbis, nullptr, 0) != 0) return false;  // ov_open closes it
  char block[kBlockBytes];
  int link = 0;
  long got = 0;
  while ((got = ov_read(&vorbis, block, sizeof block, 0, 2, 1, &link)) > 0) append(out, block, static_cast<size_t>(got));
  ov_clear(&vorbis);
  return got == 0;
}

using Decode = std::function<bool(const Bytes&, Samples*)>;

// Best of several runs, in milliseconds; negative when the decoder failed.
double milliseconds(const Decode& decode, const Bytes& file, Samples* out) {
  double best = 1e30;
  for (int r = 0; r < kRepeats; ++r) {
    Samples().swap(*out);
    const auto start = std::chrono::steady_clock::now();
    if (!decode(file, out)) return -1;
    best = std::min(best, std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
  }
  return best;
}

bool measure(const char* name, const Bytes& file, const Decode& bare) {
  Samples fromOurs, fromBare;
  const double oursMs = milliseconds(ours, file, &fromOurs), bareMs = milliseconds(bare, file, &fromBare);
  if (oursMs < 0 || bareMs < 0 || fromOurs != fromBare) {
    std::fprintf(stderr, "bench_sound: %s: a decoder failed or the two disagree (%zu and %zu samples)\n", name,
                 fromOurs.size(), fromBare.size());
    return false;
  }
  std::printf("%s %d s stereo at %d Hz, %zu bytes: openDecoder %.1f ms; bare library %.1f ms: ratio %.2f\n", name,
              kSeconds, kRate, file.size(), oursMs, bareMs, oursMs / bareMs);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {
    std::printf("usage: bench_sound\n\nTimes decoding %d s of MP3 and Ogg Vorbis (best of %d).\n", kSeconds, kRepeats);
    return std::string(argv[1]) == "--help" ? 0 : 2;
  }
  const Samples tone = tstest::makeTone(tstest::Wave::Sine440, kChannels, kRate, static_cast<size_t>(kRate) * kSeconds);
  const bool ok = measure("MP3", tstest::mp3File(tone, kChannels, kRate), bareMp3) &&
                  measure("Ogg Vorbis", tstest::oggFile(tone, kChannels, kRate), bareOgg);
  return ok ? 0 : 1;
}
