#include "player/soundtrack.h"

#include <algorithm>
#include <cmath>

#include "platform/png_write.h"
#include "platform/whole_file.h"
#include "sound/stereo_stream.h"
#include "sound/wav_writer.h"

namespace soundtrack {
namespace {

constexpr int kRate = tssound::StereoStream::kRate;
constexpr size_t kLargestSoundtrack = size_t{1} << 30;
// Points per pixel column: a highest and a lowest one.
constexpr double kPointsPerPixel = 2.0;
constexpr uint32_t kStripBackground = 0xff101018;
constexpr uint32_t kMiddleLine = 0xff404050;
constexpr uint32_t kOutlineColour = 0xff50c0f0;

std::unique_ptr<tssound::Decoder> decoderOf(const std::string& path, std::string& error) {
  std::vector<uint8_t> bytes;
  if (!platform::readWholeFile(path, bytes, kLargestSoundtrack)) {
    error = "cannot read the soundtrack '" + path + "'";
    return nullptr;
  }
  std::string why;
  std::unique_ptr<tssound::Decoder> decoder = tssound::openDecoder(std::move(bytes), &why);
  if (!decoder) error = "cannot decode the soundtrack '" + path + "': " + why;
  return decoder;
}

}  // namespace

bool writeSpan(const std::string& soundtrack, double from, long frames, double fps, const std::string& path,
               std::string& error) {
  const auto count = static_cast<size_t>(std::llround(static_cast<double>(frames) * kRate / fps));
  std::vector<int16_t> samples(count * 2, 0);
  if (!soundtrack.empty()) {
    std::unique_ptr<tssound::Decoder> decoder = decoderOf(soundtrack, error);
    if (!decoder) return false;
    tssound::StereoStream sound(std::move(decoder));
    // A span that starts past the sound's end is all silence.
    if (sound.seek(from)) sound.read(samples.data(), count);
  }
  if (!tssound::writeWav(path, samples, 2, kRate)) {
    error = "cannot write the soundtrack span '" + path + "'";
    return false;
  }
  return true;
}

bool outline(host::SoundPlayerFMOD& player, const std::string& soundtrack, double seconds, int pixels, Outline& out,
             std::string& error) {
  std::unique_ptr<tssound::Decoder> decoder = decoderOf(soundtrack, error);
  if (!decoder) return false;
  // The player's window is two rate-ths of a second counted at 44.1 kHz, whatever the file's
  // own rate; each point covers one window of the file's samples.
  if (seconds <= 0.0)
    seconds = decoder->lengthFrames() > 0 ? static_cast<double>(decoder->lengthFrames()) / decoder->rate() : 1.0;
  const auto rate = static_cast<float>(std::max(2.0 * kPointsPerPixel * pixels / seconds, 1.0));
  const int window = static_cast<int>(44100.0f / (rate * 0.5f));
  out.points.clear();
  player.extractWaveform(out.points, soundtrack, rate);
  out.secondsPerPoint = static_cast<double>(window) / decoder->rate();
  return true;
}

void draw(const Outline& outline, double from, double to, uint32_t* pixels, int width, int height, int pitch) {
  const int middle = height / 2;
  const double half = (height - 1) / 2.0;
  for (int x = 0; x < width; ++x) {
    // The points whose windows start within this column's stretch of time.
    const double t0 = from + (to - from) * x / width, t1 = from + (to - from) * (x + 1) / width;
    const auto first = static_cast<size_t>(std::max(std::ceil(t0 / outline.secondsPerPoint), 0.0));
    const auto last = static_cast<size_t>(std::max(std::ceil(t1 / outline.secondsPerPoint), 0.0));
    float high = 0.0f, low = 0.0f;
    for (size_t i = first; i < std::min(last, outline.points.size()); ++i) {
      high = std::max(high, outline.points[i]);
      low = std::min(low, outline.points[i]);
    }
    const int top = middle - static_cast<int>(std::lround(high * half));
    const int bottom = middle - static_cast<int>(std::lround(low * half));
    for (int y = 0; y < height; ++y)
      pixels[static_cast<size_t>(y) * static_cast<size_t>(pitch) + static_cast<size_t>(x)] =
          y >= top && y <= bottom && top < bottom ? kOutlineColour : y == middle ? kMiddleLine : kStripBackground;
  }
}

bool writePicture(const Outline& outline, int width, int height, const std::string& path) {
  std::vector<uint32_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height));
  draw(outline, 0.0, outline.seconds(), pixels.data(), width, height, width);
  return platform::writePng(path, width, height, pixels.data(), width * 4);
}

}  // namespace soundtrack
