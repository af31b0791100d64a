#include "scenebuild/import/folder_files.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "platform/whole_file.h"

namespace tsimport {

bool FolderFiles::staysInside(const std::string& name) {
  if (name.empty() || name[0] == '/' || name[0] == '\\' || name.find(':') != std::string::npos) return false;
  size_t start = 0;
  while (start <= name.size()) {
    size_t end = name.find_first_of("/\\", start);
    if (end == std::string::npos) end = name.size();
    if (name.compare(start, end - start, "..") == 0 && end - start == 2) return false;
    start = end + 1;
  }
  return true;
}

bool FolderFiles::readBounded(const std::string& path, std::vector<uint8_t>& bytes) {
  std::error_code failed;
  const auto size = std::filesystem::file_size(path, failed);
  return !failed && size <= kMaxFileBytes && platform::readWholeFile(path, bytes, kMaxFileBytes);
}

bool FolderFiles::exists(const std::string& name) {
  if (!staysInside(name)) {
    if (refused.empty()) refused = name;
    return false;
  }
  std::FILE* file = std::fopen((folder + "/" + name).c_str(), "rb");
  if (!file) return false;
  std::fclose(file);
  return true;
}

bool FolderFiles::read(const std::string& name, std::vector<uint8_t>& bytes, std::string& error) {
  if (!staysInside(name)) {
    if (refused.empty()) refused = name;
    error = "'" + name + "' lies outside the model's folder";
    return false;
  }
  const std::string path = folder + "/" + name;
  std::error_code failed;
  const uint64_t size = std::filesystem::file_size(path, failed);
  if (!failed && size <= kMaxFileBytes && size > bytesLeft) {
    error = "'" + name + "' would take the files the model names past " + std::to_string(maxTotal >> 20) +
            " MB together (a file counts each time it is named)";
    return false;
  }
  if (!readBounded(path, bytes)) {
    error = "'" + name + "' is missing, unreadable or larger than " + std::to_string(kMaxFileBytes >> 20) + " MB";
    return false;
  }
  bytesLeft -= std::min<uint64_t>(bytes.size(), bytesLeft);
  return true;
}

}  // namespace tsimport
