#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "scene/controller/linear.h"
#include "tests/controller/support.h"
#include "tests/gfxhelper/math_expect.h"

namespace {

using ts3d::color;
using ts3d::matrix;
using ts3d::quat;
using ts3d::vect3;
using ts3d::controller::Linear;
using ts3d::controller::LinearKey;
using tstest::approx;
using tstest::around;

template <class T>
Linear<T> track(const std::vector<LinearKey<T>>& keys) {
  Linear<T> result;
  result.keys = keys;
  return result;
}

using Found = std::pair<int, int>;

TEST(FindKeys, NoKeysGiveNeither) {
  Linear<float> empty;
  EXPECT_EQ(around(empty, 0.0f), Found(-1, -1));
}

TEST(FindKeys, OutsideTheRangeOnlyTheNearestEndKey) {
  auto linear = track<float>({{0.0f, 1.0f}, {10.0f, 2.0f}, {20.0f, 3.0f}});
  EXPECT_EQ(around(linear, -1.0f), Found(-1, 0));
  EXPECT_EQ(around(linear, 0.0f), Found(-1, 0));  // at the first key's time: still "before it"
  EXPECT_EQ(around(linear, 20.0f), Found(2, -1));
  EXPECT_EQ(around(linear, 25.0f), Found(2, -1));
}

TEST(FindKeys, InsideTheRangeTheNeighboursWithAnExactTimeAsBefore) {
  auto linear = track<float>({{0.0f, 1.0f}, {10.0f, 2.0f}, {20.0f, 3.0f}, {30.0f, 4.0f}});
  EXPECT_EQ(around(linear, 5.0f), Found(0, 1));
  EXPECT_EQ(around(linear, 10.0f), Found(1, 2));
  EXPECT_EQ(around(linear, 19.99f), Found(1, 2));
  EXPECT_EQ(around(linear, 20.0f), Found(2, 3));
  EXPECT_EQ(around(linear, 29.0f), Found(2, 3));
}

TEST(FindKeys, EqualTimesGiveTheLastOfThemAsBefore) {
  // low 0, high 4: middle 2 (5 > 5 fails) gives low 2, middle 3 (10 > 5) gives high 3.
  auto linear = track<float>({{0.0f, 1.0f}, {5.0f, 2.0f}, {5.0f, 3.0f}, {10.0f, 4.0f}});
  EXPECT_EQ(around(linear, 5.0f), Found(2, 3));
}

TEST(LinearFloat, InterpolatesBetweenKeysAndStandsStillOutside) {
  auto linear = track<float>({{0.0f, 1.0f}, {10.0f, 3.0f}});
  const std::vector<std::pair<float, float>> expected = {
      {5.0f, 2.0f}, {2.5f, 1.5f}, {-1.0f, 1.0f}, {0.0f, 1.0f}, {10.0f, 3.0f}, {11.0f, 3.0f}};
  for (const auto& [time, value] : expected) {
    linear.update(time);
    EXPECT_FLOAT_EQ(linear.value, value) << "at time " << time;
  }
}

TEST(LinearFloat, MiddleKeyTimeGivesItsValueExactly) {
  auto linear = track<float>({{0.0f, 1.0f}, {10.0f, 4.2f}, {20.0f, -3.0f}});
  linear.update(10.0f);
  EXPECT_EQ(linear.value, 4.2f);
}

TEST(LinearFloat, SingleKeyIsConstantAndGivesItsValueAlways) {
  auto linear = track<float>({{7.0f, 0.25f}});
  EXPECT_TRUE(linear.isConstant());
  for (float time : {-100.0f, 7.0f, 100.0f}) {
    linear.value = 9.0f;
    linear.update(time);
    EXPECT_EQ(linear.value, 0.25f) << "at time " << time;
  }
}

TEST(LinearFloat, NoKeysIsNotConstantAndLeavesTheValue) {
  Linear<float> empty;
  EXPECT_FALSE(empty.isConstant());
  empty.value = 7.0f;
  empty.update(3.0f);
  EXPECT_EQ(empty.value, 7.0f);
}

TEST(LinearFloat, TwoKeysAreNotConstantEvenWithOneValue) {
  EXPECT_FALSE(track<float>({{0.0f, 1.0f}, {1.0f, 1.0f}}).isConstant());
}

TEST(LinearFloat, NanTimeGivesTheLastKeysValue) {
  auto linear = track<float>({{0.0f, 1.0f}, {10.0f, 3.0f}});
  linear.update(std::numeric_limits<float>::quiet_NaN());
  EXPECT_EQ(linear.value, 3.0f);
}

TEST(LinearVect3, InterpolatesEachComponent) {
  auto linear = track<vect3>({{0.0f, vect3(0.0f, 0.0f, 0.0f)}, {10.0f, vect3(2.0f, 4.0f, -6.0f)}});
  linear.update(2.5f);
  EXPECT_TRUE(approx(linear.value, vect3(0.5f, 1.0f, -1.5f)));
}

TEST(LinearColor, InterpolatesAllFourComponents) {
  auto linear = track<color>({{0.0f, color(0.0f, 0.0f, 0.0f, 0.0f)}, {10.0f, color(1.0f, 0.5f, 0.25f, 1.0f)}});
  linear.update(5.0f);
  EXPECT_TRUE(approx(linear.value, color(0.5f, 0.25f, 0.125f, 0.5f)));
}

TEST(LinearMatrix, NoBlendingAndTheTieGoesToTheEarlierKey) {
  const matrix first = tstest::translation(1.0f, 2.0f, 3.0f);
  const matrix second = tstest::scaling(2.0f, 2.0f, 2.0f);
  auto linear = track<matrix>({{0.0f, first}, {10.0f, second}});
  linear.update(5.0f);
  EXPECT_EQ(linear.value, first);
  linear.update(5.1f);
  EXPECT_EQ(linear.value, second);
  linear.update(4.9f);
  EXPECT_EQ(linear.value, first);
}

const quat kIdentity(0.0f, 0.0f, 0.0f, 1.0f);
const quat kQuarterZ(0.0f, 0.0f, 0.70710678f, 0.70710678f);  // (0, 0, sin 45°, cos 45°)
const quat kEighthZ(0.0f, 0.0f, 0.38268343f, 0.92387953f);   // (0, 0, sin 22.5°, cos 22.5°)

TEST(LinearQuat, SlerpsHalfway) {
  auto linear = track<quat>({{0.0f, kIdentity}, {10.0f, kQuarterZ}});
  linear.update(5.0f);
  EXPECT_TRUE(approx(linear.value, kEighthZ));
}

TEST(LinearQuat, NegativeDotTakesTheShorterArc) {
  // -kQuarterZ is the same rotation; the long way round would not give the eighth turn.
  auto linear = track<quat>({{0.0f, kIdentity}, {10.0f, -kQuarterZ}});
  linear.update(5.0f);
  EXPECT_TRUE(approx(linear.value, kEighthZ));
  // At a key the key's value is taken as it is, sign included.
  linear.update(10.0f);
  EXPECT_EQ(linear.value, -kQuarterZ);
}

TEST(LinearQuat, NearlyParallelKeysBlendWithPlainWeights) {
  // The dot product is 1 in floats: the sine formula would divide 0 by 0.
  auto linear = track<quat>({{0.0f, kIdentity}, {10.0f, quat(0.0f, 0.0f, 1e-4f, 1.0f)}});
  linear.update(2.5f);
  EXPECT_FLOAT_EQ(linear.value.x, 0.0f);
  EXPECT_FLOAT_EQ(linear.value.y, 0.0f);
  EXPECT_FLOAT_EQ(linear.value.z, 0.25f * 1e-4f);
  EXPECT_FLOAT_EQ(linear.value.w, 1.0f);
}

TEST(LinearQuat, OppositeParallelKeysFlipThenBlendWithPlainWeights) {
  // Flipped, (0, 0, 0, -1) becomes the identity: 0.5 * 1 + 0.5 * 1. Unflipped plain weights
  // would give 0, the sine formula NaN.
  auto linear = track<quat>({{0.0f, kIdentity}, {10.0f, quat(0.0f, 0.0f, 0.0f, -1.0f)}});
  linear.update(5.0f);
  EXPECT_EQ(linear.value, kIdentity);
}

TEST(LinearQuat, ResultIsNotNormalised) {
  // Dot 2: beyond parallel, plain weights: 0.5 * 1 + 0.5 * 2.
  auto linear = track<quat>({{0.0f, kIdentity}, {10.0f, quat(0.0f, 0.0f, 0.0f, 2.0f)}});
  linear.update(5.0f);
  EXPECT_EQ(linear.value, quat(0.0f, 0.0f, 0.0f, 1.5f));
}

TEST(LinearScale, FloatVectorAndColourKeysAreMultipliedAndTimesKept) {
  auto number = track<float>({{0.0f, 1.0f}, {10.0f, 3.0f}});
  number.scale(2.0f);
  EXPECT_EQ(number.keys[0].keyValue, 2.0f);
  EXPECT_EQ(number.keys[1].keyValue, 6.0f);
  EXPECT_EQ(number.keys[1].time, 10.0f);

  auto position = track<vect3>({{0.0f, vect3(1.0f, -2.0f, 3.0f)}});
  position.scale(0.5f);
  EXPECT_EQ(position.keys[0].keyValue, vect3(0.5f, -1.0f, 1.5f));

  auto tint = track<color>({{0.0f, color(1.0f, 0.5f, 0.25f, 1.0f)}});
  tint.scale(0.5f);
  EXPECT_EQ(tint.keys[0].keyValue, color(0.5f, 0.25f, 0.125f, 0.5f));
}

TEST(LinearScale, QuatKeysTakeThatShareOfTheirRotation) {
  const quat halfTurnX(1.0f, 0.0f, 0.0f, 0.0f);
  auto rotation = track<quat>({{0.0f, kQuarterZ}, {10.0f, halfTurnX}});
  rotation.scale(0.5f);
  EXPECT_TRUE(approx(rotation.keys[0].keyValue, kEighthZ));
  EXPECT_TRUE(approx(rotation.keys[1].keyValue, quat(0.70710678f, 0.0f, 0.0f, 0.70710678f)));
}

TEST(LinearScale, MatrixKeysHaveAllSixteenElementsMultiplied) {
  const matrix m(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
  auto linear = track<matrix>({{0.0f, m}});
  linear.scale(-2.0f);
  EXPECT_EQ(linear.keys[0].keyValue,
            matrix(-2, -4, -6, -8, -10, -12, -14, -16, -18, -20, -22, -24, -26, -28, -30, -32));
}

TEST(LinearKeys, AddKeyAppendsACopy) {
  Linear<float> linear;
  LinearKey<float> key(3.0f, 9.0f);
  linear.addKey(key);
  key.setValue(1.0f);
  ASSERT_EQ(linear.keyCount(), 1u);
  EXPECT_EQ(linear.key(0)->time, 3.0f);
  EXPECT_EQ(*linear.key(0)->value(), 9.0f);
  EXPECT_EQ(linear.key(0), &linear.keys[0]);
}

TEST(LinearKeys, SetKeyCountAddsBlankKeysAndCuts) {
  auto linear = track<float>({{1.0f, 2.0f}});
  linear.setKeyCount(3);
  ASSERT_EQ(linear.keyCount(), 3u);
  EXPECT_EQ(linear.key(0)->time, 1.0f);
  EXPECT_EQ(linear.key(2)->time, 0.0f);
  EXPECT_EQ(*linear.key(2)->value(), 0.0f);
  linear.setKeyCount(1);
  EXPECT_EQ(linear.keyCount(), 1u);
  EXPECT_EQ(*linear.key(0)->value(), 2.0f);
}

}  // namespace
