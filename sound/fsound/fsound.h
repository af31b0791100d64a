#pragma once

// The FSOUND functions of the sound library, version 3.5, that the soundtrack player calls,
// and nothing more. Streams decode step by step while they play; a sample is decoded whole.
// Everything plays through one output of 44,100 stereo frames a second, mixed on a thread of
// the library's own; each function may be called from the host's thread at any time.

struct FSOUND_STREAM;
struct FSOUND_SAMPLE;

constexpr int FSOUND_FREE = -1;       // any free channel; any free sample slot
constexpr int FSOUND_STEREOPAN = -1;  // both sides at full level, as the sound is
constexpr unsigned int FSOUND_LOOP_OFF = 0x1;
constexpr unsigned int FSOUND_16BITS = 0x10;
constexpr unsigned int FSOUND_MONO = 0x20;
constexpr unsigned int FSOUND_SIGNED = 0x100;
constexpr unsigned int FSOUND_INIT_GLOBALFOCUS = 0x2;

float FSOUND_GetVersion();
// Starts the output: the audio device when there is one, else a silent one that keeps time.
// Only a mixing rate of 44,100 is offered.
bool FSOUND_Init(int mixRate, int softwareChannels, unsigned int flags);
// Stops the output and closes every stream and sample still open.
void FSOUND_Close();

// Null when the file can't be read or holds no sound that a decoder takes.
FSOUND_STREAM* FSOUND_Stream_OpenFile(const char* path, unsigned int mode, int length);
// The channel that plays it, or -1. Playing starts at the stream's position.
int FSOUND_Stream_Play(int channel, FSOUND_STREAM* stream);
// Halts it where it is; the next play goes on from there.
bool FSOUND_Stream_Stop(FSOUND_STREAM* stream);
bool FSOUND_Stream_Close(FSOUND_STREAM* stream);
bool FSOUND_Stream_SetTime(FSOUND_STREAM* stream, int milliseconds);
// Milliseconds of the stream heard so far, counted from its start.
int FSOUND_Stream_GetTime(FSOUND_STREAM* stream);
bool FSOUND_SetPan(int channel, int pan);

// The whole sound as one channel of signed 16-bit samples at the file's own rate; null when
// it can't be decoded or is longer than a sample may be.
FSOUND_SAMPLE* FSOUND_Sample_Load(int index, const char* path, unsigned int mode, int length);
// In samples.
unsigned int FSOUND_Sample_GetLength(FSOUND_SAMPLE* sample);
// Bytes offset..offset+length of the data, all in the first part; fails outside the data or
// while the sample is locked already.
bool FSOUND_Sample_Lock(FSOUND_SAMPLE* sample, int offset, int length, void** first, void** second,
                        unsigned int* firstBytes, unsigned int* secondBytes);
bool FSOUND_Sample_Unlock(FSOUND_SAMPLE* sample, void* first, void* second, unsigned int firstBytes,
                          unsigned int secondBytes);
void FSOUND_Sample_Free(FSOUND_SAMPLE* sample);

namespace fsound {

// For the module's exit: the process is ending and the mixing thread is gone already, so the
// sound system is left as it is instead of being stopped.
void abandonAtProcessExit();

}  // namespace fsound
