#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "io/serializable.h"

// Small persisted classes for tests and fuzz targets, registered under codes that no class of
// the system uses ("tNOD", "tLEF"). Link them as objects so their registrers are kept.
namespace tstest {

// A node of a graph: owns its children, points at any object through link; as a root it
// keeps what its file holds that nothing owns.
// Body: string name, float weight, count and owned children, object link; from version 2 on
// a count and that many bytes of blob.
class Node : public tsio::Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("tNOD");
  static constexpr int32_t kVersion = 2;

  Node() { ++live; }
  explicit Node(std::string nodeName) : name(std::move(nodeName)) { ++live; }
  ~Node() override;
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;
  void keepUnowned(std::vector<tsio::Serializable*>& objects) override;

  std::string name;
  float weight = 0.0f;
  std::vector<tsio::Serializable*> kept;
  std::vector<tsio::Serializable*> children;
  tsio::Serializable* link = nullptr;
  std::vector<uint8_t> blob;

  static int live;  // instances in existence, so tests can see that failed reads free all
};

// A leaf with one value of each width. Body: int32 number, double amount, bool flag.
class Leaf : public tsio::Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("tLEF");

  Leaf() { ++live; }
  explicit Leaf(int32_t value) : number(value) { ++live; }
  ~Leaf() override { --live; }
  Leaf(const Leaf&) = delete;
  Leaf& operator=(const Leaf&) = delete;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;

  int32_t number = 0;
  double amount = 0.0;
  bool flag = false;

  static int live;
};

// A graph with every feature of the format: nesting, owned leaves, a link to an object that is
// stored later (so the owner meets a reference), a link back to an ancestor, a self link, a blob.
Node* makeSampleGraph();

// The persistence file of a root, written by openOutStream in the given mode into memory.
std::vector<uint8_t> storeToBytes(tsio::Serializable* root, int mode);
// The root read back by openInStream and readObject from those bytes, or null.
tsio::Serializable* loadFromBytes(const std::vector<uint8_t>& bytes);
tsio::Serializable* loadFromBytes(const uint8_t* data, size_t size);

}  // namespace tstest
