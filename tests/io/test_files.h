#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace tstest {

// A file name in the working folder, unique to the running test, removed at the end.
class TempPath {
 public:
  explicit TempPath(const char* suffix) {
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    path = std::string("io_") + test->test_suite_name() + "_" + test->name() + suffix;
    std::remove(path.c_str());
  }
  ~TempPath() { std::remove(path.c_str()); }
  TempPath(const TempPath&) = delete;
  TempPath& operator=(const TempPath&) = delete;

  std::string path;
};

inline std::vector<uint8_t> fileBytes(const std::string& path) {
  std::vector<uint8_t> bytes;
  if (std::FILE* file = std::fopen(path.c_str(), "rb")) {
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) bytes.push_back(static_cast<uint8_t>(c));
    std::fclose(file);
  }
  return bytes;
}

inline void writeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), file);
  std::fclose(file);
}

inline bool fileExists(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file) std::fclose(file);
  return file != nullptr;
}

}  // namespace tstest
