#include "platform/whole_file.h"

#include <cstdio>

#ifdef _WIN32
#include <windows.h>
#endif

namespace platform {

bool writeWholeFile(const std::string& path, const void* data, size_t size) {
  const std::string partial = path + ".part";
  FILE* out = std::fopen(partial.c_str(), "wb");
  if (!out) return false;
  const bool written = size == 0 || std::fwrite(data, 1, size, out) == size;
  bool ok = std::fclose(out) == 0 && written;
#ifdef _WIN32
  ok = ok && MoveFileExA(partial.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
#else
  ok = ok && std::rename(partial.c_str(), path.c_str()) == 0;
#endif
  if (!ok) std::remove(partial.c_str());
  return ok;
}

bool readWholeFile(const std::string& path, std::vector<uint8_t>& bytes, size_t limit) {
  FILE* in = std::fopen(path.c_str(), "rb");
  if (!in) return false;
  bytes.clear();
  uint8_t block[65536];
  bool ok = true;
  for (size_t got; ok && (got = std::fread(block, 1, sizeof block, in)) > 0;) {
    ok = bytes.size() + got <= limit;
    if (ok) bytes.insert(bytes.end(), block, block + got);
  }
  ok = ok && !std::ferror(in);
  std::fclose(in);
  return ok;
}

}  // namespace platform
