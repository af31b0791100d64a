#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct FSOUND_STREAM;

// Plays the soundtrack and tells its position, plays a second stream to preview a sound, and
// draws the outline of a sound file. The order of the virtual operations is the host's
// interface: it calls them by position, so there is no virtual destructor among them; the one
// player lives inside the driver object. Every report is a message box, through messageBox.
class SoundPlayerFMOD final {
 public:
  SoundPlayerFMOD() = default;
  ~SoundPlayerFMOD();
  SoundPlayerFMOD(const SoundPlayerFMOD&) = delete;
  SoundPlayerFMOD& operator=(const SoundPlayerFMOD&) = delete;

  virtual bool init();
  virtual void shutdown();
  virtual void openPreview(const std::string& path);
  virtual void playPreview();
  virtual void stopPreview();
  // Appends the outline: per window of two `rate`-ths of a second at 44.1 kHz, the highest
  // sample (at least 0) and the lowest (at most 0) by turns, as -1..1.
  virtual void extractWaveform(std::vector<float>& points, const std::string& path, float rate);
  virtual float soundtrackTime();
  virtual void openSoundtrack(const std::string& path);
  virtual void playSoundtrack();
  virtual void stopSoundtrack();
  virtual void seekSoundtrack(float seconds);
  virtual float position();
  virtual void messageBox(const char* text);

  bool initialised = false;
  FSOUND_STREAM* previewStream = nullptr;
  FSOUND_STREAM* soundtrackStream = nullptr;
  int32_t soundtrackChannel = 0;

 private:
  // Closes `stream` if it is open and opens `path` in its place; `failure` when that fails.
  void reopen(FSOUND_STREAM*& stream, const std::string& path, const char* failure);
};
