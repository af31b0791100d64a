#pragma once

#include <windows.h>

#include <string>

#include "player/host/driver_interface.h"
#include "player/host/host_project.h"


// A window of ours with the driver's render window open on it, and a project
// built and opened in it. Everything is undone, in reverse, on destruction.
class Stage {
 public:
  // The driver's own module holds the resources it draws with (its effect sources).
  Stage(host::DriverKMT& driver, HMODULE driverModule, unsigned int width, unsigned int height, bool visible);
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  // False with `error` set when the project cannot be made; nothing is open then.
  bool build(const host::ProjectFile& file, const host::EffectLibrary& library, host::LoadError& error,
             host::HostProject::MissingSoundtrack missing = host::HostProject::MissingSoundtrack::fails);

  host::HostProject& project() { return hostProject; }
  host::RenderWindow* renderWindow() const { return window; }
  host::SoundPlayerFMOD& soundPlayer() const { return *player; }

 private:
  void setEffectsOpen(bool open);

  HWND handle = nullptr;
  host::RenderWindow* window = nullptr;
  host::SoundPlayerFMOD* player = nullptr;
  host::HostProject hostProject;
  bool built = false;
};

struct OfflineOptions {
  std::string folder;        // the PNG files' folder, unless the frames go to rawVideo
  std::string rawVideo;      // empty: none; else every frame raw, in order, into this file or pipe
  double from = 0.0, to = 0.0, fps = 25.0;
  std::string contactSheet;  // empty: none; with a soundtrack, its outline under the frames
  std::string audio;         // empty: none; else the soundtrack of the frames' span, as WAV
  std::string waveform;      // empty: none; else the soundtrack's whole outline, as PNG
  // To measure what frame output costs: frames cleared instead of drawn (the floor of output),
  // and frames only read back, not written (drawing without output); both: read-back alone.
  bool cleared = false;
  bool readBackOnly = false;
};

// Frames `from` to `to` at `fps` into folder/frame_NNNNN.png, or into the raw video stream,
// with a progress bar on stderr, written on worker threads beside the drawing. Each PNG
// appears whole or not at all; the stream is closed before the soundtrack's files are
// written, so that its reader can finish meanwhile. With a contact sheet path, a grid
// of frames spread over the run is written there too. 0 on success, else 1 with a
// message.
int renderOffline(Stage& stage, const OfflineOptions& options);

// Frames in the window from `from` on, timed by the soundtrack as it plays, or by the clock
// without one, for `seconds` or
// until the window is closed or Escape is pressed.
int playLive(Stage& stage, double from, double seconds);
