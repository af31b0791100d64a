#include "tests/support/heap_count.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

namespace {
long liveBlocks = 0;
}  // namespace

void* operator new(std::size_t size) {
  void* block = std::malloc(size ? size : 1);
  if (!block) throw std::bad_alloc();
  ++liveBlocks;
  return block;
}
void operator delete(void* block) noexcept {
  if (!block) return;
  --liveBlocks;
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

namespace tstest {

long liveHeapBlocks() { return liveBlocks; }

CountedRead readCounted(const std::vector<uint8_t>& file) {
  CountedRead read;
  {
    RecordingTracer tracer;
    std::unique_ptr<tsio::Serializable> root(loadFromBytes(file));
    read.loaded = root != nullptr;
    read.boxes = tracer.texts('b');
  }
  const long before = liveBlocks;
  {
    RecordingTracer tracer;
    std::unique_ptr<tsio::Serializable> root(loadFromBytes(file));
  }
  read.leaked = liveBlocks - before;
  return read;
}

void expectRefused(const std::vector<uint8_t>& file, const std::string& reason) {
  const CountedRead read = readCounted(file);
  EXPECT_FALSE(read.loaded);
  ASSERT_EQ(read.boxes.size(), 1u);
  EXPECT_NE(read.boxes[0].find(reason), std::string::npos) << read.boxes[0];
  EXPECT_EQ(read.leaked, 0);
}

void expectEveryCutRefused(const std::vector<uint8_t>& file) {
  const CountedRead whole = readCounted(file);
  ASSERT_TRUE(whole.loaded) << "the intact file must load";
  EXPECT_TRUE(whole.boxes.empty());
  EXPECT_EQ(whole.leaked, 0) << "an intact read, deleted, frees all too";
  for (size_t length = 4; length < file.size(); ++length) {
    SCOPED_TRACE("cut at " + std::to_string(length) + " of " + std::to_string(file.size()));
    expectRefused(std::vector<uint8_t>(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)), "");
  }
}

}  // namespace tstest
