#include "tests/persistence/contract.h"

#include <memory>

#include "io/chunk_registry.h"
#include "tests/support/heap_count.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

namespace tstest {

namespace {

std::string storedHex(tsio::Serializable* object) { return hexOf(storeToBytes(object, 0)); }

// The version word of the root chunk: after the magic and the chunk's code.
constexpr size_t kRootVersionAt = 8;

TEST_P(ChunkContract, StoreWritesTheExpectedFile) {
  std::unique_ptr<tsio::Serializable> object(GetParam().make());
  EXPECT_EQ(storedHex(object.get()), hexOf(hexBytes(GetParam().file)));
}

TEST_P(ChunkContract, LoadThenStoreGivesTheSameFile) {
  const std::vector<uint8_t> file = hexBytes(GetParam().file);
  RecordingTracer tracer;
  std::unique_ptr<tsio::Serializable> loaded(loadFromBytes(file));
  ASSERT_NE(loaded, nullptr) << tracer.texts('b').front();
  EXPECT_EQ(storedHex(loaded.get()), hexOf(file));
}

TEST_P(ChunkContract, AChunkOfAnotherVersionIsSkippedWhole) {
  const ChunkCase& row = GetParam();
  if (row.lowest == 0 && row.highest == kAnyVersion) GTEST_SKIP() << "the class reads every version alike";
  std::unique_ptr<tsio::Serializable> blank(row.blank());
  for (int version : {row.lowest - 1, row.highest + 1}) {
    if (version < 0 || version > kAnyVersion) continue;
    SCOPED_TRACE("version " + std::to_string(version));
    std::vector<uint8_t> file = hexBytes(row.file);
    file[kRootVersionAt] = static_cast<uint8_t>(version);
    file[kRootVersionAt + 1] = static_cast<uint8_t>(version >> 8);
    RecordingTracer tracer;
    std::unique_ptr<tsio::Serializable> loaded(loadFromBytes(file));
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(storedHex(loaded.get()), storedHex(blank.get()));
  }
}

TEST_P(ChunkContract, EveryCutIsRefusedAndFreesWhatItRead) { expectEveryCutRefused(hexBytes(GetParam().file)); }

TEST_P(ChunkContract, TheFormatDescriptionWalksWhatStoreWrites) {
  std::unique_ptr<tsio::Serializable> object(GetParam().make());
  expectDescribed(storeToBytes(object.get(), 0));
}

// A class registered without a description of its body fails here; the test's own chunks aside.
TEST(ChunkFormats, EveryRegisteredCodeIsDescribed) {
  for (const auto& [code, registrer] : *tsio::chunkRegistry()) {
    if (code == Node::kCode || code == Leaf::kCode) continue;
    EXPECT_NE(tsio::layout::findFormat(code), nullptr) << tsio::layout::codeText(code);
  }
}

// The controllers' rows are shared (see contract.h), so they are instantiated here.
INSTANTIATE_TEST_SUITE_P(Controllers, ChunkContract, testing::ValuesIn(controllerCases()), CaseName());

}  // namespace
}  // namespace tstest
