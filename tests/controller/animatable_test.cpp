#include <gtest/gtest.h>

#include <vector>

#include "io/chunk_registry.h"
#include "scene/controller/animatable.h"
#include "scene/controller/linear.h"
#include "tests/controller/support.h"

namespace {

using ts3d::color;
using ts3d::Controller;
using ts3d::controller::Const;
using ts3d::controller::ControllerBase;
using ts3d::controller::Linear;
using tstest::Counted;
using tstest::FileBuilder;

// Records the order in which it is updated.
class Recorder : public Controller {
 public:
  Recorder(std::vector<int>& log, int id) : updates(log), name(id) {}
  bool isConstant() const override { return false; }
  void update(float) override { updates.push_back(name); }

 private:
  std::vector<int>& updates;
  int name;
};

class Bare : public ts3d::Animatable {
 public:
  void update(float time) override { updateControllers(time); }
};

// An animated object as the scene classes are: named controller fields, owned, with a
// default brightness from construction that a load replaces.
class Lamp : public ts3d::Animatable, public tsio::Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("tLMP");

  Lamp() : brightness(new Counted<float>(1.0f)) { addController(brightness); }
  ~Lamp() override {
    delete brightness;
    delete tint;
  }
  Lamp(const Lamp&) = delete;
  Lamp& operator=(const Lamp&) = delete;

  void update(float time) override {
    updateControllers(time);
    if (brightness && tint) shown = tint->value * brightness->value;
  }
  bool load(tsio::InStream& in) override {
    loadController(in, brightness);
    loadController(in, tint);
    return in.isGood();
  }
  void store(tsio::OutStream& out) override {
    out.beginChunk(kCode, 1);
    out.writeObject(brightness);
    out.writeObject(tint);
  }

  ControllerBase<float>* brightness;
  ControllerBase<color>* tint = nullptr;
  color shown;
};

tsio::ChunkRegistrer<Lamp> lampRegistrer(Lamp::kCode);

TEST(Animatable, UpdateControllersInTheOrderOfTheList) {
  std::vector<int> log;
  Recorder first(log, 1), second(log, 2), third(log, 3);
  Bare bare;
  bare.addController(&second);
  bare.addController(&third);
  bare.addController(&first);
  bare.update(0.0f);
  EXPECT_EQ(log, (std::vector<int>{2, 3, 1}));
}

TEST(Animatable, RemoveControllerTakesOnlyThatEntryOut) {
  std::vector<int> log;
  Recorder first(log, 1), second(log, 2), third(log, 3);
  Bare bare;
  bare.addController(&first);
  bare.addController(&second);
  bare.addController(&third);
  bare.removeController(&second);
  EXPECT_EQ(bare.controllers, (std::vector<Controller*>{&first, &third}));
  bare.removeController(&second);  // no longer there: nothing changes
  EXPECT_EQ(bare.controllers.size(), 2u);
}

class AnimatableLoad : public tstest::ControllerTest {};

TEST_F(AnimatableLoad, ReplacesAndDeletesTheControllerThatTheFieldHeld) {
  FileBuilder file;
  file.header("tLMP", 0, 60);
  file.header("CLFL", 1, 20).u32(2).u32(tstest::kZero).u32(tstest::kOne).u32(tstest::kTen).u32(tstest::kThree);
  file.header("CCCO", 2, 16).u32(tstest::kOne).u32(tstest::kHalf).u32(tstest::kZero).u32(tstest::kOne);

  const int before = Counted<float>::live;
  std::unique_ptr<Lamp> lamp = tstest::loadAs<Lamp>(file.bytes);
  ASSERT_TRUE(lamp);
  EXPECT_EQ(Counted<float>::live, before);  // the default brightness is gone
  ASSERT_NE(dynamic_cast<Linear<float>*>(lamp->brightness), nullptr);
  ASSERT_NE(dynamic_cast<Const<color>*>(lamp->tint), nullptr);
  EXPECT_EQ(lamp->controllers, (std::vector<Controller*>{lamp->brightness, lamp->tint}));

  lamp->update(5.0f);  // brightness 2
  EXPECT_EQ(lamp->shown, color(2.0f, 1.0f, 0.0f, 2.0f));
}

TEST_F(AnimatableLoad, NullControllersLeaveTheFieldEmptyAndTheListWithout) {
  FileBuilder file;
  file.header("tLMP", 0, 8).u32(0).u32(0);
  const int before = Counted<float>::live;
  std::unique_ptr<Lamp> lamp = tstest::loadAs<Lamp>(file.bytes);
  ASSERT_TRUE(lamp);
  EXPECT_EQ(Counted<float>::live, before);
  EXPECT_EQ(lamp->brightness, nullptr);
  EXPECT_EQ(lamp->tint, nullptr);
  EXPECT_TRUE(lamp->controllers.empty());
}

}  // namespace
