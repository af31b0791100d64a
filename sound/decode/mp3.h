#pragma once

// MPEG audio (layer III, and I and II) through libmpg123, reading the bytes in memory.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sound/decode/decoder.h"

namespace tssound {

// An ID3v2 tag, or an MPEG audio frame header at the start.
bool isMp3(const uint8_t* bytes, size_t size);
std::unique_ptr<Decoder> openMp3(std::vector<uint8_t> bytes, std::string* error);

}  // namespace tssound
