#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "player/host/host_controllers.h"
#include "player/host/host_tree.h"
#include "tests/driver/recording_effect.h"
#include "tests/support/host_bridge.h"
#include "tests/support/recording_tracer.h"

namespace {

using host::HostControllerFactory;
using host::HostParamController;
using host::HostTreeElement;
using tstest::driverSide;
using tstest::ProbeController;
using tstest::RecordingEffect;

// A factory that hands out probes, one per parameter, with the kind in the descriptor.
class ProbeFactory : public ControllerFactory {
 public:
  ParamController* create(TreeElement*) override { return nullptr; }
  ParamController* create(const ParamDescriptor& param) override {
    auto* probe = new ProbeController(static_cast<int32_t>(param.kind), param.flags != 0);
    made.push_back(probe);
    return probe;
  }
  std::vector<ProbeController*> made;
};

EffectDescriptor describe(std::initializer_list<std::pair<const char*, uint32_t>> params) {
  EffectDescriptor descriptor;
  descriptor.name = "fx_test";
  for (auto& [name, kind] : params) {
    ParamDescriptor param;
    param.name = name;
    param.kind = kind;
    descriptor.params.push_back(param);
  }
  return descriptor;
}

TEST(TimelineBase, UpdateGivesUnclampedNormalisedTimeAndDeliversByKind) {
  ProbeFactory factory;
  EffectDescriptor descriptor = describe({{"s", 0}, {"f", 1}, {"i", 2}, {"r", 3}, {"d", 4}, {"x", 7}});
  RecordingEffect effect(descriptor, "layer one", &factory);
  ASSERT_EQ(effect.controllerCount(), 6u);
  EXPECT_TRUE(effect.deliveries.empty()) << "the base constructor applies nothing";
  EXPECT_EQ(effect.name(), "layer one");

  effect.setStartTime(2.0f);
  effect.setDuration(4.0f);
  for (float time : {3.0f, 0.0f, 10.0f}) {
    effect.deliveries.clear();
    effect.update(0, time);
    const float t = (time - 2.0f) / 4.0f;
    EXPECT_EQ(effect.time(), time);
    // Every non-fixed controller is evaluated at the same t, kind 3 included.
    for (ProbeController* probe : factory.made) EXPECT_FLOAT_EQ(probe->lastT, t);
    // Kind 3 is not delivered during playback; an unknown kind never is.
    ASSERT_EQ(effect.deliveries.size(), 4u);
    EXPECT_EQ(effect.deliveries[0].setter, 's');
    EXPECT_EQ(effect.deliveries[0].value, "t=" + std::to_string(t));
    EXPECT_EQ(effect.deliveries[1].setter, 'f');
    EXPECT_EQ(effect.deliveries[1].index, 1u);
    EXPECT_EQ(effect.deliveries[2].setter, 'i');
    EXPECT_EQ(effect.deliveries[2].index, 2u);
    EXPECT_EQ(effect.deliveries[3].setter, 'd');
    EXPECT_EQ(effect.deliveries[3].index, 4u);
  }

  // Reset delivers every known kind, kind 3 with the value it holds now.
  effect.deliveries.clear();
  effect.reset();
  ASSERT_EQ(effect.deliveries.size(), 5u);
  EXPECT_EQ(effect.deliveries[3].setter, 'i');
  EXPECT_EQ(effect.deliveries[3].index, 3u);
  EXPECT_EQ(effect.deliveries[3].value, std::to_string(std::lround((10.0f - 2.0f) / 4.0f * 100)));
}

TEST(TimelineBase, FixedControllersAreSkippedPerFrameButApplied) {
  ProbeFactory factory;
  EffectDescriptor descriptor = describe({{"a", 1}, {"b", 1}});
  descriptor.params[0].flags = 1;  // fixed
  RecordingEffect effect(descriptor, "e", &factory);
  effect.setDuration(1.0f);
  effect.update(0, 0.5f);
  EXPECT_EQ(factory.made[0]->updates, 0);
  EXPECT_EQ(factory.made[1]->updates, 1);
  ASSERT_EQ(effect.deliveries.size(), 1u);
  EXPECT_EQ(effect.deliveries[0].index, 1u);

  effect.deliveries.clear();
  effect.applyParameters();
  ASSERT_EQ(effect.deliveries.size(), 2u);
  EXPECT_EQ(effect.deliveries[0].index, 0u);
  EXPECT_EQ(factory.made[0]->updates, 0) << "applyParameters must not evaluate";
}

TEST(TimelineBase, ZeroLengthPassesTheUnguardedDivisionOn) {
  ProbeFactory factory;
  RecordingEffect effect(describe({{"a", 1}}), "e", &factory);
  effect.setStartTime(1.0f);
  effect.update(0, 2.0f);
  EXPECT_TRUE(std::isinf(factory.made[0]->lastT));
  effect.update(0, 1.0f);
  EXPECT_TRUE(std::isnan(factory.made[0]->lastT));
}

TEST(TimelineBase, ProgressIsActiveOnlyInsideTheOpenInterval) {
  RecordingEffect effect;
  effect.setStartTime(10.0f);
  effect.setDuration(5.0f);
  struct Case {
    float time;
    bool active;
    float progress;
  } cases[] = {{10.0f, false, 0.0f}, {10.001f, true, 0.0002f}, {12.5f, true, 0.5f},
               {14.999f, true, 0.9998f}, {15.0f, false, 1.0f}, {20.0f, false, 2.0f}, {5.0f, false, -1.0f}};
  for (const Case& c : cases) {
    effect.update(0, c.time);
    bool active = !c.active;
    EXPECT_NEAR(effect.progress(&active), c.progress, 1e-4f) << c.time;
    EXPECT_EQ(active, c.active) << c.time;
    EXPECT_NEAR(effect.progress(nullptr), c.progress, 1e-4f);
  }
}

TEST(TimelineBase, LoadBindsByNameReportsUnknownsAndAlwaysResets) {
  tstest::RecordingTracer tracer;
  HostControllerFactory factory;
  EffectDescriptor descriptor = describe({{"alpha", 1}, {"mode", 2}, {"alpha", 1}});
  RecordingEffect effect(descriptor, "e", driverSide(&factory));

  HostTreeElement saved("effect");
  saved.add("controler").set("name", "mode").set("value", "7");
  saved.add("color").set("name", "alpha");
  saved.add("controler").set("name", "alpha").set("value", "0.25");
  saved.add("controler").set("name", "gone").set("value", "1");
  ASSERT_TRUE(effect.load(driverSide(&saved), 0));

  const std::vector<std::string> boxes = tracer.texts('b');
  ASSERT_EQ(boxes.size(), 2u);
  EXPECT_EQ(boxes[0], "Unknown category : \"color\", in TimelineBase.");
  EXPECT_EQ(boxes[1], "Controller named : \"gone\", no more exists.");
  // The reset after loading delivers the loaded values; the second "alpha" is never reached.
  ASSERT_EQ(effect.deliveries.size(), 3u);
  EXPECT_EQ(effect.deliveries[0].value, std::to_string(0.25f));
  EXPECT_EQ(effect.deliveries[1].value, "7");
  EXPECT_EQ(effect.deliveries[2].value, std::to_string(0.0f));

  effect.deliveries.clear();
  HostTreeElement empty("effect");
  EXPECT_TRUE(effect.load(driverSide(&empty), 0));
  EXPECT_EQ(effect.deliveries.size(), 3u) << "load without children still resets";
}

TEST(TimelineBase, LoadWithFactoryBindsByTheOrderOfTheTree) {
  tstest::RecordingTracer tracer;
  HostControllerFactory factory;
  RecordingEffect effect;
  HostTreeElement saved("effect");
  saved.add("controler").set("name", "second").set("kind", "2").set("value", "3");
  saved.add("note");
  saved.add("controler").set("name", "first").set("kind", "0").set("value", "hello");
  ASSERT_TRUE(effect.loadWithFactory(driverSide(&saved), 0, driverSide(&factory)));

  ASSERT_EQ(effect.controllerCount(), 2u);
  ASSERT_EQ(effect.description().params.size(), 2u);
  EXPECT_EQ(effect.description().params[0].name, "second");
  EXPECT_EQ(effect.description().params[1].name, "first");
  // The other tag is reported once, by the loading walk.
  EXPECT_EQ(tracer.texts('b'), std::vector<std::string>{"Unknown category : \"note\", in TimelineBase."});
  ASSERT_EQ(effect.deliveries.size(), 2u);
  EXPECT_EQ(effect.deliveries[0].setter, 'i');
  EXPECT_EQ(effect.deliveries[0].value, "3");
  EXPECT_EQ(effect.deliveries[1].setter, 's');
  EXPECT_EQ(effect.deliveries[1].value, "hello");
}

TEST(HostParamController, KeyedCurvesInterpolateFloatsAndStepOthers) {
  HostParamController alpha(host::ParamController::kFloat);
  alpha.setKeys({{1.0f, "0"}, {0.0f, "1"}, {0.5f, "0.5"}});  // out of order on purpose
  EXPECT_FALSE(alpha.isFixed());
  alpha.update(0.25f);
  EXPECT_FLOAT_EQ(alpha.floatValue(), 0.75f);
  alpha.update(-3.0f);
  EXPECT_FLOAT_EQ(alpha.floatValue(), 1.0f);
  alpha.update(7.0f);
  EXPECT_FLOAT_EQ(alpha.floatValue(), 0.0f);

  HostParamController mode(host::ParamController::kInteger);
  mode.setKeys({{0.0f, "1"}, {0.5f, "4"}});
  mode.update(0.49f);
  EXPECT_EQ(mode.intValue(), 1);
  mode.update(0.5f);
  EXPECT_EQ(mode.intValue(), 4);

  HostParamController constant(host::ParamController::kFloat);
  constant.setConstant("2.5");
  EXPECT_TRUE(constant.isFixed());
  EXPECT_FLOAT_EQ(constant.floatValue(), 2.5f);
}

}  // namespace
