#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "io/chunk_registry.h"
#include "scene/controller/const.h"
#include "scene/controller/conv.h"
#include "scene/controller/linear.h"
#include "scene/controller/op.h"
#include "tests/controller/support.h"

// Controllers as files hold them: codes, bodies byte for byte, and round trips of every class.
namespace {

using ts3d::color;
using ts3d::matrix;
using ts3d::quat;
using ts3d::vect3;
using ts3d::controller::Const;
using ts3d::controller::ControllerBase;
using ts3d::controller::Linear;
using ts3d::controller::LinearKey;
using tstest::FileBuilder;
using tstest::kHalf;
using tstest::kMinusOne;
using tstest::kOne;
using tstest::kThree;
using tstest::kTen;
using tstest::kTwo;
using tstest::kZero;
using ColorOp = ts3d::controller::Op<color, color, float>;
using ColorFromVector = ts3d::controller::Conv<color, vect3>;

class ControllerFiles : public tstest::ControllerTest {};

TEST_F(ControllerFiles, EveryClassIsRegisteredUnderItsCode) {
  const std::vector<uint32_t> codes = {
      tsio::fourCC("CCFL"), tsio::fourCC("CCV3"), tsio::fourCC("CCQU"), tsio::fourCC("CCCO"),
      tsio::fourCC("CLFL"), tsio::fourCC("CLV3"), tsio::fourCC("CLQU"), tsio::fourCC("CLCO"),
      tsio::fourCC("CLMT"), tsio::fourCC("CoCF"), tsio::fourCC("CVCV")};
  std::vector<tsio::CRSerializable*> first;
  for (uint32_t code : codes) {
    first.push_back(tsio::findChunk(code));
    EXPECT_NE(first.back(), nullptr) << std::hex << code;
  }
  for (size_t i = 0; i < codes.size(); ++i) EXPECT_EQ(tsio::findChunk(codes[i]), first[i]);
}

TEST_F(ControllerFiles, CodesAreTheLettersWithTheFirstInTheLowByte) {
  EXPECT_EQ(Const<float>::kCode, 0x4C464343u);  // 43 43 46 4C
  EXPECT_EQ(ColorOp::kCode, 0x46436F43u);       // 43 6F 43 46: lower-case o
}

TEST_F(ControllerFiles, LinearFloatBodyByteForByte) {
  Linear<float> linear;
  linear.keys = {{0.0f, 1.0f}, {10.0f, 3.0f}};
  FileBuilder expected;
  expected.header("CLFL", 0, 20).u32(2).u32(kZero).u32(kOne).u32(kTen).u32(kThree);
  EXPECT_EQ(tstest::storeToBytes(&linear, 0), expected.bytes);
}

TEST_F(ControllerFiles, LinearMatrixKeyIsTimeThenSixteenFloatsRowByRow) {
  Linear<matrix> linear;
  // _12 = -1 is the second float, the translation x (_41) = 2 the thirteenth.
  linear.keys = {{-1.0f, matrix(1, -1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 2, 0, 0, 1)}};
  FileBuilder expected;
  expected.header("CLMT", 0, 72).u32(1).u32(kMinusOne);
  for (uint32_t bits : {kOne, kMinusOne, kZero, kZero, kZero, kOne, kZero, kZero, kZero, kZero, kOne, kZero, kTwo,
                        kZero, kZero, kOne})
    expected.u32(bits);
  EXPECT_EQ(tstest::storeToBytes(&linear, 0), expected.bytes);
}

TEST_F(ControllerFiles, ConstBodiesAreTheFloatsInFieldOrder) {
  Const<vect3> position(vect3(1.0f, 2.0f, 3.0f));
  FileBuilder v3;
  v3.header("CCV3", 0, 12).u32(kOne).u32(kTwo).u32(kThree);
  EXPECT_EQ(tstest::storeToBytes(&position, 0), v3.bytes);

  Const<quat> rotation(quat(1.0f, 2.0f, 0.5f, -1.0f));
  FileBuilder qu;
  qu.header("CCQU", 0, 16).u32(kOne).u32(kTwo).u32(kHalf).u32(kMinusOne);
  EXPECT_EQ(tstest::storeToBytes(&rotation, 0), qu.bytes);
}

// An operator 5 holding a constant colour and a constant float, as the format's worked example
// lays it out: 64 bytes in all.
FileBuilder opLayout() {
  FileBuilder f;
  f.header("CoCF", 0, 48).u32(5);
  f.header("CCCO", 1, 16).u32(kOne).u32(kHalf).u32(kZero).u32(kOne);
  f.header("CCFL", 2, 4).u32(kHalf);
  return f;
}

TEST_F(ControllerFiles, OpStoresTheOperationBeforeItsOperands) {
  ColorOp op;
  op.operation = 5;
  op.left = new Const<color>(color(1.0f, 0.5f, 0.0f, 1.0f));
  op.right = new Const<float>(0.5f);
  const tstest::Bytes bytes = tstest::storeToBytes(&op, 0);
  EXPECT_EQ(bytes.size(), 64u);
  EXPECT_EQ(bytes, opLayout().bytes);
}

TEST_F(ControllerFiles, OpReadFromTheLayoutMultiplies) {
  std::unique_ptr<ColorOp> op = tstest::loadAs<ColorOp>(opLayout().bytes);
  ASSERT_TRUE(op);
  EXPECT_EQ(op->operation, 5);
  ASSERT_NE(dynamic_cast<Const<color>*>(op->left), nullptr);
  ASSERT_NE(dynamic_cast<Const<float>*>(op->right), nullptr);
  op->update(0.0f);
  EXPECT_EQ(op->value, color(0.5f, 0.25f, 0.0f, 0.5f));
}

TEST_F(ControllerFiles, ConvWithoutSourceIsOneNullWord) {
  ColorFromVector conv;
  FileBuilder expected;
  expected.header("CVCV", 0, 4).u32(0);
  EXPECT_EQ(tstest::storeToBytes(&conv, 0), expected.bytes);
  std::unique_ptr<ColorFromVector> back = tstest::loadAs<ColorFromVector>(expected.bytes);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->source, nullptr);
}

template <class T>
void expectConstRoundTrip(const T& value) {
  Const<T> original(value);
  std::unique_ptr<Const<T>> back = tstest::roundTrip(original);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->value, value);
}

TEST_F(ControllerFiles, ConstRoundTrips) {
  expectConstRoundTrip(-0.1f);
  expectConstRoundTrip(vect3(1.5f, -2.25f, 1e-3f));
  expectConstRoundTrip(quat(0.1f, 0.2f, 0.3f, 0.9f));
  expectConstRoundTrip(color(0.2f, 0.4f, 0.6f, 0.8f));
}

template <class T>
void expectLinearRoundTrip(const std::vector<LinearKey<T>>& keys) {
  Linear<T> original;
  original.keys = keys;
  std::unique_ptr<Linear<T>> back = tstest::roundTrip(original);
  ASSERT_TRUE(back);
  ASSERT_EQ(back->keys.size(), keys.size());
  for (size_t i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(back->keys[i].time, keys[i].time) << "key " << i;
    EXPECT_EQ(back->keys[i].keyValue, keys[i].keyValue) << "key " << i;
  }
}

TEST_F(ControllerFiles, LinearRoundTrips) {
  expectLinearRoundTrip<float>({{-5.0f, 0.1f}, {0.0f, -7.5f}, {1e4f, 3.0f}});
  expectLinearRoundTrip<vect3>({{0.0f, vect3(1.0f, 2.0f, 3.0f)}, {2.5f, vect3(-0.3f, 0.0f, 9e9f)}});
  expectLinearRoundTrip<quat>({{1.0f, quat(0.0f, 0.0f, 0.0f, 1.0f)}, {2.0f, quat(0.1f, -0.2f, 0.3f, -0.9f)}});
  expectLinearRoundTrip<color>({{0.0f, color(0.1f, 0.2f, 0.3f, 0.4f)}});
  expectLinearRoundTrip<matrix>({{0.0f, matrix(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16)},
                           {0.5f, matrix(-1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1, 0, 0.25f, 0.5f, 0.75f, 1)}});
  expectLinearRoundTrip<float>({});
}

TEST_F(ControllerFiles, OpRoundTripsWithItsOperandsOfAnyClass) {
  ColorOp original;
  original.operation = 5;
  auto* left = new Linear<color>;
  left->keys = {{0.0f, color(0.0f, 0.1f, 0.2f, 0.3f)}, {4.0f, color(1.0f, 0.9f, 0.8f, 0.7f)}};
  original.left = left;
  original.right = new Const<float>(0.75f);

  std::unique_ptr<ColorOp> back = tstest::roundTrip(original);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->operation, 5);
  auto* backLeft = dynamic_cast<Linear<color>*>(back->left);
  auto* backRight = dynamic_cast<Const<float>*>(back->right);
  ASSERT_NE(backLeft, nullptr);
  ASSERT_NE(backRight, nullptr);
  ASSERT_EQ(backLeft->keys.size(), 2u);
  EXPECT_EQ(backLeft->keys[1].time, 4.0f);
  EXPECT_EQ(backLeft->keys[1].keyValue, color(1.0f, 0.9f, 0.8f, 0.7f));
  EXPECT_EQ(backRight->value, 0.75f);

  ColorOp empty;
  empty.operation = -3;
  std::unique_ptr<ColorOp> emptyBack = tstest::roundTrip(empty);
  ASSERT_TRUE(emptyBack);
  EXPECT_EQ(emptyBack->operation, -3);
  EXPECT_EQ(emptyBack->left, nullptr);
  EXPECT_EQ(emptyBack->right, nullptr);
}

// A Conv doesn't own its source: in a file the source belongs to another object, here a test
// node that owns both. Either may be stored first.
void expectConvRoundTrip(bool convFirst) {
  auto* source = new Const<vect3>(vect3(0.25f, 0.5f, 0.75f));
  auto* conv = new ColorFromVector;
  conv->source = source;
  tstest::Node owner;
  owner.children = convFirst ? std::vector<tsio::Serializable*>{conv, source}
                             : std::vector<tsio::Serializable*>{source, conv};

  std::unique_ptr<tstest::Node> back = tstest::roundTrip(owner);
  ASSERT_TRUE(back);
  ASSERT_EQ(back->children.size(), 2u);
  auto* backConv = dynamic_cast<ColorFromVector*>(back->children[convFirst ? 0 : 1]);
  auto* backSource = dynamic_cast<Const<vect3>*>(back->children[convFirst ? 1 : 0]);
  ASSERT_NE(backConv, nullptr);
  ASSERT_NE(backSource, nullptr);
  EXPECT_EQ(backConv->source, backSource);
  EXPECT_EQ(backSource->value, vect3(0.25f, 0.5f, 0.75f));
  backConv->update(0.0f);
  EXPECT_EQ(backConv->value, color(0.25f, 0.5f, 0.75f, 1.0f));
}

TEST_F(ControllerFiles, ConvRoundTripsWithItsSourceOwnedElsewhere) {
  expectConvRoundTrip(false);
  expectConvRoundTrip(true);
}

}  // namespace
