#include "tests/player/player_files.h"

#include <windows.h>

#include <cstdio>

namespace player_files {

std::string binaryFolder() {
  char path[MAX_PATH];
  const DWORD size = GetModuleFileNameA(nullptr, path, MAX_PATH);
  std::string folder(path, size);
  return folder.substr(0, folder.find_last_of('\\'));
}

std::string scratchFolder(const std::string& name) {
  char base[MAX_PATH];
  GetCurrentDirectoryA(MAX_PATH, base);
  const std::string folder = std::string(base) + "\\" + name;
  CreateDirectoryA(folder.c_str(), nullptr);
  WIN32_FIND_DATAA found;
  HANDLE search = FindFirstFileA((folder + "\\*").c_str(), &found);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) DeleteFileA((folder + "\\" + found.cFileName).c_str());
    } while (FindNextFileA(search, &found));
    FindClose(search);
  }
  return folder;
}

std::string write(const std::string& folder, const std::string& name, const std::string& text) {
  const std::string path = folder + "\\" + name;
  FILE* file = std::fopen(path.c_str(), "wb");
  if (file) {
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
  }
  return path;
}

int countFiles(const std::string& folder) {
  int count = 0;
  WIN32_FIND_DATAA found;
  HANDLE search = FindFirstFileA((folder + "\\*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return 0;
  do {
    const std::string name = found.cFileName;
    if (name != "." && name != "..") ++count;
  } while (FindNextFileA(search, &found));
  FindClose(search);
  return count;
}

std::string solidBmp(int width, int height, uint8_t r, uint8_t g, uint8_t b) {
  const int rowBytes = (width * 3 + 3) & ~3;
  const int pixelBytes = rowBytes * height;
  std::string file(54 + pixelBytes, '\0');
  auto put = [&](size_t at, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) file[at + i] = static_cast<char>((value >> (8 * i)) & 0xff);
  };
  file[0] = 'B';
  file[1] = 'M';
  put(2, static_cast<uint32_t>(file.size()), 4);
  put(10, 54, 4);
  put(14, 40, 4);
  put(18, static_cast<uint32_t>(width), 4);
  put(22, static_cast<uint32_t>(height), 4);
  put(26, 1, 2);
  put(28, 24, 2);
  put(34, static_cast<uint32_t>(pixelBytes), 4);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const size_t at = 54 + static_cast<size_t>(y) * rowBytes + static_cast<size_t>(x) * 3;
      file[at] = static_cast<char>(b);
      file[at + 1] = static_cast<char>(g);
      file[at + 2] = static_cast<char>(r);
    }
  }
  return file;
}

}  // namespace player_files
