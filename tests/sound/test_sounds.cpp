#include "tests/sound/test_sounds.h"

#include <vorbis/vorbisenc.h>
#ifdef TS_TEST_MP3
#include <lame/lame.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tstest {
namespace {

constexpr double kPi = 3.14159265358979323846, kSineHz = 440;
constexpr size_t kSquarePeriod = 100;  // frames
constexpr float kOggQuality = 0.4f;
constexpr size_t kOggBlockFrames = 1024;
constexpr int kOggSerial = 1, kMp3Kbps = 128;

void put(Bytes* out, const void* bytes, size_t size) {
  const auto* at = static_cast<const uint8_t*>(bytes);
  out->insert(out->end(), at, at + size);
}

void putLe(Bytes* out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out->push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void putPage(Bytes* out, const ogg_page& page) {
  put(out, page.header, static_cast<size_t>(page.header_len));
  put(out, page.body, static_cast<size_t>(page.body_len));
}

}  // namespace

Samples makeTone(Wave wave, int channels, int rate, size_t frames) {
  Samples samples;
  for (size_t f = 0; f < frames; ++f) {
    double value = 0;
    if (wave == Wave::Sine440) value = std::sin(2 * kPi * kSineHz * static_cast<double>(f) / rate);
    if (wave == Wave::Square) value = f % kSquarePeriod < kSquarePeriod / 2 ? 1 : -1;
    samples.insert(samples.end(), static_cast<size_t>(channels), static_cast<int16_t>(std::lround(value * kToneAmplitude)));
  }
  return samples;
}

Bytes wavFile(const Samples& samples, int channels, int rate, int bits, bool extensible) {
  const uint32_t sampleBytes = static_cast<uint32_t>(bits / 8), dataBytes = static_cast<uint32_t>(samples.size()) * sampleBytes;
  const uint32_t formatBytes = extensible ? 40 : 16;
  Bytes out;
  put(&out, "RIFF", 4);
  putLe(&out, 4 + 8 + formatBytes + 8 + dataBytes, 4);
  put(&out, "WAVEfmt ", 8);
  putLe(&out, formatBytes, 4);
  putLe(&out, extensible ? 0xFFFE : 1, 2);
  putLe(&out, static_cast<uint32_t>(channels), 2);
  putLe(&out, static_cast<uint32_t>(rate), 4);
  putLe(&out, static_cast<uint32_t>(rate * channels) * sampleBytes, 4);
  putLe(&out, static_cast<uint32_t>(channels) * sampleBytes, 2);
  putLe(&out, static_cast<uint32_t>(bits), 2);
  if (extensible) {
    const uint8_t pcmGuid[16] = {1, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
    putLe(&out, 22, 2);  // the bytes that follow
    putLe(&out, static_cast<uint32_t>(bits), 2);
    putLe(&out, channels == 1 ? 0x4 : 0x3, 4);  // centre, or left and right
    put(&out, pcmGuid, sizeof pcmGuid);
  }
  put(&out, "data", 4);
  putLe(&out, dataBytes, 4);
  for (int16_t s : samples) {
    if (bits == 8) out.push_back(static_cast<uint8_t>((s >> 8) + 128));
    else putLe(&out, static_cast<uint16_t>(s), 2);
  }
  return out;
}

Bytes oggFile(const Samples& samples, int channels, int rate) {
  vorbis_info info;
  vorbis_info_init(&info);
  vorbis_encode_init_vbr(&info, channels, rate, kOggQuality);
  vorbis_comment comment;
  vorbis_comment_init(&comment);
  vorbis_dsp_state dsp;
  vorbis_analysis_init(&dsp, &info);
  vorbis_block block;
  vorbis_block_init(&dsp, &block);
  ogg_stream_state stream;
  ogg_stream_init(&stream, kOggSerial);
  ogg_packet headers[3], packet;
  vorbis_analysis_headerout(&dsp, &comment, &headers[0], &headers[1], &headers[2]);
  for (ogg_packet& header : headers) ogg_stream_packetin(&stream, &header);
  Bytes out;
  ogg_page page;
  while (ogg_stream_flush(&stream, &page) != 0) putPage(&out, page);

  // In blocks, as libvorbis takes them: a minute at once overflows its stack. The empty block ends the stream.
  const size_t frames = samples.size() / static_cast<size_t>(channels);
  for (size_t at = 0, count = 1; count > 0; at += count) {
    count = std::min(kOggBlockFrames, frames - at);
    float** buffer = vorbis_analysis_buffer(&dsp, static_cast<int>(count));
    for (size_t f = 0; f < count; ++f)
      for (int c = 0; c < channels; ++c) buffer[c][f] = samples[(at + f) * static_cast<size_t>(channels) + static_cast<size_t>(c)] / 32768.0f;
    vorbis_analysis_wrote(&dsp, static_cast<int>(count));
    while (vorbis_analysis_blockout(&dsp, &block) == 1) {
      vorbis_analysis(&block, nullptr);
      vorbis_bitrate_addblock(&block);
      while (vorbis_bitrate_flushpacket(&dsp, &packet) != 0) {
        ogg_stream_packetin(&stream, &packet);
        while (ogg_stream_pageout(&stream, &page) != 0) putPage(&out, page);
      }
    }
  }
  while (ogg_stream_flush(&stream, &page) != 0) putPage(&out, page);
  ogg_stream_clear(&stream);
  vorbis_block_clear(&block);
  vorbis_dsp_clear(&dsp);
  vorbis_comment_clear(&comment);
  vorbis_info_clear(&info);
  return out;
}

#ifdef TS_TEST_MP3
Bytes mp3File(const Samples& samples, int channels, int rate) {
  lame_global_flags* lame = lame_init();
  lame_set_num_channels(lame, channels);
  lame_set_in_samplerate(lame, rate);
  lame_set_mode(lame, channels == 1 ? MONO : JOINT_STEREO);
  lame_set_brate(lame, kMp3Kbps);
  lame_init_params(lame);
  const int frames = static_cast<int>(samples.size()) / channels;
  Bytes out(samples.size() * 5 / 4 + 7200);  // LAME's own bound on its output
  auto* pcm = const_cast<short*>(samples.data());
  int size = channels == 2 ? lame_encode_buffer_interleaved(lame, pcm, frames, out.data(), static_cast<int>(out.size()))
                           : lame_encode_buffer(lame, pcm, pcm, frames, out.data(), static_cast<int>(out.size()));
  size += lame_encode_flush(lame, out.data() + size, static_cast<int>(out.size()) - size);
  out.resize(static_cast<size_t>(size));
  // The Info frame at the start, written again now that the length is known: by it a decoder
  // cuts the encoder's delay and padding.
  const size_t tagBytes = lame_get_lametag_frame(lame, out.data(), out.size());
  lame_close(lame);
  return tagBytes > 0 ? out : Bytes();
}
#endif

}  // namespace tstest
