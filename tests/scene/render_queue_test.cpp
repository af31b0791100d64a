#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "geometry/modifier_stack.h"
#include "scene/render_queue.h"
#include "tests/context/context_fixture.h"
#include "tests/scene/scene_support.h"

namespace {

using ts3d::RenderItem;
using ts3d::RenderQueue;
using tstest::LoggedGeometry;
using tstest::TestMaterial;

RenderItem* item(int32_t orderClass, float distance, ts3d::Material* material, ts3d::Geometry* geometry) {
  auto* made = new RenderItem;
  made->orderClass = orderClass;
  made->distance = distance;
  made->material = material;
  made->geometry = geometry;
  return made;
}

TEST(RenderQueueTest, OrdersMapToClassesAndUnknownOrdersAreOpaque) {
  const int32_t expected[] = {0, 1, 1, 2, 3, 3};
  for (int order = 0; order < 6; ++order) EXPECT_EQ(ts3d::orderClassOf(order), expected[order]) << order;
  EXPECT_EQ(ts3d::orderClassOf(-1), 1);
  EXPECT_EQ(ts3d::orderClassOf(6), 1);
}

TEST(RenderQueueTest, AddKeepsAscendingDistanceAndArrivalOrderOnTies) {
  RenderQueue queue;
  LoggedGeometry a("a"), b("b"), c("c"), d("d");
  queue.add(item(1, 5.0f, nullptr, &a));
  queue.add(item(1, 1.0f, nullptr, &b));
  queue.add(item(1, 5.0f, nullptr, &c));
  queue.add(item(1, 3.0f, nullptr, &d));
  std::vector<ts3d::Geometry*> order;
  for (const RenderItem* queued : queue.items()) order.push_back(queued->geometry);
  EXPECT_EQ(order, (std::vector<ts3d::Geometry*>{&b, &d, &a, &c}));

  TestMaterial other("other", 1);
  ts3d::ModifierStack stack;
  queue.setMaterial(&other);
  queue.setStack(&stack);
  for (const RenderItem* queued : queue.items()) {
    EXPECT_EQ(queued->material, &other);
    EXPECT_EQ(queued->stack, &stack);
  }
}

class RenderQueueDrawTest : public tstest::ContextTest {};

TEST_F(RenderQueueDrawTest, OpaqueGroupsThenBlendedFarToNearThenLastNeverClassZero) {
  // Two opaque materials in a known pointer order, so the group order is known.
  TestMaterial pair[2] = {TestMaterial("first", 1), TestMaterial("second", 2)};
  TestMaterial glass("glass", 3), late("late", 4), hidden("hidden", 0), thick("thick", 3);
  thick.passes = 2;
  LoggedGeometry o1("o1"), o2("o2"), o3("o3"), plain("plain"), t1("t1"), t2("t2"), t3("t3"), t4("t4"), t5("t5"),
      l1("l1"), h1("h1");
  RenderQueue queue;
  queue.add(item(1, 5.0f, &pair[1], &o1));
  queue.add(item(1, 1.0f, &pair[0], &o2));
  queue.add(item(1, 3.0f, &pair[1], &o3));
  queue.add(item(1, 2.0f, nullptr, &plain));
  queue.add(item(2, 2.0f, &glass, &t1));
  queue.add(item(2, 8.0f, &thick, &t2));
  queue.add(item(2, 9.0f, nullptr, &t3));  // blended without material: skipped
  queue.add(item(2, 4.0f, &glass, &t4));
  queue.add(item(2, 4.0f, &glass, &t5));  // tie with t4: t5 arrived later, so drawn first
  queue.add(item(3, 0.5f, &late, &l1));
  queue.add(item(0, 0.1f, &hidden, &h1));

  tstest::eventLog().clear();
  context->beginScene();
  queue.draw();
  context->endScene();

  const std::vector<std::string> expected = {
      // The null material's group comes first (the smallest pointer): reset, drawn once.
      "draw plain",
      "begin first", "pass first 0", "draw o2", "end first",
      "begin second", "pass second 0", "draw o3", "draw o1", "end second",
      "begin thick", "pass thick 0", "draw t2", "pass thick 1", "draw t2", "end thick",
      "begin glass", "pass glass 0", "draw t5", "end glass",
      "begin glass", "pass glass 0", "draw t4", "end glass",
      "begin glass", "pass glass 0", "draw t1", "end glass",
      "begin late", "pass late 0", "draw l1", "end late"};
  EXPECT_EQ(tstest::eventLog(), expected);
  EXPECT_EQ(hidden.begun, 0) << "class 0 is held, never drawn";
}

TEST_F(RenderQueueDrawTest, EachItemDrawsUnderItsOwnWorldMatrix) {
  TestMaterial shared("shared", 1);
  LoggedGeometry a("a"), b("b");
  const ts3d::matrix placeA(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1);
  const ts3d::matrix placeB(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 4, 5, 6, 1);
  RenderQueue queue;
  RenderItem* first = item(1, 1.0f, &shared, &a);
  first->world = &placeA;
  RenderItem* second = item(1, 2.0f, &shared, &b);
  second->world = &placeB;
  queue.add(first);
  queue.add(second);
  proxy->clearLog();
  context->beginScene();
  queue.draw();
  context->endScene();
  const std::vector<tstest::DeviceCall> worlds = proxy->callsOf(tstest::DeviceCallKind::SetTransform);
  std::vector<tstest::DeviceCall> worldCalls;
  for (const tstest::DeviceCall& call : worlds)
    if (call.args[0] == D3DTS_WORLD) worldCalls.push_back(call);
  ASSERT_EQ(worldCalls.size(), 2u);
  EXPECT_EQ(worldCalls[0], tstest::transformCall(D3DTS_WORLD, placeA));
  EXPECT_EQ(worldCalls[1], tstest::transformCall(D3DTS_WORLD, placeB));
  EXPECT_EQ(shared.begun, 1) << "one material use for the whole group";
}

}  // namespace
