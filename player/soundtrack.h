#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "player/host/driver_interface.h"

// The project's soundtrack beside the pictures: its sound over a span of frames, written as a
// file, and its outline as the driver's player draws it.
namespace soundtrack {

// The driver's player, started while this lives: init on making, shutdown on leaving.
class Session {
 public:
  explicit Session(host::SoundPlayerFMOD& player_) : player(player_), started(player_.init()) {}
  ~Session() {
    if (started) player.shutdown();
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  host::SoundPlayerFMOD& player;
  const bool started;
};

// The sound from `from` seconds for `frames` frames at `fps`, as 44.1 kHz stereo WAV: frame i
// starts at sample round(i x 44100 / fps), and silence fills what lies past the sound's end;
// with no soundtrack (an empty path) the span is all silence.
// False with `error` set when the soundtrack can't be decoded or the file can't be written.
bool writeSpan(const std::string& soundtrack, double from, long frames, double fps, const std::string& path,
               std::string& error);

// The outline of extractWaveform, with the time each of its points covers.
struct Outline {
  std::vector<float> points;
  double secondsPerPoint = 0.0;
  double seconds() const { return static_cast<double>(points.size()) * secondsPerPoint; }
};

// The player's outline of the soundtrack, fine enough for about two points a pixel when
// `seconds` of it span `pixels`; 0 seconds: the whole soundtrack. The player must be initialised. False with `error` set when the
// soundtrack can't be decoded.
bool outline(host::SoundPlayerFMOD& player, const std::string& soundtrack, double seconds, int pixels, Outline& out,
             std::string& error);

// Draws seconds from..to of the outline into a strip of 0xAARRGGBB pixels (rows of `pitch`
// pixels): each column from its highest point down to its lowest, about a middle line.
void draw(const Outline& outline, double from, double to, uint32_t* pixels, int width, int height, int pitch);

// The outline of the whole soundtrack as a PNG of width x height.
bool writePicture(const Outline& outline, int width, int height, const std::string& path);

}  // namespace soundtrack
