#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "geometry/modifier_stack.h"
#include "scene/mesh.h"
#include "scene/render_queue.h"
#include "scene/transformation.h"
#include "tests/support/heap_count.h"
#include "tests/scene/scene_support.h"
#include "tests/scene/support.h"

namespace {

using ts3d::GeometrySimple;
using ts3d::MeshSimple;
using ts3d::quat;
using ts3d::TransformationPRS;
using ts3d::vect3;
using tstest::Bytes;
using tstest::FileBuilder;
using tstest::TestMaterial;

class MeshTest : public tstest::SceneTest {};

// A modifier that leaves the geometry alone and only asks to set the device up.
class SetupModifier : public ts3d::Modifier {
 public:
  void update(float) override {}
  bool modifiesGeometry() override { return false; }
  bool needsRenderSetup() override { return true; }
  bool canHandle(ts3d::Geometry*) override { return true; }
  ts3d::Geometry* createOutput(ts3d::Geometry* input) override { return input; }
  void apply(ts3d::Geometry*, ts3d::Geometry*) override {}
  void setupRender() override { tstest::eventLog().push_back("setup"); }
  bool load(tsio::InStream&) override { return false; }
  void store(tsio::OutStream&) override {}
};

TEST_F(MeshTest, RoundTripKeepsEveryFieldAndSharesTheMaterial) {
  tstest::Node owner("owner");
  auto* material = new TestMaterial("stone", 2);
  auto* mesh = new MeshSimple;
  mesh->setGeometryAndGroups(tstest::colouredSquare(ts3d::color(1, 0, 0, 1), 0.5f), {4, 9});
  mesh->setMaterial(material);
  mesh->setHidden(true);
  mesh->setCastsShadow(true);
  auto* place = new TransformationPRS(vect3(1, 2, 3), quat(0, 0, 0, 1), vect3(1, 1, 1));
  mesh->transformation = place;
  owner.children = {material, mesh};
  owner.kept = {place};
  const Bytes file = tstest::storeToBytes(&owner, 0);

  tstest::RecordingTracer tracer;
  auto readOwner = tstest::loadAs<tstest::Node>(file);
  ASSERT_NE(readOwner, nullptr);
  ASSERT_EQ(readOwner->children.size(), 2u);
  auto* readMaterial = dynamic_cast<TestMaterial*>(readOwner->children[0]);
  auto* readMesh = dynamic_cast<MeshSimple*>(readOwner->children[1]);
  ASSERT_NE(readMesh, nullptr);
  ASSERT_NE(readMaterial, nullptr);
  EXPECT_TRUE(tracer.messages.empty());
  EXPECT_EQ(readMesh->material(), readMaterial) << "the mesh points at the material its owner holds";
  EXPECT_EQ(readMaterial->name, "stone");
  EXPECT_TRUE(readMesh->hidden());
  EXPECT_TRUE(readMesh->castsShadow());
  EXPECT_EQ(readMesh->materialIds, (std::vector<uint32_t>{4, 9}));
  auto* geometry = dynamic_cast<GeometrySimple*>(readMesh->geometry());
  ASSERT_NE(geometry, nullptr);
  EXPECT_EQ(geometry->positions, dynamic_cast<GeometrySimple*>(mesh->geometry())->positions);
  EXPECT_EQ(readMesh->modifierStack, nullptr);
  auto* readPlace = dynamic_cast<TransformationPRS*>(readMesh->transformation);
  ASSERT_NE(readPlace, nullptr);
  EXPECT_EQ(readPlace->positionValue, vect3(1, 2, 3));
  // Stored again, the read mesh gives the same bytes.
  EXPECT_EQ(tstest::storeToBytes(readOwner.get(), 0), file);
}

TEST_F(MeshTest, AStoredStackComesBackWithTheMeshGeometryAsItsSource) {
  MeshSimple mesh;
  mesh.setGeometry(tstest::colouredSquare(ts3d::color(1, 0, 0, 1), 0.5f));
  mesh.modifierStack = new ts3d::ModifierStack;
  mesh.modifierStack->setSource(mesh.geometry());
  const Bytes file = tstest::storeToBytes(&mesh, 0);
  // Both flags are set.
  ASSERT_GT(file.size(), 20u);
  EXPECT_EQ(file[16], 3);

  tstest::RecordingTracer tracer;
  std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(file));
  auto* read = dynamic_cast<MeshSimple*>(root.get());
  ASSERT_NE(read, nullptr);
  EXPECT_TRUE(tracer.messages.empty());
  ASSERT_NE(read->modifierStack, nullptr);
  ASSERT_NE(read->geometry(), nullptr);
  EXPECT_EQ(read->modifierStack->sourceGeometry(), read->geometry());
  EXPECT_EQ(read->currentGeometry(), read->geometry());
}

TEST_F(MeshTest, BodiesOfEachVersionReadTheirFields) {
  // Versions 0 and 1 have no shadow byte: the ids follow the hidden flag directly.
  for (uint16_t version : {0, 1, 2}) {
    FileBuilder file;
    const uint32_t size = version == 2 ? 26 : 25;
    tstest::headerV(file, "MESM", version, 0, size).u32(0).u8(1);
    if (version == 2) file.u8(1);
    file.u32(2).u32(7).u32(9).u32(0).u32(0);
    tstest::RecordingTracer tracer;
    std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(file.bytes));
    auto* mesh = dynamic_cast<MeshSimple*>(root.get());
    ASSERT_NE(mesh, nullptr) << "version " << version;
    EXPECT_TRUE(tracer.messages.empty()) << "version " << version;
    EXPECT_TRUE(mesh->hidden());
    EXPECT_EQ(mesh->castsShadow(), version == 2);
    EXPECT_EQ(mesh->materialIds, (std::vector<uint32_t>{7, 9})) << "version " << version;
    EXPECT_EQ(mesh->geometry(), nullptr);
    EXPECT_EQ(mesh->material(), nullptr);
    EXPECT_EQ(mesh->transformation, nullptr);
  }
  // Version 3 is stepped over and leaves the mesh empty.
  FileBuilder later;
  tstest::headerV(later, "MESM", 3, 0, 26).u32(0).u8(1).u8(1).u32(2).u32(7).u32(9).u32(0).u32(0);
  tstest::RecordingTracer tracer;
  std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(later.bytes));
  auto* mesh = dynamic_cast<MeshSimple*>(root.get());
  ASSERT_NE(mesh, nullptr);
  EXPECT_FALSE(mesh->hidden());
  EXPECT_TRUE(mesh->materialIds.empty());
}

TEST_F(MeshTest, StoreWritesFlagsOnlyForWhatIsThere) {
  MeshSimple empty;
  const Bytes file = tstest::storeToBytes(&empty, 0);
  FileBuilder expected;
  tstest::headerV(expected, "MESM", 2, 0, 18).u32(0).u8(0).u8(0).u32(0).u32(0).u32(0);
  EXPECT_EQ(file, expected.bytes);
}

TEST_F(MeshTest, UpdateCentresTheBoxOnTheGeometryAndPlacesItInTheWorld) {
  MeshSimple mesh;
  auto* g = new GeometrySimple;
  g->positions = {vect3(0, 0, 0), vect3(2, 4, 6)};
  mesh.setGeometry(g);
  mesh.update(0.0f);
  EXPECT_EQ(mesh.orientedBox()->halfSize, vect3(1, 2, 3));
  tstest::expectMatrixNear(mesh.orientedBox()->toWorld, ts3d::matrix(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1));

  // Turned a quarter about +Z and moved: the centre goes through the turn, then the move.
  const float h = std::sqrt(0.5f);
  TransformationPRS place(vect3(10, 0, 0), quat(0, 0, h, h), vect3(1, 1, 1));
  mesh.transformation = &place;
  mesh.setHidden(true);  // hidden meshes still move their box
  mesh.update(0.0f);
  const ts3d::matrix& world = mesh.orientedBox()->toWorld;
  EXPECT_NEAR(world._41, 10.0f - 2.0f, 1e-5f);
  EXPECT_NEAR(world._42, 1.0f, 1e-5f);
  EXPECT_NEAR(world._43, 3.0f, 1e-5f);
  mesh.transformation = nullptr;
}

TEST_F(MeshTest, QueueingFollowsHiddenExcludedAndTheMaterialsOrder) {
  MeshSimple mesh;
  ts3d::RenderQueue none;
  mesh.enqueue(none);
  EXPECT_TRUE(none.items().empty()) << "no geometry, nothing queued";

  mesh.setGeometry(new tstest::LoggedGeometry("g"));
  TestMaterial glass("glass", 3);
  ts3d::RenderQueue queue;
  mesh.enqueue(queue);
  ASSERT_EQ(queue.items().size(), 1u);
  EXPECT_EQ(queue.items()[0]->orderClass, 1) << "without material: opaque";
  EXPECT_EQ(queue.items()[0]->material, nullptr);
  EXPECT_EQ(queue.items()[0]->geometry, mesh.geometry());
  ASSERT_NE(queue.items()[0]->world, nullptr);
  tstest::expectMatrixNear(*queue.items()[0]->world, tstest::identityMatrix(), 0.0f);

  mesh.setMaterial(&glass);
  mesh.enqueue(queue);
  ASSERT_EQ(queue.items().size(), 2u);
  EXPECT_EQ(queue.items()[1]->orderClass, 2);
  EXPECT_EQ(queue.items()[1]->material, &glass);

  mesh.setHidden(true);
  mesh.enqueue(queue);
  mesh.setHidden(false);
  mesh.setExcluded(true);
  mesh.enqueue(queue);
  EXPECT_EQ(queue.items().size(), 2u) << "hidden or excluded meshes stay out";
}

TEST_F(MeshTest, ModifiersNeedAGeometryAndTheEmptyStackDrawsTheSource) {
  MeshSimple bare;
  SetupModifier refused;
  EXPECT_FALSE(bare.addModifier(&refused));
  EXPECT_EQ(bare.modifierStack, nullptr);

  MeshSimple mesh;
  mesh.setGeometry(new tstest::LoggedGeometry("source"));
  ASSERT_TRUE(mesh.addModifier(new SetupModifier));
  ASSERT_NE(mesh.modifierStack, nullptr);
  EXPECT_EQ(mesh.modifierStack->sourceGeometry(), mesh.geometry());
  EXPECT_EQ(mesh.currentGeometry(), mesh.geometry()) << "no output: the source is drawn";
  ts3d::RenderQueue queue;
  mesh.enqueue(queue);
  ASSERT_EQ(queue.items().size(), 1u);
  EXPECT_EQ(queue.items()[0]->stack, mesh.modifierStack);

  tstest::eventLog().clear();
  tstest::RecordingTracer tracer;
  mesh.createResources();
  EXPECT_EQ(tstest::eventLog(), std::vector<std::string>{"resources source"});
  EXPECT_TRUE(tracer.messages.empty());
}

TEST_F(MeshTest, CreateResourcesWithoutGeometryReportsOnce) {
  MeshSimple mesh;
  tstest::RecordingTracer tracer;
  mesh.createResources();
  EXPECT_EQ(tracer.texts('b'), std::vector<std::string>{"MeshSimple has no geometry."});
}

TEST_F(MeshTest, HostileBodiesAreRefusedAndFreeAll) {
  // An id count beyond the bytes left.
  FileBuilder huge;
  tstest::headerV(huge, "MESM", 2, 0, 18).u32(0).u8(0).u8(0).u32(0x40000000).u32(0).u32(0);
  tstest::expectRefused(huge.bytes,
                        "a count of 1073741824 items of 4 bytes or more, with 8 bytes left in chunk MESM (id 0)");

  // Every cut of a whole mesh with geometry, material owner and place.
  tstest::Node owner("owner");
  auto* material = new TestMaterial("m", 1);
  auto* mesh = new MeshSimple;
  mesh->setGeometryAndGroups(tstest::colouredSquare(ts3d::color(1, 1, 1, 1), 1.0f), {1});
  mesh->setMaterial(material);
  mesh->transformation = new TransformationPRS;
  owner.children = {material, mesh};
  owner.kept = {mesh->transformation};
  tstest::expectEveryCutRefused(tstest::storeToBytes(&owner, 0));
}

}  // namespace
