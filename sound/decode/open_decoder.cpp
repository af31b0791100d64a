#include "sound/decode/decoder.h"
#include "sound/decode/wav.h"

namespace tssound {

std::unique_ptr<Decoder> openDecoder(std::vector<uint8_t> bytes, std::string* error) {
  if (isWav(bytes.data(), bytes.size())) return openWav(std::move(bytes), error);
  *error = "not a sound file that plays here (WAV)";
  return nullptr;
}

}  // namespace tssound
