#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "io/chunked_stream.h"
#include "io/stream_bzip2.h"
#include "io/stream_memory.h"
#include "tests/support/file_builder.h"
#include "tests/support/heap_count.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

// The stream format's rules, on the test classes Node and Leaf: files of the graph in both
// modes, references, ownership, and files as an attacker would shape them.
namespace {

using tstest::Bytes;
using tstest::FileBuilder;
using tstest::Leaf;
using tstest::Node;

constexpr uint32_t kNodeBody = 1 + 4 + 4 + 4 + 4;  // name "", weight, child count, link, blob count
constexpr uint32_t kLeafBody = 13;

FileBuilder& node(FileBuilder& f, uint16_t id, uint32_t size, uint32_t children) {
  return f.header("tNOD", id, size, 2).u8(0).u32(0).u32(children);
}
FileBuilder& leaf(FileBuilder& f, uint16_t id, uint32_t size) { return f.header("tLEF", id, size).u32(3).u32(0).u32(0).u8(1); }

// A chain of nodes, each owning the next.
Bytes nested(size_t depth) {
  Node root;
  Node* last = &root;
  for (size_t level = 1; level < depth; ++level) {
    auto* child = new Node;
    last->children.push_back(child);
    last = child;
  }
  return tstest::storeToBytes(&root, 0);
}

TEST(ChunkedFile, SampleGraphRoundTripsInBothModes) {
  std::unique_ptr<Node> original(tstest::makeSampleGraph());
  for (int mode : {0, 1}) {
    const Bytes stored = tstest::storeToBytes(original.get(), mode);
    tstest::RecordingTracer tracer;
    std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(stored));
    ASSERT_NE(root, nullptr) << "mode " << mode;
    EXPECT_TRUE(tracer.messages.empty());
    // Links and owners are written as ids: the same bytes are the same graph.
    EXPECT_EQ(tstest::storeToBytes(root.get(), mode), stored);
  }
}

// Each file is refused before anything is sized, with one message naming the fault, and
// everything read before it is freed.
TEST(HostileFile, DamagedStructureIsRefusedWithOneMessage) {
  FileBuilder count, blob, negative, beyond, childBeyond, pastItsEnd, endsInside, nothing, unknown;
  node(count, 0, kNodeBody, 0x7FFFFFFF).u32(0).u32(0);
  node(blob, 0, kNodeBody, 0).u32(0).u32(0xFFFFFFF0u);
  leaf(negative, 0, 0xFFFFFFFFu);
  leaf(beyond, 0, kLeafBody + 1);
  leaf(node(childBeyond, 0, kNodeBody + 12 + kLeafBody, 1), 1, kLeafBody + 9).u32(0).u32(0).u32(0).u32(0);
  leaf(node(pastItsEnd, 0, kNodeBody + 12 + kLeafBody, 1), 1, 4).u32(0).u32(0);
  endsInside.header("tLEF", 0, 4).u32(1);
  unknown.u32(0x04030201u).u16(1).u16(0).u32(0);
  std::unique_ptr<Node> graph(tstest::makeSampleGraph());
  Bytes late = tstest::storeToBytes(graph.get(), 0);
  late[late.size() - 4] = 99;  // the root's blob count, its last word
  const std::pair<Bytes, std::string> rows[] = {
      {count.bytes, "a count of 2147483647 items of 4 bytes or more, with 8 bytes left in chunk tNOD (id 0)"},
      {blob.bytes, "a count of 4294967280 items of 1 bytes or more, with 0 bytes left in chunk tNOD (id 0)"},
      {negative.bytes, "chunk tLEF (id 0) declares -1 bytes where 13 are left"},
      {beyond.bytes, "chunk tLEF (id 0) declares 14 bytes where 13 are left"},
      {childBeyond.bytes, "chunk tLEF (id 1) declares 22 bytes where 21 are left"},
      {pastItsEnd.bytes, "chunk tLEF (id 1) reads 9 bytes past its end"},
      {endsInside.bytes, "the file ends inside chunk tLEF (id 0)"},
      {nothing.bytes, "the file ends inside the object at byte 4"},
      {unknown.bytes, "Unknown chunk read : ????, version : 1, size : 0"},
      {late, "a count of 99 items of 1 bytes or more, with 0 bytes left in chunk tNOD (id 0)"},
      {nested(tsio::InStreamChunked::kMaxDepth + 1), "chunks nest deeper than 256 levels"},
  };
  for (const auto& [file, reason] : rows) {
    SCOPED_TRACE(reason);
    tstest::expectRefused(file, reason);
  }
  EXPECT_TRUE(tstest::readCounted(nested(tsio::InStreamChunked::kMaxDepth)).loaded);
}

// What the format allows loads: a reference to nothing is null, a repeated id names the later
// object, an object nobody owns stays with the root, an unknown chunk is skipped by its size, and
// a second claim of an object or a claim of itself gives null, so nothing is deleted twice.
TEST(HostileFile, OwnershipAndReferencesThatTheFormatAllowsLoadSafely) {
  FileBuilder ahead, junkBits, idTwice, orphan, twice, itself, cycle, stranger;
  node(ahead, 0, kNodeBody, 0).u32(0x80000005u).u32(0);
  node(junkBits, 0, kNodeBody, 0).u32(0x80010000u).u32(0);  // the low 16 bits name the root
  leaf(node(idTwice, 0, kNodeBody + 12 + kLeafBody, 1), 0, kLeafBody).u32(0).u32(0);
  leaf(node(orphan, 0, kNodeBody - 4 + 12 + kLeafBody, 0), 1, kLeafBody).u32(0);  // stored where it is pointed at
  leaf(node(twice, 0, kNodeBody + 12 + kLeafBody + 4, 2), 1, kLeafBody).u32(0x80000001u).u32(0).u32(0);
  node(itself, 0, kNodeBody + 4, 1).u32(0x80000000u).u32(0).u32(0);
  node(node(cycle, 0, kNodeBody * 2 + 12 + 4, 1), 1, kNodeBody + 4, 1).u32(0x80000000u).u32(0).u32(0).u32(0).u32(0);
  node(stranger, 0, kNodeBody + 12 + 8 + 12 + kLeafBody, 2).header("zUNK", 1, 8, 3).u32(1234).text("abc").u8(0);
  leaf(stranger, 2, kLeafBody).u32(0x80000001u).u32(0);
  struct Row {
    const char* name;
    Bytes file;
    std::function<void(Node&)> check;
    size_t boxes = 0;
  };
  const Row rows[] = {
      {"reference ahead", ahead.bytes, [](Node& n) { EXPECT_EQ(n.link, nullptr); }},
      {"junk bits", junkBits.bytes, [](Node& n) { EXPECT_EQ(n.link, &n); }},
      {"id used twice", idTwice.bytes, [](Node& n) { EXPECT_NE(n.children.at(0), nullptr); }},
      {"orphan", orphan.bytes, [](Node& n) { EXPECT_TRUE(n.kept.size() == 1 && n.link == n.kept[0]); }},
      {"two owners", twice.bytes, [](Node& n) { EXPECT_TRUE(n.children.at(0) && !n.children.at(1)); }},
      {"owns itself", itself.bytes, [](Node& n) { EXPECT_EQ(n.children.at(0), nullptr); }},
      {"owns its parent", cycle.bytes,
       [](Node& n) { EXPECT_EQ(dynamic_cast<Node&>(*n.children.at(0)).children.at(0), nullptr); }},
      {"unknown chunk", stranger.bytes,
       [](Node& n) { EXPECT_TRUE(!n.children.at(0) && dynamic_cast<Leaf*>(n.children.at(1)) && !n.link); }, 1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const tstest::CountedRead read = tstest::readCounted(row.file);
    EXPECT_EQ(read.boxes.size(), row.boxes);
    EXPECT_EQ(read.leaked, 0);
    tstest::RecordingTracer tracer;
    std::unique_ptr<Node> root(dynamic_cast<Node*>(tstest::loadFromBytes(row.file)));
    ASSERT_NE(root, nullptr);
    row.check(*root);
  }
}

TEST(HostileFile, EveryCutOfTheGraphIsRefusedInBothModes) {
  std::unique_ptr<Node> graph(tstest::makeSampleGraph());
  for (int mode : {0, 1}) tstest::expectEveryCutRefused(tstest::storeToBytes(graph.get(), mode));
}

// Seeded damage: a few bits flipped at random. The result is null or a graph, with at most one
// message about a fault; a graph that loads is written and read again to the same bytes.
TEST(HostileFile, RandomDamageNeverBreaksTheReader) {
  std::unique_ptr<Node> graph(tstest::makeSampleGraph());
  const Bytes files[] = {tstest::storeToBytes(graph.get(), 0), tstest::storeToBytes(graph.get(), 1)};
  graph.reset();
  for (int mode : {0, 1}) {
    const Bytes& file = files[mode];
    std::mt19937 random(mode ? 7u : 20240601u);
    std::uniform_int_distribution<size_t> position(0, file.size() - 1);
    int loaded = 0;
    for (int round = 0; round < 2000; ++round) {
      Bytes damaged = file;
      for (int i = 1 + round % 3; i > 0; --i) damaged[position(random)] ^= static_cast<uint8_t>(1 << (random() % 8));
      tstest::RecordingTracer tracer;
      std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(damaged));
      size_t faults = 0;
      for (const std::string& text : tracer.texts('b')) faults += text.rfind("TSIO : Unreadable file : ", 0) == 0;
      EXPECT_LE(faults, 1u) << "round " << round;
      if (!root) continue;  // a damaged magic or root word is null in silence
      ++loaded;
      const Bytes again = tstest::storeToBytes(root.get(), 0);
      std::unique_ptr<tsio::Serializable> reread(tstest::loadFromBytes(again));
      ASSERT_NE(reread, nullptr) << "round " << round;
      EXPECT_EQ(tstest::storeToBytes(reread.get(), 0), again) << "round " << round;
    }
    // Many changes (a weight, a letter of a name) leave a plain file readable: that path is taken too.
    if (mode == 0) {
      EXPECT_GT(loaded, 100);
    }
  }
  EXPECT_EQ(Node::live, 0);
  EXPECT_EQ(Leaf::live, 0);
}

// The compressed form: "IOBZ", the unpacked and packed lengths, a bzip2 stream of block size 1.
Bytes packed(const Bytes& payload) {
  tsio::OutStreamMemory target;
  tsio::OutStreamBzip2(&target, false).writeBytes(payload.data(), static_cast<uint32_t>(payload.size()));
  return target.bytes();
}

void setInt32(Bytes& bytes, size_t at, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

// Unpacks the form from behind its magic; the message of a refusal, or "" when it opens.
std::string unpacking(const Bytes& file, Bytes* payload = nullptr) {
  auto* source = new tsio::InStreamMemory;
  source->setRange(file.data() + 4, static_cast<int32_t>(file.size()) - 4);
  tstest::RecordingTracer tracer;
  tsio::InStreamBzip2 in(source, true);
  if (payload) in.readBytes(payload->data(), static_cast<uint32_t>(payload->size()));
  EXPECT_EQ(in.isOpen(), tracer.messages.empty());
  return tracer.messages.empty() ? "" : tracer.messages.at(0).text;
}

TEST(Bzip2, PackedFormHasItsLayoutAndDamageIsRefusedBeforeOrByUnpacking) {
  Bytes payload;
  for (int i = 0; i < 3000; ++i) payload.push_back(static_cast<uint8_t>((i * 7) % 13));
  const Bytes good = packed(payload);
  const uint32_t left = static_cast<uint32_t>(good.size()) - 12;
  Bytes layout = {'I', 'O', 'B', 'Z', 0, 0, 0, 0, 0, 0, 0, 0, 'B', 'Z', 'h', '1'};
  setInt32(layout, 4, static_cast<uint32_t>(payload.size()));
  setInt32(layout, 8, left);
  EXPECT_EQ(Bytes(good.begin(), good.begin() + 16), layout);
  Bytes back(payload.size());
  EXPECT_EQ(unpacking(good, &back), "");
  EXPECT_EQ(back, payload);

  // Each 16 packed bytes hold at most one block of 100 k, and 5 bytes of a block unpack to at most 259.
  const uint32_t bound = (left / 16 + 1) * 100000 / 5 * 259;
  const std::string prefix = "TSIO : Unreadable file : ";
  const std::string damaged = prefix + "the compressed block is damaged";
  Bytes capped = {'I', 'O', 'B', 'Z', 0, 0, 0, 0, 0, 0, 0, 0, 'B', 'Z', 'h', '9'};
  capped.resize(12 + 640, 0);
  setInt32(capped, 4, tsio::InStreamBzip2::kMaxUnpackedSize + 1);
  setInt32(capped, 8, 640);
  const std::pair<std::function<void(Bytes&)>, std::string> rows[] = {
      {[](Bytes& f) { setInt32(f, 4, 0xFFFFFFFFu); }, prefix + "a compressed block of " + std::to_string(left) +
                                                          " bytes (unpacking to -1) where " + std::to_string(left)},
      {[&](Bytes& f) { setInt32(f, 8, left + 1); }, prefix + "a compressed block of " + std::to_string(left + 1)},
      {[&](Bytes& f) { setInt32(f, 4, bound + 1); }, prefix + "a compressed block of " + std::to_string(left) +
                                                         " bytes can't unpack to the " + std::to_string(bound + 1)},
      {[&](Bytes& f) { setInt32(f, 4, bound); }, damaged},
      {[](Bytes& f) { setInt32(f, 4, 2999); }, damaged},
      {[](Bytes& f) { setInt32(f, 4, 3001); }, damaged},
      {[](Bytes& f) { f[f.size() / 2] ^= 0x10; }, damaged},
      {[](Bytes& f) { f[12] = 'X'; }, prefix + "the compressed block is not a bzip2 stream"},
      {[&](Bytes& f) { f = capped; }, prefix + "a compressed block of 640 bytes can't unpack to the 1073741825 bytes"},
  };
  for (const auto& [damage, message] : rows) {
    Bytes file = good;
    damage(file);
    EXPECT_EQ(unpacking(file).rfind(message, 0), 0u) << unpacking(file) << "\nexpected: " << message;
  }
}

// An array read checks its count against the bytes left before it sizes anything, on a plain
// stream and behind the unpacking alike; what fits comes back value for value, low byte first.
TEST(ArrayRead, ACountBeyondTheBytesLeftIsRefusedBeforeTheArrayIsSized) {
  const Bytes payload = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0x80};
  const Bytes file = packed(payload);
  const std::vector<uint32_t> all = {1, 0x100, 0x10000, 0x80000000u};
  const std::tuple<uint32_t, bool, std::vector<uint32_t>> rows[] = {
      {4, true, all}, {0, true, {}}, {5, false, {}}, {0xFFFFFFFFu, false, {}}};
  for (const bool compressed : {false, true}) {
    for (const auto& [count, fits, expected] : rows) {
      SCOPED_TRACE(std::to_string(count) + (compressed ? " packed" : " plain"));
      auto* memory = new tsio::InStreamMemory;
      std::unique_ptr<tsio::InStream> in;
      if (compressed) {
        memory->setRange(file.data() + 4, static_cast<int32_t>(file.size()) - 4);
        in = std::make_unique<tsio::InStreamBzip2>(memory, true);
      } else {
        memory->setRange(payload.data(), static_cast<int32_t>(payload.size()));
        in.reset(memory);
      }
      std::vector<uint32_t> values;
      EXPECT_EQ(in->readArray(values, count, "values"), fits);
      EXPECT_EQ(in->isGood(), fits);
      EXPECT_EQ(values, expected);
    }
  }
}

}  // namespace
