#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

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

std::vector<uint8_t> hexBytes(const std::string& hex);
std::string hexOf(const std::vector<uint8_t>& bytes);

class ChunkContract : public testing::TestWithParam<ChunkCase> {};

struct CaseName {
  std::string operator()(const testing::TestParamInfo<ChunkCase>& info) const { return info.param.name; }
};

}  // namespace tstest
