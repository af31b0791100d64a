#include "sound/fsound/fsound.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "platform/whole_file.h"
#ifdef _WIN32
#include <windows.h>
#endif
#include "sound/fsound/sound_system.h"

struct FSOUND_SAMPLE {
  std::vector<int16_t> data;
  bool locked = false;
};

namespace {

constexpr float kVersion = 3.5f;
constexpr int kMixRate = tssound::StereoStream::kRate;
// The largest sound file read, and the longest sample: twenty minutes at 48 kHz.
constexpr size_t kMaxFileBytes = size_t{1} << 30;
constexpr size_t kMaxSampleSamples = size_t{20} * 60 * 48000;
constexpr size_t kDecodeFrames = 4096;

std::unique_ptr<fsound::SoundSystem> theSystem;
std::vector<std::unique_ptr<FSOUND_SAMPLE>> theSamples;

#ifdef _WIN32
// While the mixing thread runs, the module holds a reference to itself: unloading it would
// stop the thread under the loader's lock, which the thread needs to end.
HMODULE ownModule = nullptr;

void holdModule(bool held) {
  if (held) {
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCSTR>(&holdModule), &ownModule);
  } else if (ownModule) {
    FreeLibrary(ownModule);
    ownModule = nullptr;
  }
}
#else
void holdModule(bool) {}
#endif

std::unique_ptr<tssound::Decoder> decoderOf(const char* path) {
  std::vector<uint8_t> bytes;
  if (!path || !platform::readWholeFile(path, bytes, kMaxFileBytes)) return nullptr;
  std::string error;
  return tssound::openDecoder(std::move(bytes), &error);
}

// The sound's channels averaged into one; false when it is damaged or too long.
bool decodeMono(tssound::Decoder& decoder, std::vector<int16_t>& mono) {
  const auto channels = static_cast<size_t>(decoder.channels());
  std::vector<int16_t> frames(kDecodeFrames * channels);
  for (size_t got; (got = decoder.read(frames.data(), kDecodeFrames)) > 0;) {
    if (mono.size() + got > kMaxSampleSamples) return false;
    for (size_t f = 0; f < got; ++f) {
      int32_t total = 0;
      for (size_t c = 0; c < channels; ++c) total += frames[f * channels + c];
      mono.push_back(static_cast<int16_t>(total / static_cast<int32_t>(channels)));
    }
  }
  return decoder.error().empty();
}

bool knownSample(const FSOUND_SAMPLE* sample) {
  return sample && std::any_of(theSamples.begin(), theSamples.end(), [&](const auto& s) { return s.get() == sample; });
}

}  // namespace

float FSOUND_GetVersion() { return kVersion; }

bool FSOUND_Init(int mixRate, int softwareChannels, unsigned int) {
  if (theSystem || mixRate != kMixRate || softwareChannels <= 0) return false;
  std::unique_ptr<fsound::Output> output = fsound::openDeviceOutput();
  if (!output) output = fsound::openSilentOutput();
  theSystem = std::make_unique<fsound::SoundSystem>(std::move(output), softwareChannels);
  holdModule(true);
  return true;
}

void FSOUND_Close() {
  theSystem.reset();
  theSamples.clear();
  holdModule(false);
}

void fsound::abandonAtProcessExit() {
  static_cast<void>(theSystem.release());
#ifdef _WIN32
  ownModule = nullptr;  // the process's end unloads it
#endif
}

// Streams play from the start once and stop at the end: looping is never asked for.
FSOUND_STREAM* FSOUND_Stream_OpenFile(const char* path, unsigned int, int) {
  if (!theSystem) return nullptr;
  std::unique_ptr<tssound::Decoder> decoder = decoderOf(path);
  return decoder ? theSystem->open(std::move(decoder)) : nullptr;
}

int FSOUND_Stream_Play(int channel, FSOUND_STREAM* stream) {
  return theSystem ? theSystem->play(channel, stream) : -1;
}

bool FSOUND_Stream_Stop(FSOUND_STREAM* stream) { return theSystem && theSystem->stop(stream); }

bool FSOUND_Stream_Close(FSOUND_STREAM* stream) { return theSystem && theSystem->close(stream); }

bool FSOUND_Stream_SetTime(FSOUND_STREAM* stream, int milliseconds) {
  return theSystem && theSystem->setTime(stream, milliseconds);
}

int FSOUND_Stream_GetTime(FSOUND_STREAM* stream) { return theSystem ? theSystem->time(stream) : 0; }

bool FSOUND_SetPan(int channel, int pan) { return theSystem && theSystem->setPan(channel, pan); }

// The mode asks for one channel of signed 16-bit samples, the only form a sample takes here;
// the slot and the length are left to the library.
FSOUND_SAMPLE* FSOUND_Sample_Load(int, const char* path, unsigned int, int) {
  if (!theSystem) return nullptr;
  std::unique_ptr<tssound::Decoder> decoder = decoderOf(path);
  auto sample = std::make_unique<FSOUND_SAMPLE>();
  if (!decoder || !decodeMono(*decoder, sample->data)) return nullptr;
  theSamples.push_back(std::move(sample));
  return theSamples.back().get();
}

unsigned int FSOUND_Sample_GetLength(FSOUND_SAMPLE* sample) {
  return knownSample(sample) ? static_cast<unsigned int>(sample->data.size()) : 0;
}

bool FSOUND_Sample_Lock(FSOUND_SAMPLE* sample, int offset, int length, void** first, void** second,
                        unsigned int* firstBytes, unsigned int* secondBytes) {
  const size_t bytes = knownSample(sample) ? sample->data.size() * sizeof(int16_t) : 0;
  if (!knownSample(sample) || sample->locked || offset < 0 || length < 0 ||
      static_cast<size_t>(offset) + static_cast<size_t>(length) > bytes)
    return false;
  sample->locked = true;
  *first = reinterpret_cast<uint8_t*>(sample->data.data()) + offset;
  *second = nullptr;
  *firstBytes = static_cast<unsigned int>(length);
  *secondBytes = 0;
  return true;
}

bool FSOUND_Sample_Unlock(FSOUND_SAMPLE* sample, void*, void*, unsigned int, unsigned int) {
  if (!knownSample(sample) || !sample->locked) return false;
  sample->locked = false;
  return true;
}

void FSOUND_Sample_Free(FSOUND_SAMPLE* sample) {
  theSamples.erase(std::remove_if(theSamples.begin(), theSamples.end(), [&](const auto& s) { return s.get() == sample; }),
                   theSamples.end());
}
