#include "sound/fsound/output.h"

#ifdef _WIN32
#include <windows.h>
#include <mmsystem.h>

#include <algorithm>
#include <array>
#include <vector>

#include "sound/stereo_stream.h"

namespace fsound {
namespace {

// Four blocks of 1,024 frames: 93 ms queued ahead of the listener.
constexpr size_t kBlockFrames = 1024;
constexpr size_t kBlocks = 4;
constexpr int kChannels = 2;

class WaveOutput : public Output {
 public:
  explicit WaveOutput(HWAVEOUT device_) : device(device_), memory(kBlocks * kBlockFrames * kChannels) {
    for (size_t i = 0; i < kBlocks; ++i) {
      headers[i] = {};
      headers[i].lpData = reinterpret_cast<LPSTR>(memory.data() + i * kBlockFrames * kChannels);
      headers[i].dwBufferLength = kBlockFrames * kChannels * sizeof(int16_t);
      headers[i].dwFlags = WHDR_DONE;  // free to fill
    }
  }
  ~WaveOutput() override {
    waveOutReset(device);
    for (WAVEHDR& header : headers)
      if (header.dwFlags & WHDR_PREPARED) waveOutUnprepareHeader(device, &header, sizeof header);
    waveOutClose(device);
  }
  WaveOutput(const WaveOutput&) = delete;
  WaveOutput& operator=(const WaveOutput&) = delete;

  size_t blockFrames() const override { return kBlockFrames; }
  bool wantsBlock() override {
    return (headers[next].dwFlags & WHDR_DONE) != 0 && queued < clock.frames() + kBlocks * kBlockFrames;
  }
  void queue(const int16_t* block) override {
    WAVEHDR& header = headers[next];
    if (header.dwFlags & WHDR_PREPARED) waveOutUnprepareHeader(device, &header, sizeof header);
    std::copy(block, block + kBlockFrames * kChannels, reinterpret_cast<int16_t*>(header.lpData));
    header.dwFlags = 0;
    waveOutPrepareHeader(device, &header, sizeof header);
    waveOutWrite(device, &header, sizeof header);
    next = (next + 1) % kBlocks;
    queued += kBlockFrames;
  }
  uint64_t playedFrames() override {
    MMTIME time = {};
    time.wType = TIME_SAMPLES;
    waveOutGetPosition(device, &time, sizeof time);
    return std::min<uint64_t>(time.wType == TIME_SAMPLES ? time.u.sample : 0, clock.frames());
  }

 private:
  HWAVEOUT device;
  std::vector<int16_t> memory;
  std::array<WAVEHDR, kBlocks> headers;
  size_t next = 0;
  uint64_t queued = 0;
  FrameClock clock;
};

}  // namespace

std::unique_ptr<Output> openDeviceOutput() {
  WAVEFORMATEX format = {};
  format.wFormatTag = WAVE_FORMAT_PCM;
  format.nChannels = kChannels;
  format.nSamplesPerSec = tssound::StereoStream::kRate;
  format.wBitsPerSample = 16;
  format.nBlockAlign = kChannels * sizeof(int16_t);
  format.nAvgBytesPerSec = format.nSamplesPerSec * format.nBlockAlign;
  HWAVEOUT device = nullptr;
  if (waveOutOpen(&device, WAVE_MAPPER, &format, 0, 0, CALLBACK_NULL) != MMSYSERR_NOERROR) return nullptr;
  return std::make_unique<WaveOutput>(device);
}

}  // namespace fsound

#else

namespace fsound {

// Only the Windows build has a device to play on.
std::unique_ptr<Output> openDeviceOutput() { return nullptr; }

}  // namespace fsound

#endif
