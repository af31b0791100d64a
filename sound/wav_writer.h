#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tssound {

// Interleaved signed 16-bit samples as the bytes of a PCM WAV file.
std::vector<uint8_t> encodeWav(const std::vector<int16_t>& samples, int channels, int rate);

// As a file that appears whole or not at all; false when it can't be written.
bool writeWav(const std::string& path, const std::vector<int16_t>& samples, int channels, int rate);

}  // namespace tssound
