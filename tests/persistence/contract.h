#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "io/chunk_walk.h"
#include "io/serializable.h"

// The persistence contract every chunk class keeps, as one table: a row per class, checked by
// the tests of contract_test.cpp. Each folder of classes gives its rows in a *_rows.cpp file.
namespace tstest {

// A class that reads every version of its chunk alike.
constexpr int kAnyVersion = 0xFFFF;

struct ChunkCase {
  std::string name;                            // the row's name in the test list
  std::function<tsio::Serializable*()> make;   // an object whose stored fields are all away from their defaults
  std::function<tsio::Serializable*()> blank;  // the object as its class constructs it
  std::string file;  // the persistence file store writes, in hex; blanks and '|' between fields are ignored
  int lowest = 0;    // the versions load reads; a chunk of any other version is skipped whole
  int highest = 0;
};

template <class T>
ChunkCase chunkCase(std::string name, std::function<tsio::Serializable*()> make, std::string file, int lowest,
                    int highest) {
  return {std::move(name), std::move(make), [] { return static_cast<tsio::Serializable*>(new T); }, std::move(file),
          lowest, highest};
}

inline void PrintTo(const ChunkCase& row, std::ostream* out) { *out << row.name; }

inline std::vector<uint8_t> hexBytes(const std::string& hex) {
  std::vector<uint8_t> bytes;
  std::string digits;
  for (char c : hex)
    if (std::isxdigit(static_cast<unsigned char>(c))) digits += c;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  return bytes;
}

inline std::string hexOf(const std::vector<uint8_t>& bytes) {
  static const char digits[] = "0123456789ABCDEF";
  std::string hex;
  for (uint8_t byte : bytes) hex += {digits[byte >> 4], digits[byte & 15]};
  return hex;
}

// ts2's walk by the description of the bodies takes the whole of a NONE file: every body ends
// where its chunk does, and no body is stepped over as unknown or of an unread version.
inline void expectDescribed(const std::vector<uint8_t>& file) {
  constexpr size_t kMagicBytes = 4;
  const tsio::layout::WalkResult walk =
      tsio::layout::walkObjectStream(file.data() + kMagicBytes, file.size() - kMagicBytes, kMagicBytes, nullptr);
  EXPECT_TRUE(walk.ok) << walk.fault;
  EXPECT_EQ(walk.skipped, 0u);
}

// A row of each controller class: also the seeds of their damage test and of the fuzz corpus.
const std::vector<ChunkCase>& controllerCases();

class ChunkContract : public testing::TestWithParam<ChunkCase> {};

struct CaseName {
  std::string operator()(const testing::TestParamInfo<ChunkCase>& info) const { return info.param.name; }
};

}  // namespace tstest
