#include <gtest/gtest.h>

#include "scene/controller/const.h"
#include "scene/controller/conv.h"
#include "scene/controller/linear.h"
#include "scene/controller/op.h"
#include "tests/controller/support.h"
#include "tests/gfxhelper/math_expect.h"

namespace {

using ts3d::color;
using ts3d::vect3;
using ts3d::controller::Const;
using ts3d::controller::Linear;
using ts3d::controller::LinearKey;
using tstest::approx;
using tstest::Counted;
using ColorOp = ts3d::controller::Op<color, color, float>;
using ColorFromVector = ts3d::controller::Conv<color, vect3>;

template <class T>
Linear<T>* twoKeys(const T& first, const T& second) {
  auto* linear = new Linear<T>;
  linear->keys = {LinearKey<T>(0.0f, first), LinearKey<T>(10.0f, second)};
  return linear;
}

TEST(Op, MultiplyScalesEveryComponentAlphaIncluded) {
  ColorOp op;
  op.operation = ColorOp::kMultiply;
  op.left = new Const<color>(color(1.0f, 0.5f, 0.0f, 1.0f));
  op.right = new Const<float>(0.5f);
  op.update(0.0f);
  EXPECT_EQ(op.value, color(0.5f, 0.25f, 0.0f, 0.5f));
}

TEST(Op, UpdatesBothOperandsBeforeCombining) {
  ColorOp op;
  op.operation = ColorOp::kMultiply;
  op.left = twoKeys(color(0.0f, 0.0f, 0.0f, 0.0f), color(1.0f, 1.0f, 1.0f, 1.0f));
  op.right = twoKeys(0.0f, 2.0f);
  op.update(5.0f);  // (0.5, 0.5, 0.5, 0.5) times 1
  EXPECT_TRUE(approx(op.value, color(0.5f, 0.5f, 0.5f, 0.5f)));
}

TEST(Op, OtherOperationsLeaveTheValueButUpdateTheOperands) {
  ColorOp op;
  op.operation = 4;
  op.left = twoKeys(color(0.0f, 0.0f, 0.0f, 0.0f), color(1.0f, 1.0f, 1.0f, 1.0f));
  op.right = twoKeys(0.0f, 2.0f);
  op.value = color(0.1f, 0.2f, 0.3f, 0.4f);
  op.update(5.0f);
  EXPECT_EQ(op.value, color(0.1f, 0.2f, 0.3f, 0.4f));
  EXPECT_TRUE(approx(op.left->value, color(0.5f, 0.5f, 0.5f, 0.5f)));
  EXPECT_FLOAT_EQ(op.right->value, 1.0f);
}

TEST(Op, MultiplyWithAnOperandMissingLeavesTheValue) {
  ColorOp onlyLeft;
  onlyLeft.operation = ColorOp::kMultiply;
  onlyLeft.left = twoKeys(color(0.0f, 0.0f, 0.0f, 0.0f), color(1.0f, 1.0f, 1.0f, 1.0f));
  onlyLeft.value = color(0.1f, 0.2f, 0.3f, 0.4f);
  onlyLeft.update(5.0f);
  EXPECT_EQ(onlyLeft.value, color(0.1f, 0.2f, 0.3f, 0.4f));
  EXPECT_TRUE(approx(onlyLeft.left->value, color(0.5f, 0.5f, 0.5f, 0.5f)));

  ColorOp onlyRight;
  onlyRight.operation = ColorOp::kMultiply;
  onlyRight.right = new Const<float>(2.0f);
  onlyRight.value = color(0.1f, 0.2f, 0.3f, 0.4f);
  onlyRight.update(5.0f);
  EXPECT_EQ(onlyRight.value, color(0.1f, 0.2f, 0.3f, 0.4f));
}

TEST(Op, ConstantWhenEveryPresentOperandIs) {
  ColorOp none;
  EXPECT_TRUE(none.isConstant());

  ColorOp constants;
  constants.left = new Const<color>(color(1.0f, 1.0f, 1.0f, 1.0f));
  constants.right = new Const<float>(1.0f);
  EXPECT_TRUE(constants.isConstant());

  ColorOp animatedRight;
  animatedRight.left = new Const<color>(color(1.0f, 1.0f, 1.0f, 1.0f));
  animatedRight.right = twoKeys(0.0f, 1.0f);
  EXPECT_FALSE(animatedRight.isConstant());

  ColorOp animatedLeftOnly;
  animatedLeftOnly.left = twoKeys(color(0.0f, 0.0f, 0.0f, 0.0f), color(1.0f, 1.0f, 1.0f, 1.0f));
  EXPECT_FALSE(animatedLeftOnly.isConstant());

  ColorOp constantRightOnly;
  constantRightOnly.right = new Const<float>(1.0f);
  EXPECT_TRUE(constantRightOnly.isConstant());
}

TEST(Op, ScaleChangesNothing) {
  ColorOp op;
  op.operation = ColorOp::kMultiply;
  op.left = new Const<color>(color(1.0f, 0.5f, 0.0f, 1.0f));
  op.right = new Const<float>(0.5f);
  op.value = color(0.1f, 0.2f, 0.3f, 0.4f);
  op.scale(3.0f);
  EXPECT_EQ(op.value, color(0.1f, 0.2f, 0.3f, 0.4f));
  EXPECT_EQ(op.left->value, color(1.0f, 0.5f, 0.0f, 1.0f));
  EXPECT_EQ(op.right->value, 0.5f);
}

TEST(Op, DeletesBothOperands) {
  const int colorsBefore = Counted<color>::live, floatsBefore = Counted<float>::live;
  auto* op = new ColorOp;
  op->left = new Counted<color>(color(1.0f, 1.0f, 1.0f, 1.0f));
  op->right = new Counted<float>(1.0f);
  EXPECT_EQ(Counted<color>::live, colorsBefore + 1);
  delete op;
  EXPECT_EQ(Counted<color>::live, colorsBefore);
  EXPECT_EQ(Counted<float>::live, floatsBefore);
}

TEST(Conv, PresentsTheVectorAsAnOpaqueColour) {
  Const<vect3> source(vect3(0.25f, 0.5f, 0.75f));
  ColorFromVector conv;
  conv.source = &source;
  conv.update(0.0f);
  EXPECT_EQ(conv.value, color(0.25f, 0.5f, 0.75f, 1.0f));
}

TEST(Conv, UpdateReachesAnAnimatedSource) {
  Linear<vect3>* source = twoKeys(vect3(0.0f, 0.0f, 0.0f), vect3(1.0f, 0.5f, 0.0f));
  ColorFromVector conv;
  conv.source = source;
  conv.update(5.0f);
  EXPECT_TRUE(approx(source->value, vect3(0.5f, 0.25f, 0.0f)));
  EXPECT_TRUE(approx(conv.value, color(0.5f, 0.25f, 0.0f, 1.0f)));
  delete source;
}

TEST(Conv, ConstantAsItsSourceIsAndWithoutOne) {
  ColorFromVector conv;
  EXPECT_TRUE(conv.isConstant());
  Const<vect3> fixed(vect3(1.0f, 1.0f, 1.0f));
  conv.source = &fixed;
  EXPECT_TRUE(conv.isConstant());
  Linear<vect3>* animated = twoKeys(vect3(0.0f, 0.0f, 0.0f), vect3(1.0f, 1.0f, 1.0f));
  conv.source = animated;
  EXPECT_FALSE(conv.isConstant());
  delete animated;
}

TEST(Conv, ScaleReachesTheSource) {
  Const<vect3> source(vect3(1.0f, 2.0f, 3.0f));
  ColorFromVector conv;
  conv.source = &source;
  conv.scale(0.5f);
  EXPECT_EQ(source.value, vect3(0.5f, 1.0f, 1.5f));
}

TEST(Conv, WithoutSourceUpdateLeavesTheValue) {
  ColorFromVector conv;
  conv.value = color(0.1f, 0.2f, 0.3f, 0.4f);
  conv.update(1.0f);
  conv.scale(2.0f);
  EXPECT_EQ(conv.value, color(0.1f, 0.2f, 0.3f, 0.4f));
}

TEST(Conv, LeavesItsSourceAlive) {
  const int before = Counted<vect3>::live;
  Counted<vect3> source(vect3(1.0f, 1.0f, 1.0f));
  {
    ColorFromVector conv;
    conv.source = &source;
  }
  EXPECT_EQ(Counted<vect3>::live, before + 1);
}

}  // namespace
