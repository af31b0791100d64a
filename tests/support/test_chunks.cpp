#include "tests/support/test_chunks.h"

#include <memory>

#include "io/chunk_registry.h"
#include "io/persistence.h"
#include "io/stream_memory.h"

namespace tstest {
namespace {

tsio::ChunkRegistrer<Node> nodeRegistrer(Node::kCode);
tsio::ChunkRegistrer<Leaf> leafRegistrer(Leaf::kCode);

}  // namespace

int Node::live = 0;
int Leaf::live = 0;

Node::~Node() {
  for (tsio::Serializable* child : children) delete child;
  for (tsio::Serializable* object : kept) delete object;
  --live;
}

void Node::keepUnowned(std::vector<tsio::Serializable*>& objects) {
  kept.insert(kept.end(), objects.begin(), objects.end());
  objects.clear();
}

bool Node::load(tsio::InStream& in) {
  const int32_t version = in.isChunked() ? in.chunkVersion() : kVersion;
  if (version > kVersion) return false;
  in.readString(name);
  in.readFloat(&weight);
  uint32_t count = 0;
  if (!in.readCount(&count, 4)) return false;
  for (uint32_t i = 0; i < count; ++i) children.push_back(tsio::readOwned<tsio::Serializable>(in));
  link = tsio::readShared<tsio::Serializable>(in);
  if (version >= 2) {
    uint32_t length = 0;
    if (!in.readCount(&length, 1)) return false;
    blob.resize(length);
    if (length > 0) in.readBytes(blob.data(), length);
  }
  return true;
}

void Node::store(tsio::OutStream& out) {
  out.beginChunk(kCode, kVersion);
  out.writeString(name);
  out.writeFloat(weight);
  out.writeUint32(static_cast<uint32_t>(children.size()));
  for (tsio::Serializable* child : children) out.writeObject(child);
  out.writeObject(link);
  out.writeUint32(static_cast<uint32_t>(blob.size()));
  if (!blob.empty()) out.writeBytes(blob.data(), static_cast<uint32_t>(blob.size()));
}

bool Leaf::load(tsio::InStream& in) {
  if (in.isChunked() && in.chunkVersion() > 1) return false;
  in.readInt32(&number);
  in.readDouble(&amount);
  in.readBool(&flag);
  return true;
}

void Leaf::store(tsio::OutStream& out) {
  out.beginChunk(kCode, 1);
  out.writeInt32(number);
  out.writeDouble(amount);
  out.writeBool(flag);
}

Node* makeSampleGraph() {
  auto* root = new Node("root");
  root->weight = 1.5f;
  auto* branch = new Node("branch");
  auto* leaf = new Leaf(7);
  leaf->amount = -2.25;
  leaf->flag = true;
  auto* later = new Leaf(-40);
  branch->children = {leaf, nullptr};
  branch->link = later;  // stored here first, owned by the root further on
  branch->blob = {1, 2, 3, 0, 255};
  auto* selfish = new Node("selfish");
  selfish->link = selfish;
  auto* back = new Node("back");
  back->link = root;
  root->children = {branch, later, selfish, back};
  root->link = leaf;
  return root;
}

std::vector<uint8_t> storeToBytes(tsio::Serializable* root, int mode) {
  tsio::OutStreamMemory memory;
  tsio::OutStream* out = tsio::openOutStream(&memory, false, mode);
  out->writeObject(root);
  delete out;  // a compressed stream reaches memory only here
  return memory.bytes();
}

tsio::Serializable* loadFromBytes(const uint8_t* data, size_t size) {
  auto* memory = new tsio::InStreamMemory;
  memory->setRange(data, static_cast<int32_t>(size));
  std::unique_ptr<tsio::InStream> in(tsio::openInStream(memory, true));
  return in ? in->readObject() : nullptr;
}

tsio::Serializable* loadFromBytes(const std::vector<uint8_t>& bytes) { return loadFromBytes(bytes.data(), bytes.size()); }

}  // namespace tstest
