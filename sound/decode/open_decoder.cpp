#include "sound/decode/decoder.h"
#include "sound/decode/mp3.h"
#include "sound/decode/ogg.h"
#include "sound/decode/wav.h"

namespace tssound {

std::unique_ptr<Decoder> openDecoder(std::vector<uint8_t> bytes, std::string* error) {
  if (isWav(bytes.data(), bytes.size())) return openWav(std::move(bytes), error);
  if (isOgg(bytes.data(), bytes.size())) return openOgg(std::move(bytes), error);
  if (isMp3(bytes.data(), bytes.size())) return openMp3(std::move(bytes), error);
  *error = "not a sound file that plays here (WAV, Ogg Vorbis or MP3)";
  return nullptr;
}

}  // namespace tssound
