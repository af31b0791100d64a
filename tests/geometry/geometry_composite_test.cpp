#include <gtest/gtest.h>

#include <cfloat>
#include <memory>
#include <string>
#include <vector>

#include "geometry/geometry_composite.h"
#include "tests/geometry/geometry_samples.h"
#include "tests/geometry/geometry_support.h"
#include "tests/support/test_chunks.h"

// The composite geometry: its "GOCP" body, the folds of bounds over the children, the calls
// it passes on, split and merged, and files shaped by an attacker.
namespace {

using ts3d::BoundingBox;
using ts3d::BoundingSphere;
using ts3d::color;
using ts3d::GeometryComposite;
using ts3d::GeometrySimple;
using ts3d::vect3;
using tstest::ByteWriter;
using tstest::Bytes;
using tstest::face;
using tstest::fileOf;
using tstest::readFile;
using tstest::sampleJournal;
using tstest::ShapeGeometry;
using tstest::storeFile;
using tstest::TrackedGeometry;

ShapeGeometry* shape(vect3 center, float radius) {
  auto* g = new ShapeGeometry;
  g->sphere.center = center;
  g->sphere.radius = radius;
  return g;
}

void expectSphere(const BoundingSphere& s, vect3 center, float radius) {
  EXPECT_FLOAT_EQ(s.center.x, center.x);
  EXPECT_FLOAT_EQ(s.center.y, center.y);
  EXPECT_FLOAT_EQ(s.center.z, center.z);
  EXPECT_FLOAT_EQ(s.radius, radius);
}

// n vertices along x with faces (i, i+1, i+2).
GeometrySimple* strip(uint16_t n, float y) {
  auto* g = new GeometrySimple;
  for (uint16_t i = 0; i < n; ++i) g->positions.push_back(vect3(static_cast<float>(i), y, 0.0f));
  for (uint16_t i = 0; i + 2 < n; ++i)
    g->faces.push_back(face(i, static_cast<uint16_t>(i + 1), static_cast<uint16_t>(i + 2)));
  return g;
}

TEST(GeometryComposite, EmptyCompositeHasInvertedBoundsAZeroPlaneAndDrawsNothing) {
  GeometryComposite empty;
  EXPECT_TRUE(empty.isComposite());
  const BoundingBox box = empty.boundingBox();
  EXPECT_EQ(box.minimum, vect3(FLT_MAX, FLT_MAX, FLT_MAX));
  EXPECT_EQ(box.maximum, vect3(-FLT_MAX, -FLT_MAX, -FLT_MAX));
  expectSphere(empty.boundingSphere(), vect3(0, 0, 0), -FLT_MAX);
  sampleJournal().clear();
  empty.draw();
  empty.prepare();
  empty.createResources();
  EXPECT_TRUE(sampleJournal().empty());
  const ts3d::Plane p = empty.plane();
  EXPECT_EQ(p.a, 0.0f);
  EXPECT_EQ(p.d, 0.0f);
}

TEST(GeometryComposite, SphereFoldFollowsEachOfItsThreeCases) {
  {  // the first child replaces the starting sphere
    GeometryComposite one({shape(vect3(1, 2, 3), 4)});
    expectSphere(one.boundingSphere(), vect3(1, 2, 3), 4);
  }
  {  // a sphere wholly inside the running one leaves it exactly as it was
    GeometryComposite inside({shape(vect3(0.1f, 0.2f, 0.3f), 10), shape(vect3(1, 0, 0), 2)});
    expectSphere(inside.boundingSphere(), vect3(0.1f, 0.2f, 0.3f), 10);
  }
  {  // a sphere holding the running one replaces it
    GeometryComposite around({shape(vect3(0, 0, 0), 1), shape(vect3(1, 0, 0), 5)});
    expectSphere(around.boundingSphere(), vect3(1, 0, 0), 5);
  }
  {  // overlapping: r = (4 + 1 + 1) / 2 = 3, and the centre moves by r itself towards b
    GeometryComposite apart({shape(vect3(0, 0, 0), 1), shape(vect3(0, 4, 0), 1)});
    expectSphere(apart.boundingSphere(), vect3(0, 3, 0), 3);
  }
  {  // the fold runs in child order: the third child folds into the result of the first two
    GeometryComposite three({shape(vect3(0, 0, 0), 1), shape(vect3(4, 0, 0), 1), shape(vect3(3, 0, 0), 0.5f)});
    expectSphere(three.boundingSphere(), vect3(3, 0, 0), 3);
    GeometryComposite reordered({shape(vect3(3, 0, 0), 0.5f), shape(vect3(0, 0, 0), 1), shape(vect3(4, 0, 0), 1)});
    // (3, .5) with (0, 1): d 3, r 2.25, centre 3 - 2.25; then (4, 1): d 3.25, r 3.25, centre .75 + 3.25.
    expectSphere(reordered.boundingSphere(), vect3(4, 0, 0), 3.25f);
  }
}

TEST(GeometryComposite, BoxIsTheComponentwiseHullAndCallsGoToEachChildInOrder) {
  auto* a = new ShapeGeometry(1);
  a->box.minimum = vect3(-1, 0, 5);
  a->box.maximum = vect3(1, 2, 6);
  auto* b = new ShapeGeometry(2);
  b->box.minimum = vect3(0, -3, 4);
  b->box.maximum = vect3(0.5f, 1, 9);
  GeometryComposite both({a, b});
  const BoundingBox box = both.boundingBox();
  EXPECT_EQ(box.minimum, vect3(-1, -3, 4));
  EXPECT_EQ(box.maximum, vect3(1, 2, 9));
  EXPECT_EQ(both.plane().d, 0.0f) << "the children's planes aren't asked";

  sampleJournal().clear();
  both.prepare();
  both.createResources();
  both.draw();
  EXPECT_EQ(sampleJournal(), (std::vector<std::string>{"prepare 1", "prepare 2", "resources 1", "resources 2",
                                                       "draw 1", "draw 2"}));
}

TEST(GeometryComposite, SplitCutsByGroupKeepingAttributesAndAnEmptyChildPerUnusedGroup) {
  GeometrySimple g(true, false);
  for (int i = 0; i < 6; ++i) {
    const float f = static_cast<float>(i);
    g.positions.push_back(vect3(f, 0, 0));
    g.normals.push_back(vect3(0, f, 1));
    g.colors.push_back(color(f, 0, 0, 1));
  }
  g.textureChannels.resize(2);
  for (int i = 0; i < 6; ++i) {
    g.textureChannels[0].coordinates.push_back({static_cast<float>(i), 0.5f});
    g.textureChannels[1].coordinates.push_back({0.25f, static_cast<float>(i)});
  }
  g.faces = {face(0, 1, 2), face(5, 3, 1), face(2, 3, 4), face(3, 5, 4), face(0, 0, 0)};
  g.hasTangentSpace = true;
  g.auxiliaryRecords.resize(1);
  // Group 1 and 3 are unused; the last face names group 7, beyond the count, and goes nowhere.
  std::unique_ptr<GeometryComposite> parts(g.split({2, 0, 2, 0, 7}, 4));
  ASSERT_NE(parts, nullptr);
  ASSERT_EQ(parts->children.size(), 4u);

  auto* zero = dynamic_cast<GeometrySimple*>(parts->children[0]);
  ASSERT_NE(zero, nullptr);
  // Faces 1 and 3 use 5, 3, 1, 4, numbered by first use.
  EXPECT_EQ(zero->faces, (std::vector<ts3d::Face>{face(0, 1, 2), face(1, 0, 3)}));
  EXPECT_EQ(zero->positions, (std::vector<vect3>{vect3(5, 0, 0), vect3(3, 0, 0), vect3(1, 0, 0), vect3(4, 0, 0)}));
  EXPECT_EQ(zero->normals, (std::vector<vect3>{vect3(0, 5, 1), vect3(0, 3, 1), vect3(0, 1, 1), vect3(0, 4, 1)}));
  ASSERT_EQ(zero->colors.size(), 4u);
  EXPECT_EQ(zero->colors[3], color(4, 0, 0, 1));
  ASSERT_EQ(zero->textureChannels.size(), 2u);
  EXPECT_EQ(zero->textureChannels[0].coordinates[1], (ts3d::TextureCoordinate{3, 0.5f}));
  EXPECT_EQ(zero->textureChannels[1].coordinates[2], (ts3d::TextureCoordinate{0.25f, 1}));
  EXPECT_TRUE(zero->dynamicVertices);
  EXPECT_FALSE(zero->dynamicIndices);
  EXPECT_FALSE(zero->hasTangentSpace);
  EXPECT_TRUE(zero->auxiliaryRecords.empty());
  EXPECT_EQ(zero->vertexBuffer.get(), nullptr);

  auto* two = dynamic_cast<GeometrySimple*>(parts->children[2]);
  ASSERT_NE(two, nullptr);
  EXPECT_EQ(two->faces, (std::vector<ts3d::Face>{face(0, 1, 2), face(2, 3, 4)}));
  EXPECT_EQ(two->positions, (std::vector<vect3>{vect3(0, 0, 0), vect3(1, 0, 0), vect3(2, 0, 0), vect3(3, 0, 0),
                                                vect3(4, 0, 0)}));

  for (size_t unused : {size_t(1), size_t(3)}) {
    auto* empty = dynamic_cast<GeometrySimple*>(parts->children[unused]);
    ASSERT_NE(empty, nullptr);
    EXPECT_TRUE(empty->faces.empty());
    EXPECT_TRUE(empty->positions.empty());
    EXPECT_EQ(empty->textureChannels.size(), 2u) << "channels keep their number";
  }
}

TEST(GeometryComposite, SplitCarriesOnlyTheFilledVectorsAndCopesWithShortGroupLists) {
  GeometrySimple g;
  g.positions = {vect3(0, 0, 0), vect3(1, 0, 0), vect3(0, 1, 0)};
  g.faces = {face(2, 1, 0), face(0, 1, 2)};
  std::unique_ptr<GeometryComposite> parts(g.split({0}, 1));  // the second face has no entry
  ASSERT_EQ(parts->children.size(), 1u);
  auto* only = dynamic_cast<GeometrySimple*>(parts->children[0]);
  ASSERT_NE(only, nullptr);
  EXPECT_EQ(only->faces, (std::vector<ts3d::Face>{face(0, 1, 2)}));
  EXPECT_EQ(only->positions, (std::vector<vect3>{vect3(0, 1, 0), vect3(1, 0, 0), vect3(0, 0, 0)}));
  EXPECT_TRUE(only->normals.empty());
  EXPECT_TRUE(only->colors.empty());
  EXPECT_TRUE(only->textureChannels.empty());

  std::unique_ptr<GeometryComposite> none(g.split({}, 0));
  EXPECT_TRUE(none->children.empty());
}

TEST(GeometryComposite, MergedPastesPositionsAndRaisesTheLaterChildrensFaces) {
  GeometryComposite both({strip(10, 0), strip(20, 1)});
  auto* first = static_cast<GeometrySimple*>(both.children[0]);
  first->normals.assign(10, vect3(0, 0, 1));
  first->dynamicVertices = true;
  std::unique_ptr<GeometrySimple> one(both.merged());
  ASSERT_NE(one, nullptr);
  ASSERT_EQ(one->positions.size(), 30u);
  EXPECT_EQ(one->positions[9], vect3(9, 0, 0));
  EXPECT_EQ(one->positions[10], vect3(0, 1, 0));
  ASSERT_EQ(one->faces.size(), 8u + 18u);
  EXPECT_EQ(one->faces[7], face(7, 8, 9));
  EXPECT_EQ(one->faces[8], face(10, 11, 12)) << "the second child's faces start at 10";
  EXPECT_EQ(one->faces.back(), face(27, 28, 29));
  EXPECT_TRUE(one->normals.empty()) << "positions and faces only";
  EXPECT_FALSE(one->dynamicVertices);
  EXPECT_FALSE(one->dynamicIndices);
  EXPECT_EQ(one->vertexBuffer.get(), nullptr);
}

TEST(GeometryComposite, MergedRefusesWhatSixteenBitFacesCantNameAndChildrenThatArentLists) {
  tstest::RecordingTracer tracer;
  {  // exactly 65,536 vertices still fit: the last one is number 65535
    GeometryComposite full({strip(32768, 0), strip(32768, 1)});
    std::unique_ptr<GeometrySimple> one(full.merged());
    ASSERT_NE(one, nullptr);
    EXPECT_EQ(one->faces.back(), face(65533, 65534, 65535));
  }
  EXPECT_TRUE(tracer.messages.empty());
  {
    GeometryComposite over({strip(40000, 0), strip(30000, 1)});
    EXPECT_EQ(over.merged(), nullptr);
    ASSERT_EQ(tracer.messages.size(), 1u);
    EXPECT_EQ(tracer.messages[0].kind, 'w');
    EXPECT_NE(tracer.messages[0].text.find("70000"), std::string::npos) << tracer.messages[0].text;
  }
  {
    GeometryComposite mixed({strip(3, 0), new ShapeGeometry});
    EXPECT_EQ(mixed.merged(), nullptr);
    EXPECT_EQ(tracer.messages.size(), 2u);
  }
}

// ---- files ------------------------------------------------------------------------------

TEST(GeometryComposite, RoundTripKeepsTheChildrenInOrderWithTheBodyOfTheFormat) {
  GeometryComposite source({strip(3, 0), strip(4, 2)});
  static_cast<GeometrySimple*>(source.children[1])->colors.assign(4, color(0, 1, 0, 1));
  const Bytes file = storeFile(source);
  // Magic, root header (code, version 1, id 0), count 2, then the first child's header with id 1.
  ASSERT_GT(file.size(), 36u);
  EXPECT_EQ(Bytes(file.begin(), file.begin() + 12), ByteWriter().text("NONEGOCP").u16(1).u16(0).bytes);
  EXPECT_EQ(Bytes(file.begin() + 16, file.begin() + 28), ByteWriter().u32(2).text("GOSM").u16(1).u16(1).bytes);

  const tstest::ReadOutcome outcome = readFile(file);
  auto* read = outcome.as<GeometryComposite>();
  ASSERT_NE(read, nullptr);
  EXPECT_TRUE(outcome.boxes.empty());
  ASSERT_EQ(read->children.size(), 2u);
  for (size_t i = 0; i < 2; ++i) {
    auto* was = static_cast<GeometrySimple*>(source.children[i]);
    auto* now = dynamic_cast<GeometrySimple*>(read->children[i]);
    ASSERT_NE(now, nullptr);
    EXPECT_EQ(now->positions, was->positions);
    EXPECT_EQ(now->faces, was->faces);
    EXPECT_EQ(now->colors, was->colors);
  }
  EXPECT_EQ(storeFile(*read), file);

  GeometryComposite empty;
  const Bytes emptyFile = storeFile(empty);
  EXPECT_EQ(emptyFile, fileOf("GOCP", 1, ByteWriter().u32(0).bytes));
  const tstest::ReadOutcome emptyRead = readFile(emptyFile);
  ASSERT_NE(emptyRead.as<GeometryComposite>(), nullptr);
  EXPECT_TRUE(emptyRead.as<GeometryComposite>()->children.empty());
}

// A composite of three tracked children, stored.
Bytes trackedFile() {
  auto* a = new TrackedGeometry;
  a->positions = {vect3(0, 0, 0), vect3(1, 0, 0), vect3(0, 1, 0)};
  a->faces = {face(0, 1, 2)};
  auto* b = new TrackedGeometry;
  b->positions = a->positions;
  auto* c = new TrackedGeometry;
  GeometryComposite source({a, b, c});
  return storeFile(source);
}

TEST(GeometryComposite, LaterVersionIsLeftUnread) {
  const Bytes file = trackedFile();
  const Bytes body(file.begin() + 16, file.end());
  {
    const tstest::ReadOutcome known = readFile(fileOf("GOCP", 1, body));
    ASSERT_NE(known.as<GeometryComposite>(), nullptr);
    EXPECT_EQ(known.as<GeometryComposite>()->children.size(), 3u);
  }
  const tstest::ReadOutcome later = readFile(fileOf("GOCP", 2, body));
  ASSERT_NE(later.as<GeometryComposite>(), nullptr);
  EXPECT_TRUE(later.as<GeometryComposite>()->children.empty());
  EXPECT_TRUE(later.boxes.empty());
  EXPECT_EQ(TrackedGeometry::live, 0) << "nothing of the body is made";
}

}  // namespace
