// ts2's file reader and tree walk on any bytes: they end, never crash, and all they report lies
// inside the data and in the order the format allows.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "tools/chunk_tree.h"
#include "tools/persistence_file.h"

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

struct Checker : tstool::TreeVisitor {
  Checker(int64_t streamBase, size_t streamSize) : base(streamBase), end(streamBase + static_cast<int64_t>(streamSize)) {}

  void chunk(const tstool::Chunk& c) override {
    check(c.offset > lastOffset && c.offset >= base && c.offset + 12 <= end && c.id == chunks++ && c.size >= 0);
    check(c.depth >= 1 && c.depth <= tstool::kMaxDepth && c.depth <= depth + 1 && (c.depth > 1 || c.offset == base));
    lastOffset = c.offset;
    depth = c.depth;
  }
  void reference(const tstool::Reference& r) override {
    check(r.offset > lastOffset && r.offset + 4 <= end && r.id < chunks && r.depth >= 1);
    lastOffset = r.offset;
    ++references;
  }

  const int64_t base, end;
  int64_t lastOffset = -1;
  size_t depth = 0, chunks = 0, references = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tstool::PersistenceFile file;
  tstool::Problem problem;
  if (!tstool::parsePersistenceFile(std::vector<uint8_t>(data, data + size), file, problem)) {
    check(problem.inFile && !problem.what.empty() && problem.offset >= 0 && problem.offset <= static_cast<int64_t>(size));
    return 0;
  }
  Checker checker(file.offsetBase(), file.objectStream.size());
  const tstool::WalkResult walk =
      tstool::walkObjectStream(file.objectStream.data(), file.objectStream.size(), file.offsetBase(), &checker);
  check(walk.chunks == checker.chunks && walk.references == checker.references && walk.chunks <= tstool::kMaxObjects &&
        walk.depth <= tstool::kMaxDepth);
  check(walk.ok ? walk.nullRoot || walk.chunks > 0
                : !walk.fault.empty() && walk.faultOffset >= checker.base && walk.faultOffset <= checker.end);
  return 0;
}
