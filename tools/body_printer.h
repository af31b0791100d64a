#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "io/chunk_walk.h"

// Prints a walk as ts2 dump shows it: a line per chunk and per field, indented by nesting,
// each with its offset. Arrays of plain values show their first few items unless full.
namespace tstool {

class BodyPrinter : public tsio::layout::WalkVisitor {
 public:
  BodyPrinter(std::FILE* target, bool showAll) : out(target), full(showAll) {}

  void chunk(const tsio::layout::ChunkHeader& chunk) override;
  void skipped(const tsio::layout::ChunkHeader& chunk) override;
  void chunkEnd(const tsio::layout::ChunkHeader& chunk) override;
  void value(int64_t offset, const std::string& path, const tsio::layout::Field& field, const uint8_t* bytes,
             size_t size) override;
  void object(int64_t offset, const std::string& path, const tsio::layout::ObjectWord& word) override;
  void arrayBegin(int64_t offset, const std::string& path, uint32_t count) override;
  void element(uint32_t index) override;
  void arrayEnd() override;

  // Items of an array shown unless full.
  static constexpr uint32_t kShownItems = 3;

 private:
  struct Array {
    std::string path;
    uint32_t count;
    uint32_t index;
    bool hid;  // a value of a later item was left out
  };
  // What a chunk's body shows: its arrays open at the moment.
  struct Frame {
    size_t depth;
    std::vector<Array> arrays;
  };

  bool hidden();
  void line(int64_t offset, const std::string& text);

  std::FILE* out;
  bool full;
  std::vector<Frame> frames;
};

// A value of a fixed-size kind, a string or raw bytes as text: numbers, vectors in brackets,
// named flags, quoted strings, bytes in hex (the first few unless full).
std::string valueText(const tsio::layout::Field& field, const uint8_t* bytes, size_t size, bool full);

}  // namespace tstool
