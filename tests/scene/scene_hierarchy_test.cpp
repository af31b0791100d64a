#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "scene/camera.h"
#include "scene/controller/const.h"
#include "scene/hierarchy_node.h"
#include "scene/light.h"
#include "scene/mesh.h"
#include "scene/render_queue.h"
#include "scene/scene_hierarchy.h"
#include "tests/scene/scene_support.h"
#include "tests/scene/support.h"

namespace {

using ts3d::HierarchyNode;
using ts3d::SceneHierarchy;
using ts3d::vect3;
using tstest::Bytes;
using tstest::FileBuilder;

class SceneHierarchyTest : public tstest::SceneTest {};

std::unique_ptr<SceneHierarchy> readScene(const Bytes& file, std::vector<std::string>* boxes = nullptr) {
  tstest::RecordingTracer tracer;
  std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(file));
  if (boxes) *boxes = tracer.texts('b');
  auto* scene = dynamic_cast<SceneHierarchy*>(root.get());
  if (scene) root.release();
  return std::unique_ptr<SceneHierarchy>(scene);
}

TEST_F(SceneHierarchyTest, RoundTripKeepsListsTreeAndSharedObjects) {
  std::unique_ptr<SceneHierarchy> original(tstest::sampleScene());
  const Bytes file = tstest::storeToBytes(original.get(), 0);
  std::vector<std::string> boxes;
  std::unique_ptr<SceneHierarchy> scene = readScene(file, &boxes);
  ASSERT_NE(scene, nullptr);
  EXPECT_TRUE(boxes.empty()) << boxes.front();

  ASSERT_EQ(scene->materials.size(), 1u);
  ASSERT_EQ(scene->meshes.size(), 1u);
  ASSERT_EQ(scene->cameras.size(), 1u);
  ASSERT_EQ(scene->lights.size(), 1u);
  ASSERT_EQ(scene->atmospheres.size(), 1u);
  ASSERT_EQ(scene->overlays.size(), 1u);
  ASSERT_EQ(scene->renderers.size(), 1u);
  EXPECT_TRUE(scene->textures.empty());
  EXPECT_EQ(scene->activeCamera, scene->cameras[0]);
  EXPECT_EQ(scene->shadowLight, scene->lights[0]);
  auto* background = dynamic_cast<tstest::TestAtmospheric*>(scene->background);
  ASSERT_NE(background, nullptr);
  EXPECT_EQ(background->name, "back");

  // The tree with its parents, and the target that was stored inside the aiming node.
  HierarchyNode* root = scene->root;
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->parent, nullptr);
  ASSERT_EQ(root->children.size(), 2u);
  HierarchyNode* aimer = root->children[0];
  HierarchyNode* holder = root->children[1];
  ASSERT_EQ(holder->children.size(), 1u);
  HierarchyNode* leaf = holder->children[0];
  EXPECT_EQ(aimer->parent, root);
  EXPECT_EQ(holder->parent, root);
  EXPECT_EQ(leaf->parent, holder);
  EXPECT_EQ(aimer->target, leaf);
  EXPECT_NE(aimer->rollController, nullptr);
  EXPECT_EQ(holder->target, nullptr);
  ASSERT_NE(leaf->transformation, nullptr);

  // Members point at each other as they did.
  auto* mesh = dynamic_cast<ts3d::MeshSimple*>(scene->meshes[0]);
  ASSERT_NE(mesh, nullptr);
  EXPECT_EQ(mesh->material(), scene->materials[0]);
  EXPECT_EQ(mesh->transformation, holder);
  EXPECT_EQ(scene->cameras[0]->transformation, aimer);
  auto* light = dynamic_cast<ts3d::LightOmni*>(scene->lights[0]);
  ASSERT_NE(light, nullptr);
  EXPECT_EQ(light->included, std::vector<ts3d::Mesh*>{mesh});

  EXPECT_EQ(tstest::storeToBytes(scene.get(), 0), file) << "stored again, the same bytes";
}

TEST_F(SceneHierarchyTest, EmptyListsAndTheRootOnlyTreeHaveTheirShortForms) {
  SceneHierarchy empty;
  FileBuilder expected;
  tstest::headerV(expected, "SCHE", 2, 0, 48);
  for (int i = 0; i < 12; ++i) expected.u32(0);
  EXPECT_EQ(tstest::storeToBytes(&empty, 0), expected.bytes);

  SceneHierarchy rooted;
  rooted.root = new HierarchyNode;
  FileBuilder tree;
  tstest::headerV(tree, "SCHE", 2, 0, 68).u32(0).u32(0);
  tree.header("HINO", 1, 8).u32(0).u32(0);
  tree.u32(0);  // no children
  for (int i = 0; i < 9; ++i) tree.u32(0);
  EXPECT_EQ(tstest::storeToBytes(&rooted, 0), tree.bytes);
  std::unique_ptr<SceneHierarchy> read = readScene(tree.bytes);
  ASSERT_NE(read, nullptr);
  ASSERT_NE(read->root, nullptr);
  EXPECT_TRUE(read->root->children.empty());
}

TEST_F(SceneHierarchyTest, VersionOneHasNoShadowLightAndVersionThreeIsRefused) {
  // Lights: one LTOM of null objects and empty lists; then straight on to the atmospheres.
  FileBuilder file;
  tstest::headerV(file, "SCHE", 1, 0, 44 + 52).u32(0).u32(0).u32(0).u32(0).u32(0).u32(0).u32(1);
  file.header("LTOM", 1, 40);
  for (int i = 0; i < 10; ++i) file.u32(0);
  file.u32(0).u32(0).u32(0).u32(0);
  std::vector<std::string> boxes;
  std::unique_ptr<SceneHierarchy> scene = readScene(file.bytes, &boxes);
  ASSERT_NE(scene, nullptr);
  EXPECT_TRUE(boxes.empty()) << boxes.front();
  EXPECT_EQ(scene->lights.size(), 1u);
  EXPECT_EQ(scene->shadowLight, nullptr);
  EXPECT_EQ(scene->root, nullptr);

  FileBuilder later;
  tstest::headerV(later, "SCHE", 3, 0, 48);
  for (int i = 0; i < 12; ++i) later.u32(0);
  std::unique_ptr<SceneHierarchy> refused = readScene(later.bytes);
  ASSERT_NE(refused, nullptr);
  EXPECT_TRUE(refused->meshes.empty());
  EXPECT_EQ(refused->root, nullptr);
}

TEST_F(SceneHierarchyTest, ABackgroundInAListIsOwnedByTheListAndStoredAsAReference) {
  SceneHierarchy scene;
  auto* fog = new tstest::TestAtmospheric("fog");
  scene.atmospheres = {fog};
  scene.background = fog;
  const Bytes file = tstest::storeToBytes(&scene, 0);
  std::unique_ptr<SceneHierarchy> read = readScene(file);
  ASSERT_NE(read, nullptr);
  ASSERT_EQ(read->atmospheres.size(), 1u);
  EXPECT_EQ(read->background, read->atmospheres[0]);
  // The background slot holds a reference word: the id of the atmosphere, top bit set.
  FileBuilder tail;
  tail.u32(0x80000001u).u32(0);
  const Bytes expectedTail(tail.bytes.begin() + 4, tail.bytes.end());
  ASSERT_GT(file.size(), expectedTail.size());
  EXPECT_EQ(Bytes(file.end() - 8, file.end()), expectedTail);
}

TEST_F(SceneHierarchyTest, UpdateStepsTheTreeThenWorldMatricesThenTheListsInOrder) {
  std::unique_ptr<SceneHierarchy> scene(tstest::sampleScene());
  tstest::eventLog().clear();
  scene->update(0.5f);
  EXPECT_EQ(tstest::eventLog(),
            (std::vector<std::string>{"update fog 0.500000", "update sky 0.500000", "update pass 0.500000"}));

  HierarchyNode* holder = scene->root->children[1];
  HierarchyNode* leaf = holder->children[0];
  // World = local times parent's world: the leaf stands at (1, 1, 0).
  EXPECT_NEAR(leaf->worldMatrix._41, 1.0f, 1e-6f);
  EXPECT_NEAR(leaf->worldMatrix._42, 1.0f, 1e-6f);
  EXPECT_EQ(*leaf->matrix(), leaf->worldMatrix);
  // The mesh took its box from the holder's world matrix.
  EXPECT_NEAR(scene->meshes[0]->orientedBox()->toWorld._41, 1.0f, 1e-6f);

  tstest::eventLog().clear();
  scene->clear(2.0f);
  EXPECT_EQ(tstest::eventLog(), (std::vector<std::string>{"update back 2.000000", "clear back 7 direct"}));
}

TEST_F(SceneHierarchyTest, ANodeWithATargetLooksAtItAndRollsAboutTheLookAxis) {
  HierarchyNode aimer, target;
  aimer.transformation = tstest::placeAt(vect3(0, -10, 0));
  target.transformation = tstest::placeAt(vect3(0, 0, 0));
  aimer.target = &target;
  aimer.update(0.0f);
  const ts3d::matrix& m = aimer.localMatrix;
  // Its -Z axis points along +Y, at the target; +Y is up (+Z); the position stays.
  EXPECT_NEAR(-m._31, 0.0f, 1e-5f);
  EXPECT_NEAR(-m._32, 1.0f, 1e-5f);
  EXPECT_NEAR(-m._33, 0.0f, 1e-5f);
  EXPECT_NEAR(m._23, 1.0f, 1e-5f);
  EXPECT_NEAR(m._41, 0.0f, 1e-6f);
  EXPECT_NEAR(m._42, -10.0f, 1e-6f);
  EXPECT_EQ(*aimer.rotation(), ts3d::quat(0, 0, 0, 1));
  EXPECT_EQ(*aimer.position(), vect3(0, -10, 0));

  // A quarter roll turns the up axis to -X and leaves the look axis.
  aimer.rollController = new ts3d::controller::Const<float>(1.5707963f);
  aimer.update(0.0f);
  EXPECT_NEAR(-aimer.localMatrix._32, 1.0f, 1e-5f);
  EXPECT_NEAR(aimer.localMatrix._21, -1.0f, 1e-5f);
  EXPECT_NEAR(aimer.localMatrix._23, 0.0f, 1e-5f);
  aimer.target = nullptr;
}

TEST_F(SceneHierarchyTest, RingsOfTargetsAndEmptyScenesDoNotHangOrCrash) {
  // Two nodes aiming at each other, and one at itself.
  HierarchyNode a, b, self;
  a.transformation = tstest::placeAt(vect3(0, -1, 0));
  b.transformation = tstest::placeAt(vect3(0, 1, 0));
  self.transformation = tstest::placeAt(vect3(0, 0, 0));
  a.target = &b;
  b.target = &a;
  self.target = &self;
  a.update(0.0f);
  b.update(0.0f);
  self.update(0.0f);
  EXPECT_NEAR(-a.localMatrix._32, 1.0f, 1e-5f);
  EXPECT_NEAR(-b.localMatrix._32, -1.0f, 1e-5f);

  // No root, no camera, nothing in the lists: update, clear and render do nothing.
  SceneHierarchy empty;
  empty.update(1.0f);
  empty.render();
  empty.drawBounds();
  std::unique_ptr<ts3d::RenderQueue> queue(empty.collectVisible());
  EXPECT_TRUE(queue->items().empty());
  EXPECT_EQ(empty.rendererDepth, 0u);
}

}  // namespace
