// Writes the seed corpora of the io fuzz targets with our own writer: persistence files of
// test graphs into the first folder, bzip2 blocks (what follows "IOBZ") into the second.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "io/stream_bzip2.h"
#include "io/stream_memory.h"
#include "tests/support/controller_samples.h"
#include "tests/support/test_chunks.h"

namespace {

using Bytes = std::vector<uint8_t>;

bool save(const std::string& path, const Bytes& bytes) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return std::fclose(file) == 0 && written;
}

tstest::Node* chain(int depth) {
  auto* root = new tstest::Node("chain");
  tstest::Node* last = root;
  for (int level = 1; level < depth; ++level) {
    auto* child = new tstest::Node;
    last->children.push_back(child);
    last = child;
  }
  last->link = root;
  return root;
}

tstest::Node* wide(int count) {
  auto* root = new tstest::Node("wide");
  for (int i = 0; i < count; ++i) root->children.push_back(new tstest::Leaf(i));
  root->blob.assign(64, 0xAB);
  return root;
}

Bytes block(const Bytes& payload) {
  tsio::OutStreamMemory target;
  {
    tsio::OutStreamBzip2 out(&target, false);
    out.writeBytes(payload.data(), static_cast<uint32_t>(payload.size()));
  }
  return Bytes(target.bytes().begin() + 4, target.bytes().end());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: make_corpus <chunked folder> <bzip2 folder>\n");
    return 2;
  }
  const std::string chunked = argv[1], bzip2 = argv[2];
  std::unique_ptr<tstest::Node> sample(tstest::makeSampleGraph());
  std::unique_ptr<tstest::Node> deep(chain(12));
  std::unique_ptr<tstest::Node> many(wide(20));
  tstest::Leaf leaf(42);
  const Bytes samplePlain = tstest::storeToBytes(sample.get(), 0);

  bool ok = save(chunked + "/sample_none", samplePlain) &&
            save(chunked + "/sample_iobz", tstest::storeToBytes(sample.get(), 1)) &&
            save(chunked + "/chain", tstest::storeToBytes(deep.get(), 0)) &&
            save(chunked + "/wide", tstest::storeToBytes(many.get(), 0)) &&
            save(chunked + "/leaf", tstest::storeToBytes(&leaf, 0)) &&
            save(chunked + "/null_root", tstest::storeToBytes(nullptr, 0));

  const std::vector<Bytes> controllers = tstest::controllerSampleFiles();
  for (size_t i = 0; i < controllers.size(); ++i)
    ok = ok && save(chunked + "/controller_" + std::to_string(i), controllers[i]);

  ok = ok && save(bzip2 + "/sample", block(Bytes(samplePlain.begin() + 4, samplePlain.end()))) &&
       save(bzip2 + "/zeros", block(Bytes(50000, 0))) && save(bzip2 + "/text", block(Bytes{'a', 'b', 'c'}));
  if (!ok) std::fprintf(stderr, "make_corpus: can't write the corpus\n");
  return ok ? 0 : 1;
}
