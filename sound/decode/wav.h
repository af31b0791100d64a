#pragma once

// RIFF WAVE files of PCM samples: 8 or 16 bits, mono or stereo, any rate.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sound/decode/decoder.h"

namespace tssound {

bool isWav(const uint8_t* bytes, size_t size);
std::unique_ptr<Decoder> openWav(std::vector<uint8_t> bytes, std::string* error);

}  // namespace tssound
