#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "scene/controller/const.h"
#include "tests/gfxhelper/math_expect.h"

namespace {

using ts3d::color;
using ts3d::quat;
using ts3d::vect3;
using ts3d::controller::Const;
using tstest::approx;

TEST(Const, UpdateKeepsTheValueAtAnyTime) {
  Const<float> speed(2.5f);
  for (float time : {-1.0f, 0.0f, 1e6f, std::numeric_limits<float>::quiet_NaN()}) {
    speed.update(time);
    EXPECT_EQ(speed.value, 2.5f) << "at time " << time;
  }
  EXPECT_TRUE(speed.isConstant());
}

TEST(Const, ScaleMultipliesEachComponentOfFloatVectorAndColour) {
  Const<float> number(2.0f);
  number.scale(1.5f);
  EXPECT_EQ(number.value, 3.0f);

  Const<vect3> position(vect3(1.0f, -2.0f, 0.5f));
  position.scale(2.0f);
  EXPECT_EQ(position.value, vect3(2.0f, -4.0f, 1.0f));

  // Alpha is a component like the others.
  Const<color> tint(color(1.0f, 0.5f, 0.25f, 1.0f));
  tint.scale(0.5f);
  EXPECT_EQ(tint.value, color(0.5f, 0.25f, 0.125f, 0.5f));
}

// A quarter turn about z: (0, 0, sin 45°, cos 45°).
const quat kQuarterZ(0.0f, 0.0f, 0.70710678f, 0.70710678f);

TEST(Const, QuatScaleZeroIsIdentityAndOneKeepsTheValue) {
  Const<quat> zero(kQuarterZ);
  zero.scale(0.0f);
  EXPECT_TRUE(approx(zero.value, quat(0.0f, 0.0f, 0.0f, 1.0f), 1e-6f));

  Const<quat> one(kQuarterZ);
  one.scale(1.0f);
  EXPECT_TRUE(approx(one.value, kQuarterZ, 1e-6f));
}

TEST(Const, QuatScaleTakesThatShareOfTheRotation) {
  // Half of a quarter turn is an eighth: (0, 0, sin 22.5°, cos 22.5°).
  Const<quat> half(kQuarterZ);
  half.scale(0.5f);
  EXPECT_TRUE(approx(half.value, quat(0.0f, 0.0f, 0.38268343f, 0.92387953f)));

  // The same rotation with the opposite sign scales along the shorter arc to the same result.
  Const<quat> negated(-kQuarterZ);
  negated.scale(0.5f);
  EXPECT_TRUE(approx(negated.value, quat(0.0f, 0.0f, 0.38268343f, 0.92387953f)));
}

}  // namespace
