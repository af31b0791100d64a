#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

namespace tstest {

using Bytes = std::vector<uint8_t>;

// A persistence file written word by word, little-endian, starting with the magic "NONE".
class FileBuilder {
 public:
  FileBuilder() { code("NONE"); }
  FileBuilder& u8(uint8_t value) {
    bytes.push_back(value);
    return *this;
  }
  FileBuilder& u16(uint16_t value) { return u8(value & 0xFF).u8(static_cast<uint8_t>(value >> 8)); }
  FileBuilder& u32(uint32_t value) { return u16(value & 0xFFFF).u16(static_cast<uint16_t>(value >> 16)); }
  FileBuilder& f32(float value) {
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return u32(bits);
  }
  // The letters without a terminator.
  FileBuilder& text(const char* letters) {
    bytes.insert(bytes.end(), letters, letters + std::strlen(letters));
    return *this;
  }
  FileBuilder& code(const char (&letters)[5]) { return text(letters); }
  FileBuilder& append(const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return *this;
  }
  FileBuilder& header(const char (&letters)[5], uint16_t id, uint32_t size, uint16_t version = 1) {
    return code(letters).u16(version).u16(id).u32(size);
  }

  Bytes bytes;
};

}  // namespace tstest
