#include "materials/texture_file.h"

#include <windows.h>

#include <cstdio>

#include "io/trace.h"

namespace ts3d {

bool embedFile(const std::string& path, std::vector<uint8_t>& bytes) {
  bytes.clear();
  std::FILE* file = std::fopen(path.c_str(), "rb");
  bool read = false;
  if (file) {
    if (std::fseek(file, 0, SEEK_END) == 0) {
      const long size = std::ftell(file);
      if (size >= 0 && std::fseek(file, 0, SEEK_SET) == 0) {
        bytes.resize(static_cast<size_t>(size));
        read = std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size();
      }
    }
    std::fclose(file);
  }
  if (!read) {
    bytes.clear();
    traceWarnIf(true, "texture \"%s\" not embeddable.", path.c_str());
  }
  return read;
}

void reportUnreadableImage(const std::string& path) {
  const std::string line = "Filename : " + path + "\n";
  OutputDebugStringA(line.c_str());
}

}  // namespace ts3d
