#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/controller/support.h"
#include "tests/geometry/geometry_support.h"

namespace tstest {

// The chunk classes of textures, stages and materials are registered for every test.
class MaterialChunkTest : public testing::Test {
 protected:
};

// Offsets in a plain file whose root is one chunk: magic, code, version, id, size, body.
constexpr size_t kRootVersionAt = 8;
constexpr size_t kRootSizeAt = 12;
constexpr size_t kRootBodyAt = 16;

inline uint32_t wordAt(const Bytes& bytes, size_t at) {
  return static_cast<uint32_t>(bytes[at]) | static_cast<uint32_t>(bytes[at + 1]) << 8 |
         static_cast<uint32_t>(bytes[at + 2]) << 16 | static_cast<uint32_t>(bytes[at + 3]) << 24;
}

inline void setWordAt(Bytes& bytes, size_t at, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

// The root chunk rewritten as an older version: count bytes at `at` leave the body.
inline Bytes olderRoot(Bytes file, uint16_t version, size_t at, size_t count) {
  file.erase(file.begin() + static_cast<std::ptrdiff_t>(at), file.begin() + static_cast<std::ptrdiff_t>(at + count));
  file[kRootVersionAt] = static_cast<uint8_t>(version);
  file[kRootVersionAt + 1] = 0;
  setWordAt(file, kRootSizeAt, wordAt(file, kRootSizeAt) - static_cast<uint32_t>(count));
  return file;
}

inline Bytes withRootVersion(Bytes file, uint16_t version) { return olderRoot(std::move(file), version, 0, 0); }

// A file on disk for the length of a test.
class TempFile {
 public:
  TempFile(std::string fileName, const Bytes& contents) : name(std::move(fileName)) {
    std::FILE* file = std::fopen(name.c_str(), "wb");
    EXPECT_NE(file, nullptr) << name;
    if (file) {
      std::fwrite(contents.data(), 1, contents.size(), file);
      std::fclose(file);
    }
  }
  ~TempFile() { std::remove(name.c_str()); }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  const std::string name;
};

}  // namespace tstest
