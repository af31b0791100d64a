#pragma once

// A sound file decoded step by step into interleaved signed 16-bit samples, so that a long
// soundtrack is never held decoded in memory. The file's bytes are hostile: a decoder stops
// (read gives 0, error says why) instead of trusting a length, an index or a size.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tssound {

class Decoder {
 public:
  virtual ~Decoder() = default;
  virtual int channels() const = 0;
  virtual int rate() const = 0;  // frames a second
  // Frames of the whole sound as the file states them, or -1 when it doesn't.
  virtual int64_t lengthFrames() const = 0;
  // Decodes up to `frames` frames into out (room for frames * channels() samples); gives the
  // frames written, 0 at the end or when the data is damaged (then error() says why).
  virtual size_t read(int16_t* out, size_t frames) = 0;
  // Moves to a frame counted from the start; false when the sound has no such frame.
  virtual bool seek(int64_t frame) = 0;
  virtual const std::string& error() const = 0;
};

// Chooses the decoder by the bytes' own signature (WAV, Ogg Vorbis, MP3); null with a reason in
// error when none takes them. The decoder owns the bytes from then on.
std::unique_ptr<Decoder> openDecoder(std::vector<uint8_t> bytes, std::string* error);

}  // namespace tssound
