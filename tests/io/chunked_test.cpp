#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "io/chunk_registry.h"
#include "io/chunked_stream.h"
#include "io/persistence.h"
#include "io/stream_memory.h"
#include "tests/io/test_files.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

// Classes shaped like the system's own chunks, so that the layouts of the format can
// be written byte for byte. They live in this test program only.
namespace {

using Bytes = std::vector<uint8_t>;
using tsio::Serializable;

class ColorConst : public Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("CCCO");
  bool load(tsio::InStream& in) override {
    for (float& c : rgba) in.readFloat(&c);
    return true;
  }
  void store(tsio::OutStream& out) override {
    out.beginChunk(kCode, 1);
    for (float c : rgba) out.writeFloat(c);
  }
  float rgba[4] = {};
};

class FloatConst : public Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("CCFL");
  bool load(tsio::InStream& in) override {
    in.readFloat(&value);
    return true;
  }
  void store(tsio::OutStream& out) override {
    out.beginChunk(kCode, 1);
    out.writeFloat(value);
  }
  float value = 0.0f;
};

// Body: int32 operation, object left (a colour), object right (a float).
class ColorOp : public Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("CoCF");
  ~ColorOp() override {
    delete left;
    delete right;
  }
  bool load(tsio::InStream& in) override {
    in.readInt32(&operation);
    left = tsio::readOwned<ColorConst>(in);
    right = tsio::readOwned<FloatConst>(in);
    return true;
  }
  void store(tsio::OutStream& out) override {
    out.beginChunk(kCode, 1);
    out.writeInt32(operation);
    out.writeObject(left);
    out.writeObject(right);
  }
  int32_t operation = 0;
  Serializable* left = nullptr;
  Serializable* right = nullptr;
};

// The smallest scene: lists that are empty here are written as their counts.
class TinyNode : public Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("HINO");
  ~TinyNode() override { delete transformation; }
  bool load(tsio::InStream& in) override {
    target = tsio::readShared<Serializable>(in);
    transformation = tsio::readOwned<Serializable>(in);
    return true;
  }
  void store(tsio::OutStream& out) override {
    out.beginChunk(kCode, 1);
    out.writeObject(target);
    out.writeObject(transformation);
  }
  Serializable* target = nullptr;
  Serializable* transformation = nullptr;
};

class TinyScene : public Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("SCHE");
  using List = std::vector<Serializable*>;
  ~TinyScene() override {
    for (List* list : lists())
      for (Serializable* member : *list) delete member;
    delete root;
  }
  bool load(tsio::InStream& in) override {
    if (in.isChunked() && in.chunkVersion() > 2) return false;
    readList(in, textures);
    readList(in, materials);
    root = tsio::readOwned<TinyNode>(in);
    readList(in, rootChildren);
    readList(in, meshes);
    readList(in, cameras);
    activeCamera = tsio::readShared<Serializable>(in);
    readList(in, lights);
    shadowLight = tsio::readShared<Serializable>(in);
    readList(in, atmospheres);
    readList(in, overlays);
    background = tsio::readShared<Serializable>(in);
    readList(in, renderers);
    return true;
  }
  void store(tsio::OutStream& out) override {
    out.beginChunk(kCode, 2);
    writeList(out, textures);
    writeList(out, materials);
    out.writeObject(root);
    writeList(out, rootChildren);
    writeList(out, meshes);
    writeList(out, cameras);
    out.writeObject(activeCamera);
    writeList(out, lights);
    out.writeObject(shadowLight);
    writeList(out, atmospheres);
    writeList(out, overlays);
    out.writeObject(background);
    writeList(out, renderers);
  }

  List textures, materials, rootChildren, meshes, cameras, lights, atmospheres, overlays, renderers;
  TinyNode* root = nullptr;
  Serializable* activeCamera = nullptr;
  Serializable* shadowLight = nullptr;
  Serializable* background = nullptr;

 private:
  std::vector<List*> lists() {
    return {&textures, &materials, &rootChildren, &meshes, &cameras, &lights, &atmospheres, &overlays, &renderers};
  }
  static void readList(tsio::InStream& in, List& list) {
    uint32_t count = 0;
    if (!in.readCount(&count, 4)) return;
    for (uint32_t i = 0; i < count; ++i) list.push_back(tsio::readOwned<Serializable>(in));
  }
  static void writeList(tsio::OutStream& out, const List& list) {
    out.writeUint32(static_cast<uint32_t>(list.size()));
    for (Serializable* member : list) out.writeObject(member);
  }
};

// Records the bytes of its target at the moment its body begins.
tsio::OutStreamMemory* probeTarget = nullptr;
Bytes probeSeen;
class SizeProbe : public Serializable {
 public:
  bool load(tsio::InStream&) override { return true; }
  void store(tsio::OutStream& out) override {
    out.beginChunk(tsio::fourCC("tPRB"), 1);
    probeSeen = probeTarget->bytes();
    out.writeUint8(1);
  }
};

// Notes what the stream says of the chunk before and after reading a nested object.
class VersionProbe : public Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("tVPR");
  ~VersionProbe() override { delete child; }
  bool load(tsio::InStream& in) override {
    codeBefore = in.chunkCode();
    versionBefore = in.chunkVersion();
    sizeBefore = in.chunkSize();
    child = tsio::readOwned<Serializable>(in);
    codeAfter = in.chunkCode();
    versionAfter = in.chunkVersion();
    sizeAfter = in.chunkSize();
    return true;
  }
  void store(tsio::OutStream& out) override {
    out.beginChunk(kCode, 5);
    out.writeObject(child);
  }
  Serializable* child = nullptr;
  int32_t codeBefore = 0, versionBefore = 0, sizeBefore = 0, codeAfter = 0, versionAfter = 0, sizeAfter = 0;
};

// A class that the reading side doesn't know.
class Unregistered : public Serializable {
 public:
  bool load(tsio::InStream&) override { return true; }
  void store(tsio::OutStream& out) override {
    out.beginChunk(tsio::fourCC("zUNK"), 3);
    out.writeInt32(1234);
    out.writeString("abc");
  }
};

// Owns one object and points at a colour.
class ColorPointer : public Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("tPTR");
  ~ColorPointer() override { delete held; }
  bool load(tsio::InStream& in) override {
    held = tsio::readOwned<Serializable>(in);
    target = tsio::readShared<ColorConst>(in);
    return true;
  }
  void store(tsio::OutStream& out) override {
    out.beginChunk(kCode, 1);
    out.writeObject(held);
    out.writeObject(target);
  }
  Serializable* held = nullptr;
  Serializable* target = nullptr;
};

tsio::ChunkRegistrer<ColorConst> colorRegistrer(ColorConst::kCode);
tsio::ChunkRegistrer<FloatConst> floatRegistrer(FloatConst::kCode);
tsio::ChunkRegistrer<ColorOp> opRegistrer(ColorOp::kCode);
tsio::ChunkRegistrer<TinyNode> nodeRegistrer(TinyNode::kCode);
tsio::ChunkRegistrer<TinyScene> sceneRegistrer(TinyScene::kCode);
tsio::ChunkRegistrer<VersionProbe> probeRegistrer(VersionProbe::kCode);
tsio::ChunkRegistrer<ColorPointer> pointerRegistrer(ColorPointer::kCode);

template <class T>
std::unique_ptr<T> loadAs(const Bytes& bytes) {
  Serializable* object = tstest::loadFromBytes(bytes);
  T* typed = dynamic_cast<T*>(object);
  if (!typed) delete object;
  return std::unique_ptr<T>(typed);
}

TEST(ChunkCode, FirstLetterIsTheLowByte) {
  EXPECT_EQ(tsio::fourCC("CCFL"), 0x4C464343u);
  EXPECT_EQ(tsio::fourCC("SCHE"), 0x45484353u);
  tsio::OutStreamMemory out;
  out.writeUint32(tsio::fourCC("CCFL"));
  EXPECT_EQ(out.bytes(), (Bytes{0x43, 0x43, 0x46, 0x4C}));
}

TEST(ChunkedLayout, ColorOperationLayoutIsByteExact) {
  tstest::RecordingTracer tracer;
  auto* color = new ColorConst;
  color->rgba[0] = 1.0f;  // 00 00 80 3F
  color->rgba[1] = 0.5f;  // 00 00 00 3F
  color->rgba[2] = 0.0f;
  color->rgba[3] = 2.0f;  // 00 00 00 40
  auto* factor = new FloatConst;
  factor->value = -1.0f;  // 00 00 80 BF
  ColorOp op;
  op.operation = 5;
  op.left = color;
  op.right = factor;
  const Bytes expected = {
      0x4E, 0x4F, 0x4E, 0x45,  //  0 magic "NONE"
      0x43, 0x6F, 0x43, 0x46,  //  4 root chunk "CoCF"
      0x01, 0x00,              //  8 version 1
      0x00, 0x00,              // 10 id 0
      0x30, 0x00, 0x00, 0x00,  // 12 size 48
      0x05, 0x00, 0x00, 0x00,  // 16 operator
      0x43, 0x43, 0x43, 0x4F,  // 20 nested "CCCO"
      0x01, 0x00,              // 24 version 1
      0x01, 0x00,              // 26 id 1
      0x10, 0x00, 0x00, 0x00,  // 28 size 16
      0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x00, 0x3F, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x40,  // 32
      0x43, 0x43, 0x46, 0x4C,  // 48 nested "CCFL"
      0x01, 0x00,              // 52 version 1
      0x02, 0x00,              // 54 id 2
      0x04, 0x00, 0x00, 0x00,  // 56 size 4
      0x00, 0x00, 0x80, 0xBF,  // 60 the float
  };
  const Bytes stored = tstest::storeToBytes(&op, 0);
  EXPECT_EQ(stored, expected);
  EXPECT_EQ(tracer.count('b'), 0u);
  EXPECT_EQ(tracer.texts('l'), (std::vector<std::string>{"Store Chunk : CoCF, Version : 1",
                                                         "Store Chunk : CCCO, Version : 1",
                                                         "Store Chunk : CCFL, Version : 1"}));

  std::unique_ptr<ColorOp> back = loadAs<ColorOp>(stored);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->operation, 5);
  auto* backColor = dynamic_cast<ColorConst*>(back->left);
  auto* backFactor = dynamic_cast<FloatConst*>(back->right);
  ASSERT_NE(backColor, nullptr);
  ASSERT_NE(backFactor, nullptr);
  EXPECT_EQ(backColor->rgba[1], 0.5f);
  EXPECT_EQ(backColor->rgba[3], 2.0f);
  EXPECT_EQ(backFactor->value, -1.0f);
}

TEST(ChunkedLayout, TheSameObjectTwiceIsOneChunkAndOneReference) {
  ColorConst color;
  ColorOp op;
  op.operation = 5;
  op.left = &color;
  op.right = &color;
  const Bytes stored = tstest::storeToBytes(&op, 0);
  op.left = op.right = nullptr;  // stack objects: not the operation's to delete
  ASSERT_EQ(stored.size(), 52u);
  EXPECT_EQ(Bytes(stored.begin() + 48, stored.end()), (Bytes{0x01, 0x00, 0x00, 0x80}));
  EXPECT_EQ(Bytes(stored.begin() + 12, stored.begin() + 16), (Bytes{36, 0, 0, 0}));  // 52 - 16

  // Read back, the float operand is a colour: that operand alone reads as null.
  tstest::RecordingTracer tracer;
  std::unique_ptr<ColorOp> back = loadAs<ColorOp>(stored);
  ASSERT_NE(back, nullptr);
  EXPECT_NE(back->left, nullptr);
  EXPECT_EQ(back->right, nullptr);
  EXPECT_TRUE(tracer.messages.empty());
}

TEST(ChunkedFile, PointerToAnObjectOfAnotherClassReadsAsNull) {
  ColorPointer pointer;
  pointer.held = new ColorConst;
  pointer.target = pointer.held;
  std::unique_ptr<ColorPointer> back = loadAs<ColorPointer>(tstest::storeToBytes(&pointer, 0));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->target, back->held);

  delete pointer.held;
  pointer.held = new FloatConst;
  pointer.target = pointer.held;
  back = loadAs<ColorPointer>(tstest::storeToBytes(&pointer, 0));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->target, nullptr) << "a pointer of another class reads as null";
}

TEST(ChunkedLayout, SmallestSceneFileLayoutIsByteExact) {
  TinyScene scene;
  scene.root = new TinyNode;
  const Bytes expected = {
      0x4E, 0x4F, 0x4E, 0x45,  //  0 magic "NONE"
      0x53, 0x43, 0x48, 0x45,  //  4 root chunk "SCHE"
      0x02, 0x00,              //  8 version 2
      0x00, 0x00,              // 10 id 0
      0x44, 0x00, 0x00, 0x00,  // 12 size 68
      0x00, 0x00, 0x00, 0x00,  // 16 textures
      0x00, 0x00, 0x00, 0x00,  // 20 materials
      0x48, 0x49, 0x4E, 0x4F,  // 24 nested "HINO"
      0x01, 0x00,              // 28 version 1
      0x01, 0x00,              // 30 id 1
      0x08, 0x00, 0x00, 0x00,  // 32 size 8
      0x00, 0x00, 0x00, 0x00,  // 36 no target
      0x00, 0x00, 0x00, 0x00,  // 40 null transformation
      0x00, 0x00, 0x00, 0x00,  // 44 child count of the root
      0x00, 0x00, 0x00, 0x00,  // 48 meshes
      0x00, 0x00, 0x00, 0x00,  // 52 cameras
      0x00, 0x00, 0x00, 0x00,  // 56 null active camera
      0x00, 0x00, 0x00, 0x00,  // 60 lights
      0x00, 0x00, 0x00, 0x00,  // 64 null shadow light
      0x00, 0x00, 0x00, 0x00,  // 68 atmospheres
      0x00, 0x00, 0x00, 0x00,  // 72 overlays
      0x00, 0x00, 0x00, 0x00,  // 76 null background
      0x00, 0x00, 0x00, 0x00,  // 80 renderers
  };
  const Bytes stored = tstest::storeToBytes(&scene, 0);
  EXPECT_EQ(stored, expected);

  std::unique_ptr<TinyScene> back = loadAs<TinyScene>(stored);
  ASSERT_NE(back, nullptr);
  EXPECT_NE(back->root, nullptr);
  EXPECT_TRUE(back->meshes.empty());
  EXPECT_EQ(back->background, nullptr);
}

TEST(ChunkedFile, NullRootIsTheMagicAndFourZeroBytes) {
  tstest::RecordingTracer tracer;
  const Bytes stored = tstest::storeToBytes(nullptr, 0);
  EXPECT_EQ(stored, (Bytes{0x4E, 0x4F, 0x4E, 0x45, 0, 0, 0, 0}));
  EXPECT_EQ(tstest::loadFromBytes(stored), nullptr);
  EXPECT_TRUE(tracer.messages.empty());
}

TEST(ChunkedFile, EmptyFileIsRefused) {
  tstest::RecordingTracer tracer;
  EXPECT_EQ(tstest::loadFromBytes(Bytes{}), nullptr);
  EXPECT_TRUE(tracer.messages.empty());
  tstest::TempPath path(".ts2");
  tstest::writeFile(path.path, {});
  EXPECT_EQ(tsio::openInStream(path.path), nullptr);
}

TEST(ChunkedFile, MissingFileGivesNullWithoutMessage) {
  tstest::RecordingTracer tracer;
  tstest::TempPath path(".ts2");
  EXPECT_EQ(tsio::openInStream(path.path), nullptr);
  EXPECT_TRUE(tracer.messages.empty());
}

TEST(ChunkedFile, OtherMagicGivesNullWithoutMessage) {
  tstest::RecordingTracer tracer;
  EXPECT_EQ(tstest::loadFromBytes(Bytes{'N', 'O', 'N', 'F', 0, 0, 0, 0}), nullptr);
  EXPECT_TRUE(tracer.messages.empty()) << "no persistence file: null, and the caller tells why";
}

TEST(ChunkedFile, SizeFieldHoldsAllOnesWhileTheBodyIsWritten) {
  tsio::OutStreamMemory memory;
  probeTarget = &memory;
  SizeProbe probe;
  std::unique_ptr<tsio::OutStream> out(tsio::openOutStream(&memory, false, 0));
  out->writeObject(&probe);
  ASSERT_EQ(probeSeen.size(), 16u);
  EXPECT_EQ(Bytes(probeSeen.begin() + 12, probeSeen.end()), (Bytes{0xFF, 0xFF, 0xFF, 0xFF}));
  EXPECT_EQ(Bytes(memory.bytes().begin() + 12, memory.bytes().begin() + 16), (Bytes{1, 0, 0, 0}));
}

TEST(ChunkedFile, SampleGraphRoundTripsWithSharedSelfAndBackReferences) {
  std::unique_ptr<tstest::Node> original(tstest::makeSampleGraph());
  for (int mode : {0, 1}) {
    tstest::RecordingTracer tracer;
    const Bytes stored = tstest::storeToBytes(original.get(), mode);
    std::unique_ptr<tstest::Node> root = loadAs<tstest::Node>(stored);
    ASSERT_NE(root, nullptr) << "mode " << mode;
    EXPECT_EQ(tracer.count('b'), 0u);
    EXPECT_EQ(root->name, "root");
    EXPECT_EQ(root->weight, 1.5f);
    ASSERT_EQ(root->children.size(), 4u);
    auto* branch = dynamic_cast<tstest::Node*>(root->children[0]);
    auto* later = dynamic_cast<tstest::Leaf*>(root->children[1]);
    auto* selfish = dynamic_cast<tstest::Node*>(root->children[2]);
    auto* back = dynamic_cast<tstest::Node*>(root->children[3]);
    ASSERT_TRUE(branch && later && selfish && back);
    ASSERT_EQ(branch->children.size(), 2u);
    auto* leaf = dynamic_cast<tstest::Leaf*>(branch->children[0]);
    ASSERT_NE(leaf, nullptr);
    EXPECT_EQ(leaf->number, 7);
    EXPECT_EQ(leaf->amount, -2.25);
    EXPECT_TRUE(leaf->flag);
    EXPECT_EQ(branch->children[1], nullptr);
    EXPECT_EQ(branch->link, later);  // met first as a link, owned by the root further on
    EXPECT_EQ(branch->blob, (Bytes{1, 2, 3, 0, 255}));
    EXPECT_EQ(later->number, -40);
    EXPECT_EQ(selfish->link, selfish);
    EXPECT_EQ(back->link, root.get());
    EXPECT_EQ(root->link, leaf);
    // Written again, the graph gives the same bytes: same ids, same order.
    EXPECT_EQ(tstest::storeToBytes(root.get(), mode), stored);
  }
}

TEST(ChunkedFile, ObjectWrittenTwiceReadsBackAsOnePointer) {
  tstest::Node root("r");
  auto* leaf = new tstest::Leaf(3);
  root.children = {leaf};
  root.link = leaf;
  const Bytes stored = tstest::storeToBytes(&root, 0);
  // The link is the last object word before the blob count: a reference to id 1.
  ASSERT_GE(stored.size(), 8u);
  EXPECT_EQ(Bytes(stored.end() - 8, stored.end() - 4), (Bytes{0x01, 0x00, 0x00, 0x80}));
  std::unique_ptr<tstest::Node> back = loadAs<tstest::Node>(stored);
  ASSERT_NE(back, nullptr);
  ASSERT_EQ(back->children.size(), 1u);
  EXPECT_NE(back->children[0], nullptr);
  EXPECT_EQ(back->link, back->children[0]);
}

TEST(ChunkedFile, FileStreamsRoundTripInBothModes) {
  std::unique_ptr<tstest::Node> original(tstest::makeSampleGraph());
  for (int mode : {0, 1}) {
    tstest::TempPath path(mode ? ".iobz.ts2" : ".none.ts2");
    tsio::OutStream* out = tsio::openOutStream(path.path, mode);
    ASSERT_NE(out, nullptr);
    out->writeObject(original.get());
    delete out;
    const Bytes onDisk = tstest::fileBytes(path.path);
    EXPECT_EQ(onDisk, tstest::storeToBytes(original.get(), mode));
    std::unique_ptr<tsio::InStream> in(tsio::openInStream(path.path));
    ASSERT_NE(in, nullptr);
    std::unique_ptr<Serializable> back(in->readObject());
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(tstest::storeToBytes(back.get(), 0), tstest::storeToBytes(original.get(), 0));
  }
}

TEST(ChunkedFile, OpenOutStreamKnowsTwoModesOnly) {
  tstest::TempPath path(".ts2");
  EXPECT_EQ(tsio::openOutStream(path.path, 2), nullptr);
  EXPECT_FALSE(tstest::fileExists(path.path));
  EXPECT_EQ(tsio::openOutStream(path.path, -1), nullptr);
}

TEST(ChunkedFile, UnknownChunkInsideAKnownParentIsSkippedBySize) {
  tstest::RecordingTracer tracer;
  Unregistered stranger;
  tstest::Node root("r");
  root.children = {new tstest::Leaf(1), &stranger, new tstest::Leaf(2)};
  root.link = &stranger;
  root.blob = {9};
  const Bytes stored = tstest::storeToBytes(&root, 0);
  root.children[1] = nullptr;  // on the stack
  std::unique_ptr<tstest::Node> back = loadAs<tstest::Node>(stored);
  ASSERT_NE(back, nullptr);
  ASSERT_EQ(back->children.size(), 3u);
  EXPECT_NE(dynamic_cast<tstest::Leaf*>(back->children[0]), nullptr);
  EXPECT_EQ(back->children[1], nullptr);
  auto* second = dynamic_cast<tstest::Leaf*>(back->children[2]);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(second->number, 2);
  EXPECT_EQ(back->link, nullptr);  // a reference to the unknown chunk
  EXPECT_EQ(back->blob, Bytes{9});
  // Body: int32 and "abc" with its 0 byte.
  EXPECT_EQ(tracer.texts('b'), (std::vector<std::string>{"TSIO : Unknown chunk read : zUNK, version : 3, size : 8"}));
}

TEST(ChunkedFile, LoadSeesItsOwnHeaderBeforeAndAfterNestedObjects) {
  VersionProbe probe;
  probe.child = new tstest::Leaf(4);
  std::unique_ptr<VersionProbe> back = loadAs<VersionProbe>(tstest::storeToBytes(&probe, 0));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->codeBefore, static_cast<int32_t>(VersionProbe::kCode));
  EXPECT_EQ(back->versionBefore, 5);
  EXPECT_EQ(back->sizeBefore, 12 + 13);  // the nested Leaf chunk, whole
  EXPECT_EQ(back->codeAfter, static_cast<int32_t>(VersionProbe::kCode));
  EXPECT_EQ(back->versionAfter, 5);
  EXPECT_EQ(back->sizeAfter, 13);  // the size is not on the stack: the Leaf's stays
}

TEST(ChunkedFile, RefusedVersionLeavesTheParentReadingWhereTheBodyBegan) {
  // A version 1 node (no blob) with one child: a leaf of version 2, which Leaf refuses before
  // reading. Its body of four 0 bytes then is the node's own next field: a null link.
  const Bytes file = {'N', 'O', 'N', 'E',
                      't', 'N', 'O', 'D', 1, 0, 0, 0, 25, 0, 0, 0,  // root, 25 bytes of body
                      0,                                            // name ""
                      0, 0, 0x80, 0x3F,                             // weight 1.0
                      1, 0, 0, 0,                                   // one child
                      't', 'L', 'E', 'F', 2, 0, 1, 0, 4, 0, 0, 0,   // leaf version 2, 4 bytes
                      0, 0, 0, 0};
  tstest::RecordingTracer tracer;
  std::unique_ptr<tstest::Node> back = loadAs<tstest::Node>(file);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->weight, 1.0f);
  ASSERT_EQ(back->children.size(), 1u);
  auto* leaf = dynamic_cast<tstest::Leaf*>(back->children[0]);
  ASSERT_NE(leaf, nullptr);  // the half-read object is kept
  EXPECT_EQ(leaf->number, 0);
  EXPECT_EQ(back->link, nullptr);
  EXPECT_TRUE(tracer.messages.empty());
}

TEST(ChunkedWriter, RefusesTheObjectBeyondTheLastIdWithOneMessage) {
  tstest::RecordingTracer tracer;
  tstest::Node root("many");
  for (int i = 0; i < tsio::OutStreamChunked::kMaxObjects; ++i) root.children.push_back(new tstest::Leaf(i));
  const Bytes stored = tstest::storeToBytes(&root, 0);
  EXPECT_EQ(tracer.texts('b'), (std::vector<std::string>{"TSIO : A file holds at most 65536 objects: the others "
                                                         "are stored as null"}));
  std::unique_ptr<tstest::Node> back = loadAs<tstest::Node>(stored);
  ASSERT_NE(back, nullptr);
  ASSERT_EQ(back->children.size(), 65536u);
  auto* last = dynamic_cast<tstest::Leaf*>(back->children[65534]);
  ASSERT_NE(last, nullptr);
  EXPECT_EQ(last->number, 65534);  // id 65535, the last one
  EXPECT_EQ(back->children[65535], nullptr);
}

TEST(ChunkedWriter, CodeWithTheTopBitSetIsReportedAndWrittenAnyway) {
  tstest::RecordingTracer tracer;
  tsio::OutStreamMemory memory;
  {
    tsio::OutStreamChunked out(&memory, false);
    out.beginChunk(0x80000000u | tsio::fourCC("ABC\0"), 1);
  }
  EXPECT_EQ(tracer.texts('b'), (std::vector<std::string>{std::string("Bad Chunk : A, B, C, \x80")}));
  EXPECT_EQ(memory.bytes(), (Bytes{'A', 'B', 'C', 0x80, 1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}));
}

// A faulty class: its store forgets the chunk header.
class Headless : public Serializable {
 public:
  bool load(tsio::InStream&) override { return true; }
  void store(tsio::OutStream& out) override { out.writeUint8(7); }
};

TEST(ChunkedWriter, StoreWithoutChunkIsReported) {
  tstest::RecordingTracer tracer;
  Headless headless;
  tsio::OutStreamMemory memory;
  {
    tsio::OutStreamChunked out(&memory, false);
    out.writeObject(&headless);
  }
  EXPECT_EQ(tracer.texts('b'), (std::vector<std::string>{"TSIO : A store must open exactly one chunk"}));
  EXPECT_EQ(memory.bytes(), Bytes{7});
}

}  // namespace
