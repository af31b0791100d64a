// ts2's file reader, the walk by the format's descriptions and the dump's printer on any bytes:
// they end, never crash, and all they report lies inside the data and in file order.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "io/chunk_walk.h"
#include "tools/body_printer.h"
#include "tools/persistence_file.h"

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

struct Checker : tstool::BodyPrinter {
  Checker(int64_t streamBase, size_t streamSize)
      : BodyPrinter(sink(), true), base(streamBase), end(streamBase + static_cast<int64_t>(streamSize)) {}

  static std::FILE* sink() {
    static std::FILE* file = std::fopen("/dev/null", "w");
    return file;
  }
  void at(int64_t offset, size_t bytes) {
    check(offset >= lastOffset && offset >= base && offset + static_cast<int64_t>(bytes) <= end);
    lastOffset = offset;
  }
  void chunk(const tsio::layout::ChunkHeader& c) override {
    at(c.offset, tsio::layout::kHeaderBytes + static_cast<size_t>(c.size));
    check(c.size >= 0 && c.depth >= 1 && c.depth <= tsio::layout::kMaxDepth && c.depth <= depth + 1);
    check(chunks == 0 || c.id > lastId);
    lastId = c.id;
    depth = c.depth;
    ++chunks;
    BodyPrinter::chunk(c);
  }
  void value(int64_t offset, const std::string& path, const tsio::layout::Field& field, const uint8_t* bytes,
             size_t size) override {
    at(offset, size);
    BodyPrinter::value(offset, path, field, bytes, size);
  }
  void object(int64_t offset, const std::string& path, const tsio::layout::ObjectWord& word) override {
    at(offset, 4);
    if (word.form == tsio::layout::ObjectWord::Form::Reference) {
      check(word.id <= lastId && word.targetOffset < offset);
      ++references;
    }
    BodyPrinter::object(offset, path, word);
  }

  const int64_t base, end;
  int64_t lastOffset = -1;
  size_t depth = 0, chunks = 0, references = 0;
  uint16_t lastId = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tstool::PersistenceFile file;
  tstool::Problem problem;
  if (!tstool::parsePersistenceFile(std::vector<uint8_t>(data, data + size), file, problem)) {
    check(problem.inFile && !problem.what.empty() && problem.offset >= 0 &&
          problem.offset <= static_cast<int64_t>(size));
    return 0;
  }
  Checker checker(file.offsetBase(), file.objectStream.size());
  const tsio::layout::WalkResult walk =
      tsio::layout::walkObjectStream(file.objectStream.data(), file.objectStream.size(), file.offsetBase(), &checker);
  check(walk.chunks == checker.chunks && walk.references == checker.references &&
        walk.depth <= tsio::layout::kMaxDepth);
  check(walk.ok ? walk.nullRoot || walk.rootCode != 0
                : !walk.fault.empty() && walk.faultOffset >= checker.base && walk.faultOffset <= checker.end);
  return 0;
}
