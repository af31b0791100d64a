#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "io/serializable.h"
#include "io/stream_composite.h"
#include "io/stream_file.h"
#include "io/stream_memory.h"
#include "tests/io/test_files.h"
#include "tests/support/test_chunks.h"

namespace {

using Bytes = std::vector<uint8_t>;

TEST(OutStreamMemory, TypedValuesAreTheirLittleEndianImages) {
  tsio::OutStreamMemory out;
  out.writeFloat(1.0f);
  out.writeDouble(-2.0);
  out.writeInt32(-2);
  out.writeUint32(0x12345678u);
  out.writeInt16(-3);
  out.writeUint16(0xABCD);
  out.writeInt8(-1);
  out.writeUint8(0x7F);
  out.writeBool(true);
  out.writeBool(false);
  const Bytes expected = {0x00, 0x00, 0x80, 0x3F,                          // 1.0f
                          0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xC0,  // -2.0
                          0xFE, 0xFF, 0xFF, 0xFF,                          // -2
                          0x78, 0x56, 0x34, 0x12,                          // 0x12345678
                          0xFD, 0xFF,                                      // -3
                          0xCD, 0xAB,                                      // 0xABCD
                          0xFF, 0x7F, 0x01, 0x00};
  EXPECT_EQ(out.bytes(), expected);
  EXPECT_EQ(out.position(), 28);
}

TEST(OutStreamMemory, StringsEndWithOneZeroByteAndEmptyStringIsJustIt) {
  tsio::OutStreamMemory out;
  EXPECT_EQ(out.position(), 0);
  out.writeCString("");
  out.writeString("");
  out.writeString("ab");
  out.writeCString("c");
  EXPECT_EQ(out.bytes(), (Bytes{0, 0, 'a', 'b', 0, 'c', 0}));
}

TEST(OutStreamMemory, PatchOverwritesInPlaceWithoutChangingLength) {
  tsio::OutStreamMemory out;
  out.writeUint32(0);
  out.writeUint8(9);
  out.patchUint32(0, 0xA1B2C3D4u);
  out.writeUint8(8);
  EXPECT_EQ(out.bytes(), (Bytes{0xD4, 0xC3, 0xB2, 0xA1, 9, 8}));
  out.patchUint32(3, 0xFFFFFFFFu);  // would reach past the end: ignored
  EXPECT_EQ(out.bytes(), (Bytes{0xD4, 0xC3, 0xB2, 0xA1, 9, 8}));
}

TEST(PlainStreams, NullObjectIsFourZeroBytesAndObjectsAreWrittenAgainEachTime) {
  tsio::OutStreamMemory out;
  out.writeObject(nullptr);
  tstest::Leaf leaf(5);
  out.writeObject(&leaf);
  out.writeObject(&leaf);
  // No headers on a plain stream: 4 + twice the 13-byte body.
  ASSERT_EQ(out.bytes().size(), 4u + 13u + 13u);
  EXPECT_EQ(Bytes(out.bytes().begin(), out.bytes().begin() + 8), (Bytes{0, 0, 0, 0, 5, 0, 0, 0}));
  EXPECT_EQ(Bytes(out.bytes().begin() + 17, out.bytes().begin() + 21), (Bytes{5, 0, 0, 0}));

  tstest::TempPath path(".bin");
  {
    tsio::OutStreamFile file(path.path);
    file.writeObject(nullptr);
  }
  EXPECT_EQ(tstest::fileBytes(path.path), (Bytes{0, 0, 0, 0}));
}

TEST(InStreamMemory, ReadsEveryTypeAndKnowsSizeAndPosition) {
  const Bytes data = {0x00, 0x00, 0x80, 0x3F, 0xFE, 0xFF, 0xFF, 0xFF, 0xCD, 0xAB, 0x02, 'h', 'i', 0, 0xFF};
  tsio::InStreamMemory in;
  EXPECT_FALSE(in.isOpen());
  in.setRange(data.data(), static_cast<int32_t>(data.size()));
  EXPECT_TRUE(in.isOpen());
  EXPECT_EQ(in.size(), 15);
  float f = 0;
  int32_t i = 0;
  uint16_t u = 0;
  bool b = false;
  std::string s = "old";
  in.readFloat(&f);
  in.readInt32(&i);
  in.readUint16(&u);
  in.readBool(&b);
  in.readString(s);
  EXPECT_EQ(f, 1.0f);
  EXPECT_EQ(i, -2);
  EXPECT_EQ(u, 0xABCD);
  EXPECT_TRUE(b);  // any non-zero byte
  EXPECT_EQ(s, "hi");
  EXPECT_EQ(in.tell(), 14);  // behind the 0 byte
  EXPECT_EQ(in.remaining(), 1);
  in.seek(4);
  in.skip(4);
  in.readUint16(&u);
  EXPECT_EQ(u, 0xABCD);
  EXPECT_TRUE(in.isGood());
}

TEST(InStreamMemory, ReadBeyondTheEndStopsThereAndLeavesTheDestinationAlone) {
  const Bytes data = {1, 2, 3};
  tsio::InStreamMemory in;
  in.setRange(data.data(), 3);
  uint8_t first = 0;
  in.readUint8(&first);
  int32_t value = 77;
  in.readInt32(&value);
  EXPECT_EQ(first, 1);
  EXPECT_EQ(value, 77);
  EXPECT_FALSE(in.isGood());
  EXPECT_EQ(in.tell(), 3);
  EXPECT_EQ(in.remaining(), 0);
  bool flag = true;
  in.readBool(&flag);
  EXPECT_TRUE(flag);
}

TEST(InStreamMemory, StringWithoutTerminatorEndsAtTheEnd) {
  const Bytes data = {'a', 'b'};
  tsio::InStreamMemory in;
  in.setRange(data.data(), 2);
  std::string s = "x";
  in.readString(s);
  EXPECT_EQ(s, "ab");
  EXPECT_EQ(in.tell(), 2);
  in.readString(s);
  EXPECT_EQ(s, "");
}

TEST(InStreamMemory, PositionsOutsideTheRangeReadNothing) {
  const Bytes data = {1, 2, 3, 4};
  tsio::InStreamMemory in;
  in.setRange(data.data(), 4);
  in.seek(-8);
  uint8_t byte = 42;
  in.readUint8(&byte);
  EXPECT_EQ(byte, 42);
  EXPECT_FALSE(in.isGood());
  in.setRange(data.data(), 4);
  in.skip(100);
  std::string s = "x";
  in.readString(s);
  EXPECT_EQ(s, "");
  EXPECT_EQ(in.remaining(), 0);
}

TEST(InStream, ReadCountRefusesWhatTheRemainingBytesCannotHold) {
  const Bytes data = {3, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  tsio::InStreamMemory in;
  in.setRange(data.data(), static_cast<int32_t>(data.size()));
  uint32_t count = 99;
  EXPECT_TRUE(in.readCount(&count, 4));  // 12 bytes left hold 3 items of 4
  EXPECT_EQ(count, 3u);
  in.seek(0);
  EXPECT_FALSE(in.readCount(&count, 5));  // 15 bytes needed
  EXPECT_EQ(count, 0u);
  EXPECT_FALSE(in.isGood());
}

TEST(InStream, PlainStreamsHaveNoChunksAndNoObjects) {
  const Bytes data = {1, 0, 0, 0};
  tsio::InStreamMemory in;
  in.setRange(data.data(), 4);
  EXPECT_EQ(in.readObject(), nullptr);
  EXPECT_EQ(in.tell(), 0);
  EXPECT_FALSE(in.isChunked());
  EXPECT_EQ(in.chunkCode(), 0);
  EXPECT_EQ(in.chunkVersion(), 0);
  EXPECT_EQ(in.chunkSize(), 0);
  tstest::Leaf leaf;
  EXPECT_TRUE(in.readObjectBody(&leaf));
  EXPECT_EQ(leaf.number, 1);  // load ran on the plain stream
  EXPECT_FALSE(in.claim(&leaf));
}

TEST(InStreamFile, WriteFloatPutsItsFourBytesAndBoolOneByte) {
  tstest::TempPath path(".bin");
  {
    tsio::OutStreamFile out(path.path);
    ASSERT_TRUE(out.isOpen());
    out.writeFloat(1.0f);
    out.writeBool(true);
    out.writeCString("");
    out.writeString("");
    EXPECT_EQ(out.position(), 7);
  }
  EXPECT_EQ(tstest::fileBytes(path.path), (Bytes{0x00, 0x00, 0x80, 0x3F, 0x01, 0x00, 0x00}));
}

TEST(InStreamFile, PatchDoesNotMoveTheWritePosition) {
  tstest::TempPath path(".bin");
  {
    tsio::OutStreamFile out(path.path);
    out.writeUint32(0xFFFFFFFFu);
    out.writeUint8(1);
    out.patchUint32(0, 5);
    EXPECT_EQ(out.position(), 5);
    out.writeUint8(2);
  }
  EXPECT_EQ(tstest::fileBytes(path.path), (Bytes{5, 0, 0, 0, 1, 2}));
}

TEST(InStreamFile, StringAtTheEndOfTheFileWithoutTerminatorIsNoError) {
  tstest::TempPath path(".bin");
  tstest::writeFile(path.path, {'x', 0, 'a', 'b'});
  tsio::InStreamFile in(path.path);
  ASSERT_TRUE(in.isOpen());
  std::string s = "old";
  in.readString(s);
  EXPECT_EQ(s, "x");
  EXPECT_EQ(in.tell(), 2);
  in.readString(s);
  EXPECT_EQ(s, "ab");
  EXPECT_TRUE(in.isGood());
}

TEST(InStreamFile, ReadsSizeSeekSkipAndStopsAtTheEnd) {
  tstest::TempPath path(".bin");
  tstest::writeFile(path.path, {0x00, 0x00, 0x80, 0x3F, 0x02, 0x00, 0x00, 0x00, 0x01});
  tsio::InStreamFile in(path.path);
  EXPECT_EQ(in.readObject(), nullptr);  // leaves the position alone
  EXPECT_EQ(in.tell(), 0);
  EXPECT_EQ(in.size(), 9);
  EXPECT_EQ(in.tell(), 0);  // size went back to where it was
  float f = 0;
  in.readFloat(&f);
  EXPECT_EQ(f, 1.0f);
  in.skip(4);
  bool b = false;
  in.readBool(&b);
  EXPECT_TRUE(b);
  in.seek(4);
  int32_t i = 0;
  in.readInt32(&i);
  EXPECT_EQ(i, 2);
  EXPECT_EQ(in.remaining(), 1);
  EXPECT_TRUE(in.isGood());
  double d = 3.5;
  in.readDouble(&d);  // 1 byte left: nothing read
  EXPECT_EQ(d, 3.5);
  EXPECT_FALSE(in.isGood());
}

TEST(InStreamFile, MissingFileIsNotOpenAndReadsNothing) {
  tstest::TempPath path(".missing");
  tsio::InStreamFile in(path.path);
  EXPECT_FALSE(in.isOpen());
  int32_t value = 4;
  in.readInt32(&value);
  EXPECT_EQ(value, 4);
  EXPECT_EQ(in.size(), 0);
}

// Notes its own destruction, to show who deletes a wrapped stream.
class WatchedOut : public tsio::OutStreamMemory {
 public:
  explicit WatchedOut(bool* destroyedFlag) : destroyed(destroyedFlag) {}
  ~WatchedOut() override { *destroyed = true; }

 private:
  bool* destroyed;
};

TEST(OutStreamComposite, ForwardsAllButBeginChunkAndDeletesWhatItOwns) {
  bool destroyed = false;
  auto* memory = new WatchedOut(&destroyed);
  {
    tsio::OutStreamComposite composite(memory, true);
    composite.beginChunk(tsio::fourCC("ABCD"), 1);
    composite.writeUint16(0x0102);
    EXPECT_EQ(composite.position(), 2);
    composite.patchUint32(0, 0x04030201u);  // 2 bytes written: too short, ignored below
    composite.writeUint16(0);
    composite.patchUint32(0, 0x04030201u);
    EXPECT_TRUE(composite.isOpen());
    EXPECT_EQ(memory->bytes(), (Bytes{1, 2, 3, 4}));
  }
  EXPECT_TRUE(destroyed);

  destroyed = false;
  WatchedOut kept(&destroyed);
  { tsio::OutStreamComposite composite(&kept, false); }
  EXPECT_FALSE(destroyed);
}

TEST(InStreamComposite, ForwardsReadsAndFailures) {
  const Bytes data = {7, 0, 0, 0, 'o', 'k', 0};
  auto* memory = new tsio::InStreamMemory;
  memory->setRange(data.data(), static_cast<int32_t>(data.size()));
  tsio::InStreamComposite composite(memory, true);
  int32_t value = 0;
  std::string s;
  composite.readInt32(&value);
  composite.readString(s);
  EXPECT_EQ(value, 7);
  EXPECT_EQ(s, "ok");
  EXPECT_EQ(composite.size(), 7);
  EXPECT_EQ(composite.tell(), 7);
  EXPECT_TRUE(composite.isGood());
  composite.fail("test");
  EXPECT_FALSE(memory->isGood());
  EXPECT_FALSE(composite.isGood());
}

}  // namespace
