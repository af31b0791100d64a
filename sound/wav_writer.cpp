#include "sound/wav_writer.h"

#include "platform/whole_file.h"

namespace tssound {
namespace {

constexpr uint32_t kFormatHeaderBytes = 16;
constexpr uint16_t kPcm = 1;
constexpr uint16_t kBytesPerSample = 2;

class LittleEndian {
 public:
  explicit LittleEndian(std::vector<uint8_t>& bytes_) : bytes(bytes_) {}
  LittleEndian& text(const char (&letters)[5]) {
    bytes.insert(bytes.end(), letters, letters + 4);
    return *this;
  }
  LittleEndian& u16(uint32_t value) {
    bytes.push_back(static_cast<uint8_t>(value));
    bytes.push_back(static_cast<uint8_t>(value >> 8));
    return *this;
  }
  LittleEndian& u32(uint32_t value) { return u16(value & 0xffff).u16(value >> 16); }

 private:
  std::vector<uint8_t>& bytes;
};

}  // namespace

std::vector<uint8_t> encodeWav(const std::vector<int16_t>& samples, int channels, int rate) {
  const auto dataBytes = static_cast<uint32_t>(samples.size() * kBytesPerSample);
  const auto frameBytes = static_cast<uint32_t>(channels * kBytesPerSample);
  std::vector<uint8_t> bytes;
  bytes.reserve(44 + dataBytes);
  LittleEndian out(bytes);
  out.text("RIFF").u32(36 + dataBytes).text("WAVE");
  out.text("fmt ").u32(kFormatHeaderBytes).u16(kPcm).u16(static_cast<uint32_t>(channels));
  out.u32(static_cast<uint32_t>(rate)).u32(static_cast<uint32_t>(rate) * frameBytes).u16(frameBytes).u16(16);
  out.text("data").u32(dataBytes);
  for (int16_t sample : samples) out.u16(static_cast<uint16_t>(sample));
  return bytes;
}

bool writeWav(const std::string& path, const std::vector<int16_t>& samples, int channels, int rate) {
  const std::vector<uint8_t> bytes = encodeWav(samples, channels, rate);
  return platform::writeWholeFile(path, bytes.data(), bytes.size());
}

}  // namespace tssound
