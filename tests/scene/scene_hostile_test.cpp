#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "scene/hierarchy_node.h"
#include "scene/scene_hierarchy.h"
#include "tests/support/heap_count.h"
#include "tests/scene/scene_support.h"
#include "tests/scene/support.h"

// Scene files that try to break the reader: each gives null, one message and no leak.
namespace {

using ts3d::SceneHierarchy;
using tstest::Bytes;
using tstest::FileBuilder;

using tstest::expectRefused;

// A node of no target and no transformation.
FileBuilder& node(FileBuilder& file, uint16_t id) { return file.header("HINO", id, 8).u32(0).u32(0); }

class SceneHostileTest : public tstest::SceneTest {};

TEST_F(SceneHostileTest, CountsBeyondTheBytesLeftAreRefusedBeforeAnythingIsSized) {
  FileBuilder list;
  tstest::headerV(list, "SCHE", 2, 0, 48).u32(0x7FFFFFFF);
  for (int i = 0; i < 11; ++i) list.u32(0);
  expectRefused(list.bytes, "a count of 2147483647 items of 4 bytes or more, with 44 bytes left in chunk SCHE (id 0)");

  FileBuilder children;
  tstest::headerV(children, "SCHE", 2, 0, 68).u32(0).u32(0);
  node(children, 1).u32(0x10000000);
  for (int i = 0; i < 9; ++i) children.u32(0);
  expectRefused(children.bytes,
                "a count of 268435456 items of 4 bytes or more, with 36 bytes left in chunk SCHE (id 0)");
}

// A chain of nodes, each the only child of the one before.
Bytes chainOfNodes(int levels) {
  FileBuilder file;
  tstest::headerV(file, "SCHE", 2, 0, static_cast<uint32_t>(8 + levels * 24 + 36)).u32(0).u32(0);
  for (int level = 0; level < levels; ++level) node(file, static_cast<uint16_t>(level + 1)).u32(level + 1 < levels);
  for (int i = 0; i < 9; ++i) file.u32(0);
  return file.bytes;
}

TEST_F(SceneHostileTest, TreesDeeperThanTheCapAreRefused) {
  const tstest::CountedRead deepest =
      tstest::readCounted(chainOfNodes(static_cast<int>(SceneHierarchy::kMaxTreeDepth)));
  EXPECT_TRUE(deepest.loaded);
  EXPECT_TRUE(deepest.boxes.empty());
  EXPECT_EQ(deepest.leaked, 0);
  expectRefused(chainOfNodes(static_cast<int>(SceneHierarchy::kMaxTreeDepth) + 1),
                "the tree of nodes is deeper than 256 levels in chunk SCHE (id 0)");
  expectRefused(chainOfNodes(5000), "the tree of nodes is deeper than 256 levels");
}

TEST_F(SceneHostileTest, EveryTruncationOfAWholeSceneIsRefusedAndFreesAll) {
  tstest::expectEveryCutRefused(
      tstest::storeToBytes(std::unique_ptr<SceneHierarchy>(tstest::sampleScene()).get(), 0));
}

}  // namespace
