#include "scene/typed_read.h"

#include <cstdint>
#include <cstdio>

namespace ts3d {

std::string describeNextObject(tsio::InStream& in) {
  if (in.remaining() < 4) return "nothing";
  const int32_t at = in.tell();
  uint32_t word = 0;
  in.readUint32(&word);
  in.seek(at);
  if (word == 0) return "null";
  char text[48];
  if (word & 0x80000000u) {
    std::snprintf(text, sizeof text, "the object with id %u", static_cast<unsigned>(word & 0xFFFFu));
    return text;
  }
  // Letters of a hostile file show as '?'.
  std::string code = "a ";
  for (int i = 0; i < 4; ++i) {
    const char c = static_cast<char>((word >> (8 * i)) & 0xFF);
    code += c >= 0x20 && c < 0x7F ? c : '?';
  }
  return code;
}

}  // namespace ts3d
