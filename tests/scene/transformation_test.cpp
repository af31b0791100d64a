#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "scene/controller/const.h"
#include "scene/controller/linear.h"
#include "scene/controller_transformation.h"
#include "scene/transformation.h"
#include "io/stream_memory.h"
#include "tests/scene/support.h"

namespace {

using ts3d::composeMatrix;
using ts3d::ControllerTransformation;
using ts3d::ControllerTransformationMatrix;
using ts3d::matrix;
using ts3d::quat;
using ts3d::TransformationPRS;
using ts3d::vect3;
using ts3d::controller::Const;
using ts3d::controller::Linear;
using tstest::FileBuilder;
using tstest::expectVectNear;
using tstest::floats;
using tstest::transformPoint;

const float kHalfRoot2 = std::sqrt(0.5f);
// A quarter turn about +Z: in row-vector order it takes +X to +Y.
const quat kQuarterZ{0.0f, 0.0f, kHalfRoot2, kHalfRoot2};

// Installs owned controllers the way a load does.
void install(ControllerTransformation& target, ts3d::controller::ControllerBase<vect3>* position,
             ts3d::controller::ControllerBase<quat>* rotation, ts3d::controller::ControllerBase<vect3>* scale) {
  target.positionController = position;
  target.rotationController = rotation;
  target.scaleController = scale;
  target.addController(position);
  target.addController(rotation);
  target.addController(scale);
}

class Transformations : public tstest::SceneTest {};

TEST_F(Transformations, ComposeScalesThenRotatesThenTranslates) {
  const matrix m = composeMatrix(vect3(10, 0, 0), kQuarterZ, vect3(2, 1, 1));
  // (1, 0, 0) scaled to (2, 0, 0), turned to (0, 2, 0), moved to (10, 2, 0). Rotating before
  // scaling would give (10, 1, 0); translating before either would move the origin elsewhere.
  expectVectNear(transformPoint(m, vect3(1, 0, 0)), vect3(10, 2, 0));
  // (0, 1, 0) keeps its length under the scale and turns to -X.
  expectVectNear(transformPoint(m, vect3(0, 1, 0)), vect3(9, 0, 0));
  expectVectNear(transformPoint(m, vect3(0, 0, 0)), vect3(10, 0, 0));
}

TEST_F(Transformations, FixedTransformationBodyIsTenFloats) {
  TransformationPRS prs(vect3(1, 2, 3), quat(0.5f, -0.5f, 0.25f, 0.75f), vect3(4, 5, 6));
  FileBuilder expected;
  expected.header("TRPR", 0, 40);
  floats(expected, {1, 2, 3, 0.5f, -0.5f, 0.25f, 0.75f, 4, 5, 6});
  EXPECT_EQ(tstest::storeToBytes(&prs, 0), expected.bytes);

  auto loaded = tstest::loadAs<TransformationPRS>(expected.bytes);
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(*loaded->position(), vect3(1, 2, 3));
  EXPECT_EQ(*loaded->rotation(), quat(0.5f, -0.5f, 0.25f, 0.75f));
  EXPECT_EQ(*loaded->scale(), vect3(4, 5, 6));
  EXPECT_FALSE(loaded->matrixValid);
}

TEST_F(Transformations, LoadForgetsTheMatrixOfEarlierValues) {
  TransformationPRS prs;
  prs.matrix();
  ASSERT_TRUE(prs.matrixValid);
  // A raw body, read in place by a plain stream.
  FileBuilder body;
  body.bytes.clear();
  floats(body, {5, 0, 0, 0, 0, 0, 1, 1, 1, 1});
  tsio::InStreamMemory in;
  in.setRange(body.bytes.data(), static_cast<int32_t>(body.bytes.size()));
  EXPECT_TRUE(prs.load(in));
  EXPECT_FALSE(prs.matrixValid);
  EXPECT_EQ(prs.matrix()->m[3][0], 5.0f);
}

TEST_F(Transformations, FixedTransformationOfAnotherVersionIsSkippedAndLeftEmpty) {
  // A node holding a version 2 TRPR and then a leaf: the leaf must still read in step.
  FileBuilder file;
  file.header("tNOD", 0, 0);  // size patched below
  file.u8(0);                 // empty name
  floats(file, {0});          // weight
  file.u32(2);                // two children
  tstest::headerV(file, "TRPR", 2, 1, 40);
  floats(file, {9, 9, 9, 0, 0, 0, 1, 9, 9, 9});
  file.header("tLEF", 2, 13).u32(42).u32(0).u32(0).u8(1);
  file.u32(0);  // no link
  file.u32(0);  // no blob
  const uint32_t size = static_cast<uint32_t>(file.bytes.size() - 16);
  for (int i = 0; i < 4; ++i) file.bytes[12 + i] = static_cast<uint8_t>(size >> (8 * i));

  auto node = tstest::loadAs<tstest::Node>(file.bytes);
  ASSERT_NE(node, nullptr);
  ASSERT_EQ(node->children.size(), 2u);
  auto* prs = dynamic_cast<TransformationPRS*>(node->children[0]);
  ASSERT_NE(prs, nullptr);
  EXPECT_EQ(*prs->position(), vect3(0, 0, 0));
  EXPECT_EQ(*prs->scale(), vect3(1, 1, 1));
  auto* leaf = dynamic_cast<tstest::Leaf*>(node->children[1]);
  ASSERT_NE(leaf, nullptr);
  EXPECT_EQ(leaf->number, 42);
  EXPECT_TRUE(leaf->flag);
}

TEST_F(Transformations, AnimatedBodyIsThreeObjects) {
  ControllerTransformation animated;
  install(animated, new Const<vect3>(vect3(1, 2, 3)), new Const<quat>(quat(0, 0, 0, 1)),
                                 new Const<vect3>(vect3(2, 2, 2)));
  FileBuilder expected;
  expected.header("CPRS", 0, 76);
  expected.header("CCV3", 1, 12);
  floats(expected, {1, 2, 3});
  expected.header("CCQU", 2, 16);
  floats(expected, {0, 0, 0, 1});
  expected.header("CCV3", 3, 12);
  floats(expected, {2, 2, 2});
  EXPECT_EQ(tstest::storeToBytes(&animated, 0), expected.bytes);

  auto loaded = tstest::loadAs<ControllerTransformation>(expected.bytes);
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(loaded->controllers.size(), 3u);
  loaded->update(0.0f);
  EXPECT_EQ(*loaded->position(), vect3(1, 2, 3));
  EXPECT_EQ(*loaded->scale(), vect3(2, 2, 2));
  const matrix expectedMatrix(2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 1, 2, 3, 1);
  tstest::expectMatrixNear(*loaded->matrix(), expectedMatrix, 0.0f);
}

TEST_F(Transformations, AnimatedMatrixFollowsTheControllersInTime) {
  auto* moving = new Linear<vect3>;
  moving->addKey(ts3d::controller::LinearKey<vect3>(0.0f, vect3(0, 0, 0)));
  moving->addKey(ts3d::controller::LinearKey<vect3>(10.0f, vect3(10, 0, 0)));
  auto* turning = new Linear<quat>;
  turning->addKey(ts3d::controller::LinearKey<quat>(0.0f, quat(0, 0, 0, 1)));
  turning->addKey(ts3d::controller::LinearKey<quat>(10.0f, kQuarterZ));
  ControllerTransformation animated;
  install(animated, moving, turning, new Const<vect3>(vect3(1, 1, 1)));

  animated.update(5.0f);
  // Halfway: at (5, 0, 0), turned an eighth about Z.
  const float c = std::cos(0.25f * 3.14159265f);
  expectVectNear(transformPoint(*animated.matrix(), vect3(0, 0, 0)), vect3(5, 0, 0));
  expectVectNear(transformPoint(*animated.matrix(), vect3(1, 0, 0)), vect3(5 + c, c, 0));

  animated.update(10.0f);
  expectVectNear(transformPoint(*animated.matrix(), vect3(0, 0, 0)), vect3(10, 0, 0));
  expectVectNear(transformPoint(*animated.matrix(), vect3(1, 0, 0)), vect3(10, 1, 0));
  expectVectNear(*animated.position(), vect3(10, 0, 0));
}

TEST_F(Transformations, AnimatedTransformationWithoutControllersStandsAtTheOrigin) {
  FileBuilder file;
  file.header("CPRS", 0, 12).u32(0).u32(0).u32(0);
  auto loaded = tstest::loadAs<ControllerTransformation>(file.bytes);
  ASSERT_NE(loaded, nullptr);
  EXPECT_TRUE(loaded->controllers.empty());
  loaded->update(3.0f);
  tstest::expectMatrixNear(*loaded->matrix(), tstest::identityMatrix(), 0.0f);
}

TEST_F(Transformations, MatrixTransformationReportsUnitScaleAndItsTranslation) {
  const matrix scaled(2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 4, 5, 6, 1);
  auto* track = new Linear<matrix>;
  track->addKey(ts3d::controller::LinearKey<matrix>(0.0f, scaled));
  ControllerTransformationMatrix animated;
  animated.matrixController = track;
  animated.addController(track);

  FileBuilder expected;
  expected.header("CMTX", 0, 84);
  expected.header("CLMT", 1, 72).u32(1);
  floats(expected, {0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 4, 5, 6, 1});
  EXPECT_EQ(tstest::storeToBytes(&animated, 0), expected.bytes);

  auto loaded = tstest::loadAs<ControllerTransformationMatrix>(expected.bytes);
  ASSERT_NE(loaded, nullptr);
  loaded->update(1.0f);
  EXPECT_EQ(loaded->positionController, nullptr);
  EXPECT_EQ(loaded->rotationController, nullptr);
  EXPECT_EQ(loaded->scaleController, nullptr);
  tstest::expectMatrixNear(*loaded->matrix(), scaled, 0.0f);
  EXPECT_EQ(*loaded->scale(), vect3(1, 1, 1));
  EXPECT_EQ(*loaded->position(), vect3(4, 5, 6));
}

}  // namespace
