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

}  // namespace player_files
