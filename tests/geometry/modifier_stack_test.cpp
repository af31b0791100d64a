#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "geometry/modifier_stack.h"
#include "tests/geometry/geometry_samples.h"
#include "tests/geometry/geometry_support.h"
#include "tests/support/test_chunks.h"

// The modifier stack: the chain of outputs, what update, setSource and add do to it, what it
// releases, its "MOST" body, and files shaped by an attacker.
namespace {

using ts3d::Geometry;
using ts3d::GeometrySimple;
using ts3d::ModifierStack;
using ts3d::vect3;
using tstest::ByteWriter;
using tstest::Bytes;
using tstest::face;
using tstest::fileOf;
using tstest::readFile;
using tstest::sampleJournal;
using tstest::SetupModifier;
using tstest::ShiftModifier;
using tstest::storeFile;
using tstest::TrackedGeometry;

class ModifierStackTest : public testing::Test {
 protected:
  void SetUp() override {
    source.positions = {vect3(0, 0, 0), vect3(1, 0, 0), vect3(0, 1, 0)};
    source.faces = {face(0, 1, 2)};
    sampleJournal().clear();
  }
  void TearDown() override {
    EXPECT_EQ(ShiftModifier::live, 0);
    EXPECT_EQ(SetupModifier::live, 0);
    EXPECT_EQ(TrackedGeometry::live, 0);
  }

  static float firstX(Geometry* g) {
    auto* simple = dynamic_cast<GeometrySimple*>(g);
    return simple && !simple->positions.empty() ? simple->positions[0].x : -1000.0f;
  }

  GeometrySimple source;
};

TEST_F(ModifierStackTest, StackWithoutGeometryModifiersPassesTheSourceThrough) {
  ModifierStack stack;
  EXPECT_EQ(stack.output(), nullptr);
  stack.setSource(&source);
  EXPECT_EQ(stack.output(), &source);
  EXPECT_FALSE(stack.createResources());
  stack.update(1.0f);
  stack.setupRender();
  EXPECT_TRUE(sampleJournal().empty());

  // A modifier that only sets up rendering leaves the outputs as they were.
  auto* setup = new SetupModifier(4);
  EXPECT_TRUE(stack.add(setup));
  EXPECT_TRUE(stack.outputList().empty());
  EXPECT_EQ(stack.output(), &source);
  EXPECT_FALSE(stack.createResources());
  stack.update(2.5f);
  EXPECT_EQ(setup->time, 2.5f) << "every modifier is stepped";
  EXPECT_TRUE(sampleJournal().empty()) << "apply runs only for geometry modifiers";
  stack.setupRender();
  EXPECT_EQ(sampleJournal(), std::vector<std::string>{"setup 4"});
}

TEST_F(ModifierStackTest, ChainedGeometryModifiersEachReadTheOutputBeforeThem) {
  ModifierStack stack;
  stack.setSource(&source);
  auto* first = new ShiftModifier(1.0f);
  auto* second = new ShiftModifier(10.0f);
  stack.add(first);
  ASSERT_EQ(stack.outputList().size(), 1u);
  EXPECT_EQ(first->inputsSeen, std::vector<Geometry*>{&source});
  stack.add(new SetupModifier(1));
  stack.add(second);
  ASSERT_EQ(stack.outputList().size(), 2u);
  EXPECT_EQ(second->inputsSeen, std::vector<Geometry*>{stack.outputList()[0]});
  EXPECT_EQ(stack.output(), stack.outputList()[1]);

  stack.update(2.0f);
  EXPECT_EQ(firstX(stack.outputList()[0]), 2.0f);
  EXPECT_EQ(firstX(stack.output()), 22.0f) << "the second shift applies to the first's result";
  EXPECT_EQ(firstX(&source), 0.0f) << "the source is never written";
  stack.update(0.5f);
  EXPECT_EQ(firstX(stack.output()), 5.5f);

  // Only the last output gets device buffers.
  EXPECT_TRUE(stack.createResources());
  EXPECT_EQ(static_cast<TrackedGeometry*>(stack.outputList()[0])->resourceRuns, 0);
  EXPECT_EQ(static_cast<TrackedGeometry*>(stack.outputList()[1])->resourceRuns, 1);

  sampleJournal().clear();
  stack.setupRender();
  EXPECT_EQ(sampleJournal(), std::vector<std::string>{"setup 1"}) << "only modifiers that ask for it";
}

// Notes the last time it was stepped at.
class TimeController : public ts3d::Controller {
 public:
  bool isConstant() const override { return false; }
  void update(float time) override { last = time; }
  float last = -1.0f;
};

TEST_F(ModifierStackTest, UpdateStepsTheModifiersButNotTheStacksOwnControllers) {
  ModifierStack stack;
  auto* shift = new ShiftModifier;
  stack.add(shift);
  stack.setSource(&source);
  TimeController own;
  stack.addController(&own);
  stack.update(3.0f);
  EXPECT_EQ(shift->time, 3.0f);
  EXPECT_EQ(own.last, -1.0f);
  stack.removeController(&own);
}

TEST_F(ModifierStackTest, SetSourceTwiceDeletesTheFirstOutputsAndMakesNewOnes) {
  ModifierStack stack;
  stack.add(new ShiftModifier(1.0f));
  stack.add(new ShiftModifier(2.0f));
  EXPECT_EQ(TrackedGeometry::live, 2) << "add makes an output even without a source";
  stack.setSource(&source);
  ASSERT_EQ(stack.outputList().size(), 2u);
  EXPECT_EQ(TrackedGeometry::live, 2);
  const int firstSerial = static_cast<TrackedGeometry*>(stack.output())->serial;
  auto* shift = static_cast<ShiftModifier*>(stack.modifierList()[0]);
  EXPECT_EQ(shift->inputsSeen.back(), &source);

  stack.setSource(&source);
  ASSERT_EQ(stack.outputList().size(), 2u);
  EXPECT_EQ(TrackedGeometry::live, 2) << "the first outputs are gone";
  EXPECT_NE(static_cast<TrackedGeometry*>(stack.output())->serial, firstSerial);
  EXPECT_EQ(stack.sourceGeometry(), &source);
  auto* second = static_cast<ShiftModifier*>(stack.modifierList()[1]);
  EXPECT_EQ(second->inputsSeen.back(), stack.outputList()[0]);
}

TEST_F(ModifierStackTest, RoundTripKeepsModifiersAndNullEntriesAndMakesNoOutputs) {
  Bytes file;
  {
    ModifierStack stored;
    stored.add(new ShiftModifier(1.5f));
    stored.add(nullptr);
    stored.add(new ShiftModifier(-2.0f));
    file = storeFile(stored);
  }
  ByteWriter body;
  body.u32(3);
  body.text("tMOD").u16(1).u16(1).u32(4).f32(1.5f);
  body.u32(0);
  body.text("tMOD").u16(1).u16(2).u32(4).f32(-2.0f);
  EXPECT_EQ(file, fileOf("MOST", 1, body.bytes));

  {
    const tstest::ReadOutcome outcome = readFile(file);
    auto* stack = outcome.as<ModifierStack>();
    ASSERT_NE(stack, nullptr);
    ASSERT_EQ(stack->modifierList().size(), 3u);
    EXPECT_EQ(stack->modifierList()[1], nullptr);
    auto* a = dynamic_cast<ShiftModifier*>(stack->modifierList()[0]);
    auto* b = dynamic_cast<ShiftModifier*>(stack->modifierList()[2]);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(a->step, 1.5f);
    EXPECT_EQ(b->step, -2.0f);
    EXPECT_TRUE(stack->outputList().empty()) << "outputs come from setSource";
    EXPECT_EQ(TrackedGeometry::live, 0);
    EXPECT_EQ(storeFile(*stack), file);

    stack->setSource(&source);
    ASSERT_EQ(stack->outputList().size(), 2u);
    stack->update(2.0f);
    EXPECT_EQ(firstX(stack->output()), 3.0f - 4.0f);
  }
}

TEST_F(ModifierStackTest, LaterVersionIsLeftUnread) {
  ByteWriter body;
  body.u32(1).text("tMOD").u16(1).u16(1).u32(4).f32(1.0f);
  {
    const tstest::ReadOutcome known = readFile(fileOf("MOST", 1, body.bytes));
    ASSERT_NE(known.as<ModifierStack>(), nullptr);
    EXPECT_EQ(known.as<ModifierStack>()->modifierList().size(), 1u);
  }
  const tstest::ReadOutcome later = readFile(fileOf("MOST", 2, body.bytes));
  ASSERT_NE(later.as<ModifierStack>(), nullptr);
  EXPECT_TRUE(later.as<ModifierStack>()->modifierList().empty());
  EXPECT_TRUE(later.boxes.empty());
  EXPECT_EQ(ShiftModifier::live, 0) << "nothing of the body is made";
}

}  // namespace
