#pragma once

// Ogg Vorbis through libvorbisfile, reading the bytes in memory.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sound/decode/decoder.h"

namespace tssound {

bool isOgg(const uint8_t* bytes, size_t size);
std::unique_ptr<Decoder> openOgg(std::vector<uint8_t> bytes, std::string* error);

}  // namespace tssound
