#include <bzlib.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "io/persistence.h"
#include "io/stream_bzip2.h"
#include "io/stream_file.h"
#include "io/stream_memory.h"
#include "tests/io/test_files.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

namespace {

using Bytes = std::vector<uint8_t>;

int32_t int32At(const Bytes& bytes, size_t offset) {
  int32_t value = 0;
  std::memcpy(&value, bytes.data() + offset, 4);
  return value;
}

// The whole compressed form of payload: "IOBZ", two lengths, the bzip2 stream.
Bytes packed(const Bytes& payload) {
  tsio::OutStreamMemory target;
  {
    tsio::OutStreamBzip2 out(&target, false);
    if (!payload.empty()) out.writeBytes(payload.data(), static_cast<uint32_t>(payload.size()));
  }
  return target.bytes();
}

Bytes somePayload() {
  Bytes payload;
  for (int i = 0; i < 3000; ++i) payload.push_back(static_cast<uint8_t>((i * 7) % 13));
  return payload;
}

// An InStreamBzip2 over a compressed form, read from behind its magic.
std::unique_ptr<tsio::InStreamBzip2> unpacking(const Bytes& file) {
  auto* source = new tsio::InStreamMemory;
  source->setRange(file.data(), static_cast<int32_t>(file.size()));
  uint32_t magic = 0;
  source->readUint32(&magic);
  return std::make_unique<tsio::InStreamBzip2>(source, true);
}

void setInt32(Bytes& bytes, size_t offset, int32_t value) { std::memcpy(bytes.data() + offset, &value, 4); }

TEST(Bzip2Layout, MagicTwoLengthsThenABzip2StreamOfBlockSizeOne) {
  std::unique_ptr<tstest::Node> graph(tstest::makeSampleGraph());
  const Bytes plain = tstest::storeToBytes(graph.get(), 0);
  const Bytes file = tstest::storeToBytes(graph.get(), 1);
  ASSERT_GT(file.size(), 16u);
  EXPECT_EQ(Bytes(file.begin(), file.begin() + 4), (Bytes{0x49, 0x4F, 0x42, 0x5A}));
  const int32_t length = int32At(file, 4);
  const int32_t packedLength = int32At(file, 8);
  EXPECT_EQ(length, static_cast<int32_t>(plain.size()) - 4);  // the object stream, without "NONE"
  EXPECT_EQ(packedLength, static_cast<int32_t>(file.size()) - 12);
  EXPECT_EQ(Bytes(file.begin() + 12, file.begin() + 16), (Bytes{'B', 'Z', 'h', '1'}));

  // The library alone gives back the object stream.
  std::vector<char> unpacked(static_cast<size_t>(length) + 16);
  auto unpackedLength = static_cast<unsigned int>(unpacked.size());
  std::vector<char> block(file.begin() + 12, file.end());
  ASSERT_EQ(BZ2_bzBuffToBuffDecompress(unpacked.data(), &unpackedLength, block.data(),
                                       static_cast<unsigned int>(block.size()), 0, 0),
            BZ_OK);
  ASSERT_EQ(unpackedLength, static_cast<unsigned int>(length));
  EXPECT_TRUE(std::equal(plain.begin() + 4, plain.end(), reinterpret_cast<const uint8_t*>(unpacked.data())));
}

TEST(OutStreamBzip2, PositionCountsTheObjectStreamOnly) {
  tsio::OutStreamMemory target;
  tsio::OutStreamBzip2 out(&target, false);
  EXPECT_EQ(out.position(), 0);
  out.writeUint32(1);
  out.writeUint32(2);
  out.patchUint32(0, 9);
  EXPECT_EQ(out.position(), 8);
  EXPECT_TRUE(target.bytes().empty());  // nothing reaches the target before the end
}

TEST(OutStreamBzip2, DeletingTheStreamIsWhatWritesTheFile) {
  tstest::TempPath path(".ts2");
  std::unique_ptr<tstest::Node> graph(tstest::makeSampleGraph());
  tsio::OutStream* out = tsio::openOutStream(path.path, 1);
  ASSERT_NE(out, nullptr);
  out->writeObject(graph.get());
  EXPECT_TRUE(tstest::fileExists(path.path));
  EXPECT_TRUE(tstest::fileBytes(path.path).empty());
  delete out;
  const Bytes file = tstest::fileBytes(path.path);
  ASSERT_GE(file.size(), 4u);
  EXPECT_EQ(Bytes(file.begin(), file.begin() + 4), (Bytes{'I', 'O', 'B', 'Z'}));
}

TEST(OutStreamBzip2, ClosedTargetDropsTheContentSilently) {
  tstest::RecordingTracer tracer;
  auto* file = new tsio::OutStreamFile("");
  ASSERT_FALSE(file->isOpen());
  {
    tsio::OutStreamBzip2 out(file, true);
    EXPECT_FALSE(out.isOpen());
    out.writeUint32(5);
  }
  EXPECT_TRUE(tracer.messages.empty());
}

TEST(OutStreamBzip2, EmptyObjectStreamIsReportedAndNothingIsWritten) {
  tstest::RecordingTracer tracer;
  EXPECT_TRUE(packed({}).empty());
  EXPECT_EQ(tracer.texts('b'),
            (std::vector<std::string>{"TSIO : Compression failed (bzip2 result -2): the file stays empty"}));
}

TEST(InStreamBzip2, ReadsFromMemoryWhatWasPacked) {
  const Bytes payload = somePayload();
  std::unique_ptr<tsio::InStreamBzip2> in = unpacking(packed(payload));
  ASSERT_TRUE(in->isOpen());
  EXPECT_EQ(in->size(), 3000);
  Bytes back(3000);
  in->readBytes(back.data(), 3000);
  EXPECT_EQ(back, payload);
  EXPECT_TRUE(in->isGood());
  uint8_t more = 0;
  in->readUint8(&more);
  EXPECT_FALSE(in->isGood());
}

// Unpacks a damaged form: the stream must not be open, and one message must say why.
std::string refusal(const Bytes& file) {
  tstest::RecordingTracer tracer;
  std::unique_ptr<tsio::InStreamBzip2> in = unpacking(file);
  EXPECT_FALSE(in->isOpen());
  EXPECT_EQ(tracer.messages.size(), 1u);
  return tracer.messages.empty() ? std::string() : tracer.messages[0].text;
}

std::string sizesMessage(int32_t packedLength, int32_t length, int32_t left) {
  return "TSIO : Unreadable file : a compressed block of " + std::to_string(packedLength) + " bytes (unpacking to " +
         std::to_string(length) + ") where " + std::to_string(left) + " bytes are left";
}

bool startsWith(const std::string& text, const std::string& prefix) { return text.rfind(prefix, 0) == 0; }

TEST(InStreamBzip2Damage, ImpossibleLengthsAreRefused) {
  const Bytes good = packed(somePayload());
  const auto left = static_cast<int32_t>(good.size()) - 12;
  Bytes file = good;
  setInt32(file, 4, -1);
  EXPECT_EQ(refusal(file), sizesMessage(left, -1, left));
  setInt32(file, 4, 0);
  EXPECT_EQ(refusal(file), sizesMessage(left, 0, left));
  file = good;
  setInt32(file, 8, left + 1);
  EXPECT_EQ(refusal(file), sizesMessage(left + 1, 3000, left));
  setInt32(file, 8, -5);
  EXPECT_EQ(refusal(file), sizesMessage(-5, 3000, left));
  file.resize(10);  // the second length cut off
  EXPECT_EQ(refusal(file), sizesMessage(0, 3000, 0));
}

TEST(InStreamBzip2Damage, BlockThatIsNoBzip2StreamIsRefused) {
  const std::string message = "TSIO : Unreadable file : the compressed block is not a bzip2 stream";
  Bytes file = packed(somePayload());
  file[12] = 'X';
  EXPECT_EQ(refusal(file), message);
  file = packed(somePayload());
  file[15] = '0';  // block size digits go from 1 to 9
  EXPECT_EQ(refusal(file), message);
}

TEST(InStreamBzip2Damage, LengthBeyondWhatTheBlockCanHoldIsRefusedBeforeUnpacking) {
  const Bytes good = packed(somePayload());
  const auto packedLength = static_cast<int32_t>(good.size()) - 12;
  // Each 16 bytes can hold at most one block of 100 k (block size 1), and 5 bytes of a block
  // unpack to at most 259.
  const int32_t bound = (packedLength / 16 + 1) * 100000 / 5 * 259;
  Bytes file = good;
  setInt32(file, 4, bound + 1);
  EXPECT_EQ(refusal(file), "TSIO : Unreadable file : a compressed block of " + std::to_string(packedLength) +
                               " bytes can't unpack to the " + std::to_string(bound + 1) + " bytes it declares");
  setInt32(file, 4, bound);  // allowed, and then found wrong by the library
  EXPECT_TRUE(startsWith(refusal(file), "TSIO : Unreadable file : the compressed block is damaged"));
}

TEST(InStreamBzip2Damage, LengthBeyondTheCapIsRefusedWhateverTheBlock) {
  // Enough bytes for a block of size 9 to reach past the cap by the bound alone.
  Bytes file = {'I', 'O', 'B', 'Z', 0, 0, 0, 0, 0, 0, 0, 0, 'B', 'Z', 'h', '9'};
  file.resize(12 + 16 * 40, 0);
  setInt32(file, 4, tsio::InStreamBzip2::kMaxUnpackedSize + 1);
  setInt32(file, 8, 16 * 40);
  EXPECT_EQ(refusal(file), "TSIO : Unreadable file : a compressed block of 640 bytes can't unpack to the "
                           "1073741825 bytes it declares");
}

TEST(InStreamBzip2Damage, WrongLengthOrDamagedDataIsFoundByTheLibrary) {
  const std::string prefix = "TSIO : Unreadable file : the compressed block is damaged";
  const Bytes good = packed(somePayload());
  Bytes file = good;
  setInt32(file, 4, 2999);
  EXPECT_TRUE(startsWith(refusal(file), prefix));
  setInt32(file, 4, 3001);
  EXPECT_TRUE(startsWith(refusal(file), prefix));
  file = good;
  file[good.size() / 2] ^= 0x10;
  EXPECT_TRUE(startsWith(refusal(file), prefix));
  file = good;
  file.resize(good.size() - 1);
  setInt32(file, 8, static_cast<int32_t>(file.size()) - 12);  // the stream's end is missing
  EXPECT_TRUE(startsWith(refusal(file), prefix));
}

}  // namespace
