#include "tests/persistence/contract.h"

#include <cctype>
#include <memory>

#include "tests/support/heap_count.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

namespace tstest {

std::vector<uint8_t> hexBytes(const std::string& hex) {
  std::vector<uint8_t> bytes;
  std::string digits;
  for (char c : hex)
    if (std::isxdigit(static_cast<unsigned char>(c))) digits += c;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  return bytes;
}

std::string hexOf(const std::vector<uint8_t>& bytes) {
  static const char digits[] = "0123456789ABCDEF";
  std::string hex;
  for (uint8_t byte : bytes) hex += {digits[byte >> 4], digits[byte & 15]};
  return hex;
}

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

}  // namespace
}  // namespace tstest
