#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <random>

#include "io/chunk_registry.h"
#include "scene/controller/const.h"
#include "scene/controller/conv.h"
#include "scene/controller/linear.h"
#include "scene/controller/op.h"
#include "tests/controller/support.h"
#include "tests/gfxhelper/math_expect.h"
#include "tests/persistence/contract.h"
#include "tests/support/heap_count.h"

// The controllers' own behaviour and guards; their files are rows of the persistence contract.
namespace {

using ts3d::color;
using ts3d::matrix;
using ts3d::quat;
using ts3d::vect3;
using ts3d::controller::Const;
using ts3d::controller::Linear;
using tstest::FileBuilder;
using tstest::kOne;
using tstest::kZero;
using ColorOp = ts3d::controller::Op<color, color, float>;
using ColorFromVector = ts3d::controller::Conv<color, vect3>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// First in this program, so no file has been read yet: the registrers are static objects made
// at start-up, not on the first read.
TEST(ControllerRegistry, EveryCodeIsKnownBeforeAnyFileIsRead) {
  for (uint32_t code : {Const<float>::kCode, Const<vect3>::kCode, Const<quat>::kCode, Const<color>::kCode,
                        Linear<float>::kCode, Linear<vect3>::kCode, Linear<quat>::kCode, Linear<color>::kCode,
                        Linear<matrix>::kCode, ColorOp::kCode, ColorFromVector::kCode})
    EXPECT_NE(tsio::findChunk(code), nullptr) << std::hex << code;
}

template <class T>
Linear<T> track(const std::vector<ts3d::controller::LinearKey<T>>& keys) {
  Linear<T> result;
  result.keys = keys;
  return result;
}

const quat kIdentity(0, 0, 0, 1);
const quat kQuarterZ(0, 0, 0.70710678f, 0.70710678f);  // (0, 0, sin 45°, cos 45°)
const quat kEighthZ(0, 0, 0.38268343f, 0.92387953f);   // (0, 0, sin 22.5°, cos 22.5°)

TEST(Linear, InterpolatesBetweenKeysAndStandsStillOutside) {
  auto number = track<float>({{0, 1}, {10, 3}, {20, -3}});
  for (auto [time, value] : {std::pair{2.5f, 1.5f}, {-1.0f, 1.0f}, {10.0f, 3.0f}, {15.0f, 0.0f}, {25.0f, -3.0f},
                             {kNaN, -3.0f}}) {
    number.update(time);
    EXPECT_FLOAT_EQ(number.value, value) << "at time " << time;
  }
  auto position = track<vect3>({{0, vect3(0, 0, 0)}, {10, vect3(2, 4, -6)}});
  position.update(2.5f);
  EXPECT_TRUE(tstest::approx(position.value, vect3(0.5f, 1, -1.5f)));
}

TEST(Linear, MatrixKeysAreNotBlendedAndTheTieGoesToTheEarlierKey) {
  const matrix first = tstest::translation(1, 2, 3), second = tstest::scaling(2, 2, 2);
  auto linear = track<matrix>({{0, first}, {10, second}});
  for (auto [time, expected] : {std::pair{4.9f, first}, {5.0f, first}, {5.1f, second}}) {
    linear.update(time);
    EXPECT_EQ(linear.value, expected) << "at time " << time;
  }
}

TEST(Linear, QuatsTakeTheShorterArcAndNearlyParallelKeysBlendPlainly) {
  // -kQuarterZ is the same rotation: the long way round would not give the eighth turn.
  for (const quat& end : {kQuarterZ, -kQuarterZ}) {
    auto linear = track<quat>({{0, kIdentity}, {10, end}});
    linear.update(5);
    EXPECT_TRUE(tstest::approx(linear.value, kEighthZ));
  }
  // The dot product is 1 in floats: the sine formula would divide 0 by 0.
  auto parallel = track<quat>({{0, kIdentity}, {10, quat(0, 0, 1e-4f, 1)}});
  parallel.update(2.5f);
  EXPECT_TRUE(tstest::approx(parallel.value, quat(0, 0, 0.25e-4f, 1), 1e-9f));
}

// Keys of any order and NaN times: the search gives keys in range, and on ordered keys the
// last key not later than time and the one after it, as a plain scan finds them.
TEST(FindKeys, AnyTrackGivesKeysInRangeAndOrderedTracksTheScansAnswer) {
  const float pool[] = {-kInf, -1e30f, -3, -1, 0, 0, 0.5f, 1, 2, 2, 7, 1e30f, kInf, kNaN};
  std::mt19937 random(1234);
  std::uniform_int_distribution<size_t> pick(0, std::size(pool) - 1);
  std::uniform_int_distribution<int> length(0, 9);
  for (int trial = 0; trial < 4000; ++trial) {
    std::vector<float> times(static_cast<size_t>(length(random)));
    for (float& time : times) time = pool[pick(random)];
    const bool ordered = trial % 2 == 0 && std::none_of(times.begin(), times.end(), [](float t) { return t != t; });
    if (ordered) std::sort(times.begin(), times.end());
    Linear<float> linear;
    for (float time : times) linear.keys.emplace_back(time, 0.0f);
    const float time = pool[pick(random)];
    const int n = static_cast<int>(times.size());
    const auto [before, after] = tstest::around(linear, time);
    ASSERT_TRUE(before >= -1 && before < n && after >= -1 && after < n) << "trial " << trial;
    ASSERT_EQ(n == 0, before == -1 && after == -1) << "trial " << trial;
    if (before >= 0 && after >= 0) {
      // What keeps the interpolation's division away from zero.
      EXPECT_GT(linear.keys[after].time, time) << "trial " << trial;
      EXPECT_FALSE(linear.keys[before].time > time) << "trial " << trial;
    }
    if (!ordered || time != time) continue;
    int last = -1;
    while (last + 1 < n && times[last + 1] <= time) ++last;
    std::pair<int, int> expected{last, last + 1 < n ? last + 1 : -1};
    if (n > 0 && times[0] >= time) expected = {-1, 0};
    EXPECT_EQ(std::pair(before, after), expected) << "trial " << trial;
  }
}

TEST(HostileControllers, KeyCountsBeyondTheBytesLeftAreRefusedBeforeAnyKeyIsMade) {
  FileBuilder huge;
  huge.header("CLFL", 0, 4).u32(0x7FFFFFFF);
  tstest::expectRefused(huge.bytes, "a count of 2147483647 items of 8 bytes or more, with 0 bytes left");
  FileBuilder oneShort;  // three keys of 16 bytes counted, two there
  oneShort.header("CLV3", 0, 36).u32(3);
  for (int i = 0; i < 8; ++i) oneShort.u32(kOne);
  tstest::expectRefused(oneShort.bytes, "a count of 3 items of 16 bytes or more, with 32 bytes left");
}

TEST(HostileControllers, OperandsThatCantServeReadAsNull) {
  // A float where the colour operand belongs, an operator owning itself, a colour as the
  // conversion's vector.
  FileBuilder floatAsColour, self, colourAsVector;
  floatAsColour.header("CoCF", 0, 24).u32(ColorOp::kMultiply).header("CCFL", 1, 4).u32(kOne).u32(0);
  self.header("CoCF", 0, 12).u32(ColorOp::kMultiply).u32(0x80000000u).u32(0);
  colourAsVector.header("CVCV", 0, 28).header("CCCO", 1, 16).u32(kOne).u32(kOne).u32(kOne).u32(kOne);
  for (const tstest::Bytes& file : {floatAsColour.bytes, self.bytes}) {
    std::unique_ptr<ColorOp> op = tstest::loadAs<ColorOp>(file);
    ASSERT_TRUE(op);
    EXPECT_EQ(op->left, nullptr);
    op->update(1);
  }
  std::unique_ptr<ColorFromVector> conv = tstest::loadAs<ColorFromVector>(colourAsVector.bytes);
  ASSERT_TRUE(conv);
  EXPECT_EQ(conv->source, nullptr);
}

TEST(OpAndConv, OpMultipliesEveryComponentAndConvIsAnOpaqueColourOfItsSourceOwnedElsewhere) {
  FileBuilder op;
  op.header("CoCF", 0, 48).u32(ColorOp::kMultiply);
  op.header("CCCO", 1, 16).u32(kOne).u32(tstest::kHalf).u32(kZero).u32(kOne).header("CCFL", 2, 4).u32(tstest::kHalf);
  std::unique_ptr<ColorOp> product = tstest::loadAs<ColorOp>(op.bytes);
  ASSERT_TRUE(product);
  product->update(0);
  EXPECT_EQ(product->value, color(0.5f, 0.25f, 0, 0.5f));

  // Either may come first in the file; the node owns both.
  for (bool convFirst : {false, true}) {
    auto* source = new Const<vect3>(vect3(0.25f, 0.5f, 0.75f));
    auto* conv = new ColorFromVector;
    conv->source = source;
    tstest::Node owner;
    owner.children = {conv, source};
    if (!convFirst) std::swap(owner.children[0], owner.children[1]);
    std::unique_ptr<tstest::Node> back = tstest::loadAs<tstest::Node>(tstest::storeToBytes(&owner, 0));
    ASSERT_TRUE(back);
    auto* backConv = dynamic_cast<ColorFromVector*>(back->children[convFirst ? 0 : 1]);
    ASSERT_NE(backConv, nullptr);
    EXPECT_EQ(backConv->source, back->children[convFirst ? 1 : 0]);
    backConv->update(0);
    EXPECT_EQ(backConv->value, color(0.25f, 0.5f, 0.75f, 1));
  }
}

// Seeded damage: every byte of each controller row's file set to a few values. A file is refused
// or gives a controller that updates at any time, and nothing is left behind.
TEST(HostileControllers, DamagedBytesNeverCrashOrLeak) {
  const std::vector<tstest::ChunkCase>& rows = tstest::controllerCases();  // made once, before counting
  const long blocksBefore = tstest::liveHeapBlocks();
  int loaded = 0;
  for (const tstest::ChunkCase& row : rows) {
    const tstest::Bytes file = tstest::hexBytes(row.file);
    for (size_t at = 0; at < file.size(); ++at) {
      for (uint8_t damage : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
        tstest::Bytes damaged = file;
        damaged[at] = damage;
        tstest::RecordingTracer tracer;
        std::unique_ptr<tsio::Serializable> root(tstest::loadFromBytes(damaged));
        if (auto* controller = dynamic_cast<ts3d::Controller*>(root.get())) {
          ++loaded;
          for (float time : {-1.0f, 0.0f, 5.0f, 1e30f, kNaN}) controller->update(time);
        }
      }
    }
  }
  EXPECT_GT(loaded, 0) << "some damage (in values) leaves a readable controller";
  EXPECT_EQ(tstest::liveHeapBlocks(), blocksBefore);
}

}  // namespace
