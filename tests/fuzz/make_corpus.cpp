// Writes the seed corpora of the io fuzz targets with our own writer: persistence files of
// test graphs into the first folder, bzip2 blocks (what follows "IOBZ") into the second.
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "io/stream_bzip2.h"
#include "io/stream_memory.h"
#include "tests/persistence/contract.h"
#include "tests/support/test_chunks.h"

namespace {

using Bytes = std::vector<uint8_t>;

bool save(const std::string& path, const Bytes& bytes) {
  std::ofstream file(path, std::ios::binary);
  return file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size())).flush().good();
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
  if (argc != 3) return 2;  // usage: make_corpus <chunked folder> <bzip2 folder>
  const std::string chunked = argv[1], bzip2 = argv[2];
  std::unique_ptr<tstest::Node> sample(tstest::makeSampleGraph());
  const Bytes samplePlain = tstest::storeToBytes(sample.get(), 0);

  bool ok = save(chunked + "/sample_none", samplePlain) &&
            save(chunked + "/sample_iobz", tstest::storeToBytes(sample.get(), 1)) &&
            save(chunked + "/null_root", tstest::storeToBytes(nullptr, 0));

  for (const tstest::ChunkCase& row : tstest::controllerCases())
    ok = ok && save(chunked + "/controller_" + row.name, tstest::hexBytes(row.file));

  ok = ok && save(bzip2 + "/sample", block(Bytes(samplePlain.begin() + 4, samplePlain.end()))) &&
       save(bzip2 + "/zeros", block(Bytes(50000, 0))) && save(bzip2 + "/text", block(Bytes{'a', 'b', 'c'}));
  if (!ok) std::fprintf(stderr, "make_corpus: can't write the corpus\n");
  return ok ? 0 : 1;
}
