#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace fsound {

// Where mixed sound goes: blocks of interleaved stereo frames at 44,100 a second.
class Output {
 public:
  virtual ~Output() = default;
  virtual size_t blockFrames() const = 0;
  // Whether the output has room for a block now.
  virtual bool wantsBlock() = 0;
  virtual void queue(const int16_t* block) = 0;
  // Frames heard since the output started; never more than were queued.
  virtual uint64_t playedFrames() = 0;
};

// Frames of 44,100 a second of real time since it was made. A device can't play faster than
// this, though one that plays nowhere (a null sink) may claim to.
class FrameClock {
 public:
  uint64_t frames() const;

 private:
  const std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
};

// The machine's audio device; null when there is none.
std::unique_ptr<Output> openDeviceOutput();
// An output that hears nothing but takes frames at the pace of the clock, so that time
// passes for the streams as it would with a device.
std::unique_ptr<Output> openSilentOutput();

}  // namespace fsound
