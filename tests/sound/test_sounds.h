#pragma once

// Sound files for tests, made by our own code: tones written into WAV field by field, and
// encoded to Ogg Vorbis by libvorbisenc and to MP3 by LAME (native builds only).
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tstest {

using Bytes = std::vector<uint8_t>;
using Samples = std::vector<int16_t>;

enum class Wave { Sine440, Silence, Square };
constexpr int16_t kToneAmplitude = 16384;  // half of full scale: room for a lossy codec's overshoot

// `frames` frames of the wave, the same on every channel, interleaved.
Samples makeTone(Wave wave, int channels, int rate, size_t frames);

// bits 8 or 16; extensible writes WAVE_FORMAT_EXTENSIBLE with the PCM subformat.
Bytes wavFile(const Samples& samples, int channels, int rate, int bits, bool extensible);
Bytes oggFile(const Samples& samples, int channels, int rate);
#ifdef TS_TEST_MP3
Bytes mp3File(const Samples& samples, int channels, int rate);
#endif

}  // namespace tstest
