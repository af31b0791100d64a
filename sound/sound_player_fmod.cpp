#include "sound/sound_player_fmod.h"

#include <algorithm>
#include <cstdio>

#include "platform/message_box.h"
#include "sound/fsound/fsound.h"

namespace {

constexpr float kExpectedVersion = 3.5f;
constexpr int kMixRate = 44100;
constexpr int kSoftwareChannels = 32;
constexpr unsigned int kWaveformSampleMode = FSOUND_LOOP_OFF | FSOUND_16BITS | FSOUND_MONO | FSOUND_SIGNED;
constexpr double kSampleScale = 3.0517578e-05;  // 1 / 32768
constexpr char kNoStream[] = "No stream openned.";

}  // namespace

SoundPlayerFMOD::~SoundPlayerFMOD() {
  if (initialised) shutdown();
}

bool SoundPlayerFMOD::init() {
  const float version = FSOUND_GetVersion();
  if (version != kExpectedVersion) {
    char text[128];
    std::snprintf(text, sizeof text, "Incompatible version of FMOD (expecting : %f, has : %f).",
                  static_cast<double>(kExpectedVersion), static_cast<double>(version));
    messageBox(text);
    return false;
  }
  if (!FSOUND_Init(kMixRate, kSoftwareChannels, FSOUND_INIT_GLOBALFOCUS)) {
    messageBox("FMOD Init Failed");
    return false;
  }
  initialised = true;
  return true;
}

void SoundPlayerFMOD::shutdown() {
  if (soundtrackStream) {
    FSOUND_Stream_Close(soundtrackStream);
    soundtrackStream = nullptr;
  }
  initialised = false;
  FSOUND_Close();
}

void SoundPlayerFMOD::reopen(FSOUND_STREAM*& stream, const std::string& path, const char* failure) {
  if (stream) FSOUND_Stream_Close(stream);
  stream = FSOUND_Stream_OpenFile(path.c_str(), FSOUND_LOOP_OFF, 0);
  if (!stream) messageBox(failure);
}

void SoundPlayerFMOD::openPreview(const std::string& path) { reopen(previewStream, path, "File is not a Stream."); }

void SoundPlayerFMOD::playPreview() {
  if (!previewStream) {
    messageBox(kNoStream);
    return;
  }
  FSOUND_SetPan(FSOUND_Stream_Play(FSOUND_FREE, previewStream), FSOUND_STEREOPAN);
}

void SoundPlayerFMOD::stopPreview() {
  if (!previewStream) {
    messageBox(kNoStream);
    return;
  }
  FSOUND_Stream_Stop(previewStream);
}

void SoundPlayerFMOD::extractWaveform(std::vector<float>& points, const std::string& path, float rate) {
  // A rate of 0 or less has no window; one above 88,200 would have a window of no samples.
  if (!(rate > 0.0f)) return;
  const int window = std::max(static_cast<int>(44100.0f / (rate * 0.5f)), 1);
  FSOUND_SAMPLE* sample = FSOUND_Sample_Load(FSOUND_FREE, path.c_str(), kWaveformSampleMode, 0);
  if (!sample) {
    messageBox("Not possible to load the soundtrack");
    return;
  }
  const unsigned int length = FSOUND_Sample_GetLength(sample);
  void *first = nullptr, *second = nullptr;
  unsigned int firstBytes = 0, secondBytes = 0;
  if (!FSOUND_Sample_Lock(sample, 0, static_cast<int>(2 * length), &first, &second, &firstBytes, &secondBytes)) {
    messageBox("Unable to lock the sample.");
    FSOUND_Sample_Free(sample);
    return;
  }
  points.reserve(firstBytes);
  const auto* samples = static_cast<const int16_t*>(first);
  const unsigned int count = firstBytes / 2;
  bool maximum = true;
  for (unsigned int cursor = 0; cursor < count; cursor += static_cast<unsigned int>(window)) {
    int16_t peak = 0;
    const unsigned int end = std::min(count, cursor + static_cast<unsigned int>(window));
    for (unsigned int i = cursor; i < end; ++i)
      if (maximum ? peak <= samples[i] : peak >= samples[i]) peak = samples[i];
    points.push_back(static_cast<float>(peak * kSampleScale));
    maximum = !maximum;
  }
  FSOUND_Sample_Unlock(sample, first, second, firstBytes, secondBytes);
  FSOUND_Sample_Free(sample);
}

float SoundPlayerFMOD::soundtrackTime() { return static_cast<float>(FSOUND_Stream_GetTime(soundtrackStream)) * 0.001f; }

void SoundPlayerFMOD::openSoundtrack(const std::string& path) {
  reopen(soundtrackStream, path, "File not found or not a Stream.");
}

// Unlike the preview, neither tests the stream: a null one goes to the library as it is.
void SoundPlayerFMOD::playSoundtrack() {
  soundtrackChannel = FSOUND_Stream_Play(FSOUND_FREE, soundtrackStream);
  FSOUND_SetPan(soundtrackChannel, FSOUND_STEREOPAN);
}

void SoundPlayerFMOD::stopSoundtrack() { FSOUND_Stream_Stop(soundtrackStream); }

void SoundPlayerFMOD::seekSoundtrack(float seconds) {
  FSOUND_Stream_SetTime(soundtrackStream, static_cast<int>(seconds * 1000.0f));
}

float SoundPlayerFMOD::position() { return soundtrackTime(); }

void SoundPlayerFMOD::messageBox(const char* text) { platform::messageBox(text, "SoundPlayerFMOD::MessageBox", 0); }
