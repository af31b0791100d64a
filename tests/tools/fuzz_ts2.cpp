// ts2's file reader and tree walk on any bytes: they end, never crash, and all they report lies
// inside the data and in the order the format allows.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "tools/chunk_tree.h"
#include "tools/persistence_file.h"

namespace {

class Checker : public tstool::TreeVisitor {
 public:
  Checker(int64_t streamBase, size_t streamSize) : base(streamBase), end(streamBase + static_cast<int64_t>(streamSize)) {}

  void chunk(const tstool::Chunk& c) override {
    if (c.offset <= lastOffset || c.offset < base || c.offset + 12 > end) std::abort();
    if (c.id != chunks || c.depth < 1 || c.depth > tstool::kMaxDepth || c.depth > depth + 1 || c.size < 0) std::abort();
    if (c.depth == 1 && (chunks != 0 || c.offset != base)) std::abort();
    lastOffset = c.offset;
    depth = c.depth;
    ++chunks;
  }
  void reference(const tstool::Reference& r) override {
    if (r.offset <= lastOffset || r.offset + 4 > end || r.id >= chunks || r.depth < 1) std::abort();
    lastOffset = r.offset;
    ++references;
  }

  int64_t base;
  int64_t end;
  int64_t lastOffset = -1;
  size_t depth = 0;
  size_t chunks = 0;
  size_t references = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<uint8_t> bytes(data, data + size);
  tstool::PersistenceFile file;
  tstool::Problem problem;
  if (!tstool::parsePersistenceFile(bytes, file, problem)) {
    if (!problem.inFile || problem.what.empty() || problem.offset < 0 || problem.offset > static_cast<int64_t>(size))
      std::abort();
    return 0;
  }
  Checker checker(file.offsetBase(), file.objectStream.size());
  const tstool::WalkResult walk =
      tstool::walkObjectStream(file.objectStream.data(), file.objectStream.size(), file.offsetBase(), &checker);
  if (walk.chunks != checker.chunks || walk.references != checker.references) std::abort();
  if (walk.chunks > tstool::kMaxObjects || walk.depth > tstool::kMaxDepth) std::abort();
  if (!walk.ok && (walk.fault.empty() || walk.faultOffset < checker.base || walk.faultOffset > checker.end))
    std::abort();
  if (walk.ok && !walk.nullRoot && walk.chunks == 0) std::abort();
  return 0;
}
