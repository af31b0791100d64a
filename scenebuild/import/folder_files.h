#pragma once

// The files a model names beside itself (buffers, images, material libraries), read only from
// the model's own folder and below, and only up to a size: a name that leaves the folder is
// refused, never opened.

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tsimport {

class FolderFiles {
 public:
  // Larger files are refused before anything is allocated for them.
  static constexpr size_t kMaxFileBytes = size_t(512) << 20;
  // All that one model's reads may bring in: a file is read again each time it is named, and
  // a small model can name one large file thousands of times.
  static constexpr uint64_t kMaxTotalBytes = uint64_t(1) << 30;

  explicit FolderFiles(std::string path, uint64_t maxTotalBytes = kMaxTotalBytes)
      : folder(std::move(path)), maxTotal(maxTotalBytes), bytesLeft(maxTotalBytes) {}

  // The folder joined with a relative name, as the parsers build paths from it.
  const std::string& base() const { return folder; }
  // Whether name (relative to the folder) stays inside it.
  static bool staysInside(const std::string& name);
  // Reads name (relative to the folder); false with error when it leaves the folder, is
  // missing, unreadable or too large, or would take the reads past their total. A name
  // leaving the folder is also remembered.
  bool read(const std::string& name, std::vector<uint8_t>& bytes, std::string& error);
  // Whether name (relative to the folder) is a file there; a name leaving the folder is
  // remembered, not looked for.
  bool exists(const std::string& name);
  // A file's bytes, refused before anything is read when it is larger than kMaxFileBytes.
  static bool readBounded(const std::string& path, std::vector<uint8_t>& bytes);
  // The first name that was refused for leaving the folder, empty if none.
  const std::string& refusedName() const { return refused; }

 private:
  std::string folder;
  std::string refused;
  uint64_t maxTotal, bytesLeft;
};

}  // namespace tsimport
