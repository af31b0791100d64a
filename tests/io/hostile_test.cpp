#include <gtest/gtest.h>

#include <functional>

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "io/chunked_stream.h"
#include "io/persistence.h"
#include "io/stream_memory.h"
#include "tests/io/test_files.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

// Files as an attacker would shape them: every read ends in null or an object, with one
// message naming the fault, and leaves no object behind.
namespace {

using Bytes = std::vector<uint8_t>;
using tstest::Leaf;
using tstest::Node;

// Builds a file word by word.
class FileBuilder {
 public:
  FileBuilder() { text("NONE", false); }
  FileBuilder& u8(uint8_t value) {
    bytes.push_back(value);
    return *this;
  }
  FileBuilder& u16(uint16_t value) { return u8(value & 0xFF).u8(static_cast<uint8_t>(value >> 8)); }
  FileBuilder& u32(uint32_t value) { return u16(value & 0xFFFF).u16(static_cast<uint16_t>(value >> 16)); }
  FileBuilder& text(const char* value, bool terminated = true) {
    bytes.insert(bytes.end(), value, value + std::strlen(value) + (terminated ? 1 : 0));
    return *this;
  }
  FileBuilder& header(const char* code, uint16_t version, uint16_t id, uint32_t size) {
    return text(code, false).u16(version).u16(id).u32(size);
  }
  // A node's fields up to its child count: name "", weight 0.
  FileBuilder& nodeStart(uint32_t childCount) { return u8(0).u32(0).u32(childCount); }
  FileBuilder& leafBody(int32_t number) {
    u32(static_cast<uint32_t>(number));
    for (int i = 0; i < 8; ++i) u8(0);
    return u8(1);
  }

  Bytes bytes;
};

constexpr uint32_t kNodeBodyWithoutChildren = 1 + 4 + 4 + 4 + 4;  // name, weight, count, link, blob count
constexpr uint32_t kLeafBody = 13;

struct Outcome {
  bool loaded;
  std::vector<std::string> boxes;
};

// Reads a file, checks that nothing outlives the read but the root, and deletes the root.
Outcome read(const Bytes& file) {
  tstest::RecordingTracer tracer;
  const int nodesBefore = Node::live, leavesBefore = Leaf::live;
  tsio::Serializable* root = tstest::loadFromBytes(file);
  if (!root) {
    EXPECT_EQ(Node::live, nodesBefore);
    EXPECT_EQ(Leaf::live, leavesBefore);
  }
  delete root;
  EXPECT_EQ(Node::live, nodesBefore);
  EXPECT_EQ(Leaf::live, leavesBefore);
  return {root != nullptr, tracer.texts('b')};
}

void expectRefused(const Bytes& file, const std::string& reason) {
  const Outcome outcome = read(file);
  EXPECT_FALSE(outcome.loaded);
  EXPECT_EQ(outcome.boxes, std::vector<std::string>{"TSIO : Unreadable file : " + reason});
}

TEST(HostileFile, WellFormedBuilderFileLoads) {
  // The shape that the cases below damage, intact: a node owning one leaf.
  FileBuilder f;
  f.header("tNOD", 2, 0, kNodeBodyWithoutChildren + 12 + kLeafBody).nodeStart(1);
  f.header("tLEF", 1, 1, kLeafBody).leafBody(3).u32(0).u32(0);
  const Outcome outcome = read(f.bytes);
  EXPECT_TRUE(outcome.loaded);
  EXPECT_TRUE(outcome.boxes.empty());
}

TEST(HostileFile, CountBeyondTheBytesLeftIsRefusedBeforeAnythingIsSized) {
  FileBuilder f;
  f.header("tNOD", 2, 0, kNodeBodyWithoutChildren).nodeStart(0x7FFFFFFF).u32(0).u32(0);
  expectRefused(f.bytes, "a count of 2147483647 items of 4 bytes or more, with 8 bytes left in chunk tNOD (id 0)");

  FileBuilder blob;
  blob.header("tNOD", 2, 0, kNodeBodyWithoutChildren).nodeStart(0).u32(0).u32(0xFFFFFFF0u);
  expectRefused(blob.bytes, "a count of 4294967280 items of 1 bytes or more, with 0 bytes left in chunk tNOD (id 0)");
}

TEST(HostileFile, ImpossibleChunkSizesAreRefused) {
  FileBuilder negative;
  negative.header("tLEF", 1, 0, 0xFFFFFFFFu).leafBody(1);
  expectRefused(negative.bytes, "chunk tLEF (id 0) declares -1 bytes where 13 are left");

  FileBuilder beyond;
  beyond.header("tLEF", 1, 0, kLeafBody + 1).leafBody(1);
  expectRefused(beyond.bytes, "chunk tLEF (id 0) declares 14 bytes where 13 are left");

  // The child claims more than its parent's body holds, though the file would hold it.
  FileBuilder nested;
  nested.header("tNOD", 2, 0, kNodeBodyWithoutChildren + 12 + kLeafBody).nodeStart(1);
  nested.header("tLEF", 1, 1, kLeafBody + 9).leafBody(1).u32(0).u32(0).u32(0).u32(0);
  expectRefused(nested.bytes, "chunk tLEF (id 1) declares 22 bytes where 21 are left");
}

TEST(HostileFile, BodyReadingPastItsSizeIsRefused) {
  // The leaf says 4 bytes but its load takes 13: it eats into its parent's fields.
  FileBuilder f;
  f.header("tNOD", 2, 0, kNodeBodyWithoutChildren + 12 + kLeafBody).nodeStart(1);
  f.header("tLEF", 1, 1, 4).leafBody(1).u32(0).u32(0);
  expectRefused(f.bytes, "chunk tLEF (id 1) reads 9 bytes past its end");

  FileBuilder atEnd;
  atEnd.header("tLEF", 1, 0, 4).u32(1);
  expectRefused(atEnd.bytes, "the file ends inside chunk tLEF (id 0)");
}

TEST(HostileFile, TruncatedObjectWordsAreRefused) {
  FileBuilder nothing;
  expectRefused(nothing.bytes, "the file ends inside the object at byte 4");
  FileBuilder halfWord;
  halfWord.u16(1);
  expectRefused(halfWord.bytes, "the file ends inside the object at byte 4");
  FileBuilder halfHeader;
  halfHeader.text("tLEF", false).u16(1).u16(0);
  expectRefused(halfHeader.bytes, "the file ends inside the object at byte 4");
}

// What the format allows loads: a reference to nothing is null, a repeated id names the later
// object, an object nobody owns stays with the root, and a second claim of an object or a
// claim of itself gives null, so that nothing is deleted twice or owns itself.
TEST(HostileFile, OwnershipAndReferencesThatTheFormatAllowsLoadSafely) {
  FileBuilder ahead;
  ahead.header("tNOD", 2, 0, kNodeBodyWithoutChildren).nodeStart(0).u32(0x80000005u).u32(0);
  FileBuilder junkBits;  // only the low 16 bits name the object: the root itself
  junkBits.header("tNOD", 2, 0, kNodeBodyWithoutChildren).nodeStart(0).u32(0x80010000u).u32(0);
  FileBuilder idTwice;
  idTwice.header("tNOD", 2, 0, kNodeBodyWithoutChildren + 12 + kLeafBody).nodeStart(1);
  idTwice.header("tLEF", 1, 0, kLeafBody).leafBody(1).u32(0).u32(0);
  FileBuilder orphan;  // a leaf stored where the node only points
  orphan.header("tNOD", 2, 0, kNodeBodyWithoutChildren - 4 + 12 + kLeafBody).nodeStart(0);
  orphan.header("tLEF", 1, 1, kLeafBody).leafBody(1).u32(0);
  FileBuilder twice;
  twice.header("tNOD", 2, 0, kNodeBodyWithoutChildren + 12 + kLeafBody + 4).nodeStart(2);
  twice.header("tLEF", 1, 1, kLeafBody).leafBody(1).u32(0x80000001u).u32(0).u32(0);
  FileBuilder itself;
  itself.header("tNOD", 2, 0, kNodeBodyWithoutChildren + 4).nodeStart(1).u32(0x80000000u).u32(0).u32(0);
  FileBuilder cycle;  // a child that claims its own parent
  cycle.header("tNOD", 2, 0, kNodeBodyWithoutChildren * 2 + 12 + 4).nodeStart(1);
  cycle.header("tNOD", 2, 1, kNodeBodyWithoutChildren + 4).nodeStart(1).u32(0x80000000u).u32(0).u32(0);
  cycle.u32(0).u32(0);

  struct Row {
    const char* name;
    Bytes file;
    std::function<void(Node&)> check;
  };
  const std::vector<Row> rows = {
      {"reference ahead", ahead.bytes, [](Node& n) { EXPECT_EQ(n.link, nullptr); }},
      {"junk bits", junkBits.bytes, [](Node& n) { EXPECT_EQ(n.link, &n); }},
      {"id used twice", idTwice.bytes, [](Node& n) { EXPECT_NE(n.children.at(0), nullptr); }},
      {"orphan", orphan.bytes, [](Node& n) { EXPECT_EQ(n.kept.size(), 1u); EXPECT_NE(n.link, nullptr); }},
      {"two owners", twice.bytes, [](Node& n) {
         EXPECT_NE(n.children.at(0), nullptr);
         EXPECT_EQ(n.children.at(1), nullptr);
       }},
      {"owns itself", itself.bytes, [](Node& n) { EXPECT_EQ(n.children.at(0), nullptr); }},
      {"owns its parent", cycle.bytes, [](Node& n) {
         auto* child = dynamic_cast<Node*>(n.children.at(0));
         ASSERT_NE(child, nullptr);
         EXPECT_EQ(child->children.at(0), nullptr);
       }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    tstest::RecordingTracer tracer;
    std::unique_ptr<Node> root(dynamic_cast<Node*>(tstest::loadFromBytes(row.file)));
    ASSERT_NE(root, nullptr);
    EXPECT_TRUE(tracer.messages.empty());
    row.check(*root);
    root.reset();
    EXPECT_EQ(Node::live, 0);
    EXPECT_EQ(Leaf::live, 0);
  }
}

TEST(HostileFile, NestingIsCappedAtTheMaximumDepth) {
  for (size_t depth : {tsio::InStreamChunked::kMaxDepth, tsio::InStreamChunked::kMaxDepth + 1}) {
    Node root;
    Node* last = &root;
    for (size_t level = 1; level < depth; ++level) {
      auto* child = new Node;
      last->children.push_back(child);
      last = child;
    }
    const Outcome outcome = read(tstest::storeToBytes(&root, 0));
    if (depth == tsio::InStreamChunked::kMaxDepth) {
      EXPECT_TRUE(outcome.loaded);
      EXPECT_TRUE(outcome.boxes.empty());
    } else {
      EXPECT_FALSE(outcome.loaded);
      EXPECT_EQ(outcome.boxes, std::vector<std::string>{"TSIO : Unreadable file : chunks nest deeper than 256 levels"});
    }
  }
}

TEST(HostileFile, UnknownCodesAreShownWithPrintableLettersOnly) {
  FileBuilder f;
  f.u32(0x04030201u).u16(1).u16(0).u32(0);
  const Outcome outcome = read(f.bytes);
  EXPECT_FALSE(outcome.loaded);
  EXPECT_EQ(outcome.boxes, std::vector<std::string>{"TSIO : Unknown chunk read : ????, version : 1, size : 0"});
}

TEST(HostileFile, LateFaultReleasesEverythingReadBeforeIt) {
  // A well-filled graph whose very last word is a blob count beyond the bytes left.
  std::unique_ptr<Node> graph(tstest::makeSampleGraph());
  Bytes file = tstest::storeToBytes(graph.get(), 0);
  const Bytes bad = {0x63, 0x00, 0x00, 0x00};
  std::copy(bad.begin(), bad.end(), file.end() - 4);
  expectRefused(file, "a count of 99 items of 1 bytes or more, with 0 bytes left in chunk tNOD (id 0)");
}

TEST(HostileFile, FailedStreamStaysFailedWithoutFurtherMessages) {
  FileBuilder f;
  f.header("tLEF", 1, 0, 1).u8(0);
  auto* memory = new tsio::InStreamMemory;
  memory->setRange(f.bytes.data(), static_cast<int32_t>(f.bytes.size()));
  std::unique_ptr<tsio::InStream> in(tsio::openInStream(memory, true));
  ASSERT_NE(in, nullptr);
  tstest::RecordingTracer tracer;
  EXPECT_EQ(in->readObject(), nullptr);
  EXPECT_FALSE(in->isGood());
  EXPECT_EQ(in->readObject(), nullptr);
  EXPECT_EQ(tracer.count('b'), 1u);
}

// Every strict prefix of a stored file is refused with exactly one message.
void checkEveryTruncation(const Bytes& file) {
  for (size_t length = 0; length < file.size(); ++length) {
    const Outcome outcome = read(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)));
    EXPECT_FALSE(outcome.loaded) << "length " << length;
    if (length < 4) {
      EXPECT_TRUE(outcome.boxes.empty()) << "no magic: no persistence file, and no message";
      continue;
    }
    ASSERT_EQ(outcome.boxes.size(), 1u) << "length " << length;
    EXPECT_EQ(outcome.boxes[0].rfind("TSIO : Unreadable file : ", 0), 0u) << outcome.boxes[0];
  }
}

TEST(HostileFile, EveryTruncationIsRefusedWithOneMessage) {
  std::unique_ptr<Node> graph(tstest::makeSampleGraph());
  checkEveryTruncation(tstest::storeToBytes(graph.get(), 0));
  checkEveryTruncation(tstest::storeToBytes(graph.get(), 1));
}

TEST(HostileFile, TruncatedFilesOnDiskAreRefusedToo) {
  std::unique_ptr<Node> graph(tstest::makeSampleGraph());
  const Bytes files[] = {tstest::storeToBytes(graph.get(), 0), tstest::storeToBytes(graph.get(), 1)};
  graph.reset();
  for (int mode : {0, 1}) {
    Bytes file = files[mode];
    file.resize(file.size() - 3);
    tstest::TempPath path(mode ? ".iobz.ts2" : ".none.ts2");
    tstest::writeFile(path.path, file);
    tstest::RecordingTracer tracer;
    std::unique_ptr<tsio::InStream> in(tsio::openInStream(path.path));
    std::unique_ptr<tsio::Serializable> root(in ? in->readObject() : nullptr);
    EXPECT_EQ(root, nullptr);
    ASSERT_EQ(tracer.count('b'), 1u);
    EXPECT_EQ(tracer.texts('b')[0].rfind("TSIO : Unreadable file : ", 0), 0u);
  }
  EXPECT_EQ(Node::live, 0);
  EXPECT_EQ(Leaf::live, 0);
}

// Seeded damage: a few bytes changed at random. The result is null or a graph, with at most
// one message about a fault; a graph that loads can be written and read again to the same bytes.
int checkRandomDamage(const Bytes& file, unsigned seed, int rounds) {
  std::mt19937 random(seed);
  std::uniform_int_distribution<size_t> position(0, file.size() - 1);
  std::uniform_int_distribution<int> changes(1, 3);
  std::uniform_int_distribution<int> bit(0, 7);
  int loaded = 0;
  for (int round = 0; round < rounds; ++round) {
    Bytes damaged = file;
    for (int i = changes(random); i > 0; --i) damaged[position(random)] ^= static_cast<uint8_t>(1 << bit(random));
    tstest::RecordingTracer tracer;
    std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(damaged));
    size_t faults = 0;
    for (const std::string& text : tracer.texts('b')) faults += text.rfind("TSIO : Unreadable file : ", 0) == 0;
    EXPECT_LE(faults, 1u) << "round " << round;
    // A damaged magic, or a root word turned into a reference to nothing, is null in silence.
    if (!root) continue;
    ++loaded;
    const Bytes again = tstest::storeToBytes(root.get(), 0);
    std::unique_ptr<tsio::Serializable> reread(tstest::loadFromBytes(again));
    EXPECT_NE(reread, nullptr) << "round " << round;
    if (reread) {
      EXPECT_EQ(tstest::storeToBytes(reread.get(), 0), again) << "round " << round;
    }
  }
  EXPECT_EQ(Node::live, 0);
  EXPECT_EQ(Leaf::live, 0);
  return loaded;
}

TEST(HostileFile, RandomDamageOfAPlainFileNeverBreaksTheReader) {
  std::unique_ptr<Node> graph(tstest::makeSampleGraph());
  const Bytes file = tstest::storeToBytes(graph.get(), 0);
  graph.reset();
  // Many changes (a weight, a letter of a name) leave a readable file: that path is taken too.
  EXPECT_GT(checkRandomDamage(file, 20240601u, 3000), 100);
}

TEST(HostileFile, RandomDamageOfACompressedFileNeverBreaksTheReader) {
  std::unique_ptr<Node> graph(tstest::makeSampleGraph());
  const Bytes file = tstest::storeToBytes(graph.get(), 1);
  graph.reset();
  checkRandomDamage(file, 7u, 1500);  // the block's checksums refuse nearly all of them
}

}  // namespace
