#include "sound/decode/wav.h"

#include <algorithm>
#include <cstring>

#include "gfxhelper/le_bytes.h"
#include "sound/decode/decoder_base.h"

namespace tssound {
namespace {

using gfximage::le16;
using gfximage::le32;

constexpr size_t kRiffHeaderBytes = 12, kChunkHeaderBytes = 8;
constexpr size_t kPcmFormatBytes = 16, kExtensibleFormatBytes = 40, kSubFormatOffset = 24;
constexpr uint32_t kFormatPcm = 1, kFormatExtensible = 0xFFFE;
// The subformat GUID of PCM after its first two bytes, which repeat the format tag.
constexpr uint8_t kPcmGuidTail[14] = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
constexpr int kUnsigned8Bias = 128;

struct WavLayout {
  int channels = 0;
  int rate = 0;
  size_t sampleBytes = 0;  // 1 (unsigned) or 2 (signed little-endian)
  size_t dataOffset = 0;
  size_t frames = 0;
};

// The format chunk's PCM fields; empty when they describe sound we play, else why not.
std::string readFormat(const uint8_t* chunk, size_t size, WavLayout* layout) {
  if (size < kPcmFormatBytes) return "a format chunk of " + std::to_string(size) + " bytes";
  uint32_t tag = le16(chunk);
  if (tag == kFormatExtensible) {
    if (size < kExtensibleFormatBytes) return "an extensible format chunk of " + std::to_string(size) + " bytes";
    tag = le16(chunk + kSubFormatOffset);
    if (std::memcmp(chunk + kSubFormatOffset + 2, kPcmGuidTail, sizeof kPcmGuidTail) != 0) return "an extensible format that is not PCM";
  }
  if (tag != kFormatPcm) return "format " + std::to_string(tag) + " (only PCM plays)";
  const uint32_t channels = le16(chunk + 2), rate = le32(chunk + 4), blockAlign = le16(chunk + 12), bits = le16(chunk + 14);
  std::string problem = layoutProblem(channels, rate);
  if (!problem.empty()) return problem;
  if (bits != 8 && bits != 16) return std::to_string(bits) + "-bit samples (only 8 and 16 play)";
  layout->channels = static_cast<int>(channels);
  layout->rate = static_cast<int>(rate);
  layout->sampleBytes = bits / 8;
  if (blockAlign != channels * layout->sampleBytes) return "frames of " + std::to_string(blockAlign) + " bytes";
  return {};
}

// Walks the chunks, each bounded by the bytes left; empty when a format and its data were found.
std::string readLayout(const std::vector<uint8_t>& bytes, WavLayout* layout) {
  if (!isWav(bytes.data(), bytes.size())) return "no RIFF WAVE header";
  bool haveFormat = false, haveData = false;
  size_t dataBytes = 0;
  for (size_t at = kRiffHeaderBytes; at + kChunkHeaderBytes <= bytes.size();) {
    const uint8_t* header = bytes.data() + at;
    const size_t size = le32(header + 4), left = bytes.size() - at - kChunkHeaderBytes;
    if (size > left) return "a chunk claims " + std::to_string(size) + " bytes where " + std::to_string(left) + " are left";
    const uint8_t* body = header + kChunkHeaderBytes;
    if (std::memcmp(header, "fmt ", 4) == 0 && !haveFormat) {
      std::string problem = readFormat(body, size, layout);
      if (!problem.empty()) return problem;
      haveFormat = true;
    } else if (std::memcmp(header, "data", 4) == 0 && !haveData) {
      layout->dataOffset = at + kChunkHeaderBytes;
      dataBytes = size;
      haveData = true;
    }
    // Chunks are padded to an even size; a file may end before the pad byte.
    at += kChunkHeaderBytes + std::min(size + (size & 1), left);
  }
  if (!haveFormat) return "no format chunk";
  if (!haveData) return "no data chunk";
  layout->frames = dataBytes / (layout->sampleBytes * static_cast<size_t>(layout->channels));
  return {};
}

class WavDecoder : public DecoderBase {
 public:
  explicit WavDecoder(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}
  std::string open() { return readLayout(bytes_, &layout_); }

  int channels() const override { return layout_.channels; }
  int rate() const override { return layout_.rate; }
  int64_t lengthFrames() const override { return static_cast<int64_t>(layout_.frames); }

  size_t read(int16_t* out, size_t frames) override {
    frames = std::min(frames, layout_.frames - position_);
    const size_t samples = frames * layout_.channels;
    const uint8_t* in = bytes_.data() + layout_.dataOffset + position_ * layout_.channels * layout_.sampleBytes;
    if (layout_.sampleBytes == 1) {
      for (size_t i = 0; i < samples; ++i) out[i] = static_cast<int16_t>((in[i] - kUnsigned8Bias) * 256);
    } else {
      for (size_t i = 0; i < samples; ++i) out[i] = static_cast<int16_t>(le16(in + 2 * i));
    }
    position_ += frames;
    return frames;
  }

  // The end is a place too: reading there gives nothing.
  bool seek(int64_t frame) override {
    if (frame < 0 || static_cast<uint64_t>(frame) > layout_.frames) return false;
    position_ = static_cast<size_t>(frame);
    return true;
  }

 private:
  std::vector<uint8_t> bytes_;
  WavLayout layout_;
  size_t position_ = 0;
};

}  // namespace

bool isWav(const uint8_t* bytes, size_t size) {
  return size >= kRiffHeaderBytes && std::memcmp(bytes, "RIFF", 4) == 0 && std::memcmp(bytes + 8, "WAVE", 4) == 0;
}

std::unique_ptr<Decoder> openWav(std::vector<uint8_t> bytes, std::string* error) {
  return openAs<WavDecoder>("WAV", std::move(bytes), error);
}

}  // namespace tssound
