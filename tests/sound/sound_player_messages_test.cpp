// Every report of the soundtrack player reaches the message-box seam with its own text. The
// player runs here over a sound library of the test's making, whose answers each row chooses.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/message_box.h"
#include "sound/fsound/fsound.h"
#include "sound/sound_player_fmod.h"

namespace {

struct Library {
  float version = 3.5f;
  bool starts = true, opens = true, loads = true, locks = true;
} library;

FSOUND_STREAM* const kStream = reinterpret_cast<FSOUND_STREAM*>(&library);
FSOUND_SAMPLE* const kSample = reinterpret_cast<FSOUND_SAMPLE*>(&library);

std::vector<std::string> boxes;

int record(const char* text, const char* title, unsigned int) {
  boxes.push_back(std::string(title) + ": " + text);
  return 1;
}

}  // namespace

float FSOUND_GetVersion() { return library.version; }
bool FSOUND_Init(int, int, unsigned int) { return library.starts; }
void FSOUND_Close() {}
FSOUND_STREAM* FSOUND_Stream_OpenFile(const char*, unsigned int, int) { return library.opens ? kStream : nullptr; }
int FSOUND_Stream_Play(int, FSOUND_STREAM*) { return 0; }
bool FSOUND_Stream_Stop(FSOUND_STREAM*) { return true; }
bool FSOUND_Stream_Close(FSOUND_STREAM*) { return true; }
bool FSOUND_Stream_SetTime(FSOUND_STREAM*, int) { return true; }
int FSOUND_Stream_GetTime(FSOUND_STREAM*) { return 0; }
bool FSOUND_SetPan(int, int) { return true; }
FSOUND_SAMPLE* FSOUND_Sample_Load(int, const char*, unsigned int, int) { return library.loads ? kSample : nullptr; }
unsigned int FSOUND_Sample_GetLength(FSOUND_SAMPLE*) { return 0; }
bool FSOUND_Sample_Lock(FSOUND_SAMPLE*, int, int, void**, void**, unsigned int*, unsigned int*) { return library.locks; }
bool FSOUND_Sample_Unlock(FSOUND_SAMPLE*, void*, void*, unsigned int, unsigned int) { return true; }
void FSOUND_Sample_Free(FSOUND_SAMPLE*) {}

namespace {

TEST(SoundPlayerMessages, EachFailureShowsItsOwnBox) {
  struct Row {
    std::function<void()> script;
    std::function<void(SoundPlayerFMOD&)> call;
    const char* text;
  };
  std::vector<float> points;
  const Row rows[] = {
      {[] { library.version = 3.4f; }, [](SoundPlayerFMOD& p) { EXPECT_FALSE(p.init()); },
       "Incompatible version of FMOD (expecting : 3.500000, has : 3.400000)."},
      {[] { library.starts = false; }, [](SoundPlayerFMOD& p) { EXPECT_FALSE(p.init()); }, "FMOD Init Failed"},
      {[] { library.opens = false; }, [](SoundPlayerFMOD& p) { p.openSoundtrack("missing.ogg"); },
       "File not found or not a Stream."},
      {[] { library.opens = false; }, [](SoundPlayerFMOD& p) { p.openPreview("picture.png"); }, "File is not a Stream."},
      {[] {}, [](SoundPlayerFMOD& p) { p.playPreview(); }, "No stream openned."},
      {[] {}, [](SoundPlayerFMOD& p) { p.stopPreview(); }, "No stream openned."},
      {[] { library.loads = false; }, [&](SoundPlayerFMOD& p) { p.extractWaveform(points, "song.ogg", 100.0f); },
       "Not possible to load the soundtrack"},
      {[] { library.locks = false; }, [&](SoundPlayerFMOD& p) { p.extractWaveform(points, "song.ogg", 100.0f); },
       "Unable to lock the sample."},
  };
  const platform::MessageBoxHandler previous = platform::setMessageBoxHandler(record);
  for (const Row& row : rows) {
    library = Library{};
    row.script();
    boxes.clear();
    SoundPlayerFMOD player;
    row.call(player);
    EXPECT_EQ(boxes, std::vector<std::string>{std::string("SoundPlayerFMOD::MessageBox: ") + row.text});
  }
  // With the library as it should be, none of the calls before has anything to say.
  library = Library{};
  boxes.clear();
  SoundPlayerFMOD player;
  EXPECT_TRUE(player.init());
  player.openSoundtrack("song.ogg");
  player.openPreview("song.ogg");
  player.playPreview();
  player.extractWaveform(points, "song.ogg", 100.0f);
  EXPECT_TRUE(boxes.empty()) << boxes.front();
  platform::setMessageBoxHandler(previous);
}

}  // namespace
