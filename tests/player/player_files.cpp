#include "tests/player/player_files.h"

#include <windows.h>

#include <cstdio>

namespace player_files {

std::string binaryFolder() {
  char path[MAX_PATH];
  const std::string program(path, GetModuleFileNameA(nullptr, path, MAX_PATH));
  return program.substr(0, program.find_last_of('\\'));
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

std::string write(const std::string& folder, const std::string& name, const std::string& bytes) {
  const std::string path = folder + "\\" + name;
  if (FILE* file = std::fopen(path.c_str(), "wb")) {
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
  }
  return path;
}

}  // namespace player_files
