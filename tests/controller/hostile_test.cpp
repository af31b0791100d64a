#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "scene/controller/const.h"
#include "scene/controller/conv.h"
#include "scene/controller/linear.h"
#include "scene/controller/op.h"
#include "tests/controller/support.h"
#include "tests/support/controller_samples.h"

// Controller bodies as an attacker would shape them: every read ends in null or an object,
// never in a crash, a huge allocation, a leak (ASan checks natively) or an endless search.
namespace {

using ts3d::color;
using ts3d::controller::Linear;
using tstest::Bytes;
using tstest::FileBuilder;
using tstest::kOne;
using tstest::kZero;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

struct Outcome {
  std::unique_ptr<tsio::Serializable> root;
  std::vector<std::string> boxes;
};

Outcome read(const Bytes& file) {
  tstest::RecordingTracer tracer;
  Outcome outcome;
  outcome.root.reset(tstest::loadFromBytes(file));
  outcome.boxes = tracer.texts('b');
  return outcome;
}

void expectRefused(const Bytes& file, const std::string& reason) {
  const Outcome outcome = read(file);
  EXPECT_EQ(outcome.root, nullptr);
  EXPECT_EQ(outcome.boxes, std::vector<std::string>{"TSIO : Unreadable file : " + reason});
}


class HostileControllers : public tstest::ControllerTest {};

TEST_F(HostileControllers, EveryTruncationIsRefusedWithOneMessage) {
  const int nodesBefore = tstest::Node::live;
  for (const Bytes& file : tstest::controllerSampleFiles()) {
    ASSERT_NE(read(file).root, nullptr) << "the intact sample must load";
    for (size_t length = 0; length < file.size(); ++length) {
      const Outcome outcome = read(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)));
      EXPECT_EQ(outcome.root, nullptr) << "cut at " << length << " of " << file.size();
      // Behind the magic, the user is told once.
      if (length >= 4) {
        EXPECT_EQ(outcome.boxes.size(), 1u) << "cut at " << length << " of " << file.size();
      }
    }
  }
  EXPECT_EQ(tstest::Node::live, nodesBefore);
}

TEST_F(HostileControllers, KeyCountBeyondTheBytesLeftIsRefusedBeforeAnyKeyIsMade) {
  FileBuilder huge;
  huge.header("CLFL", 0, 4).u32(0x7FFFFFFF);
  expectRefused(huge.bytes, "a count of 2147483647 items of 8 bytes or more, with 0 bytes left in chunk CLFL (id 0)");

  // An int32 -1 is no count either. One key's 68 bytes follow.
  FileBuilder negative;
  negative.header("CLMT", 0, 72).u32(0xFFFFFFFF);
  for (int i = 0; i < 17; ++i) negative.u32(kZero);
  expectRefused(negative.bytes,
                "a count of 4294967295 items of 68 bytes or more, with 68 bytes left in chunk CLMT (id 0)");

  FileBuilder oneShort;
  oneShort.header("CLV3", 0, 36).u32(3);
  for (int i = 0; i < 8; ++i) oneShort.u32(kOne);
  expectRefused(oneShort.bytes, "a count of 3 items of 16 bytes or more, with 32 bytes left in chunk CLV3 (id 0)");
}

TEST_F(HostileControllers, KeysReadingPastTheirChunkAreRefused) {
  // The track's chunk holds one key but counts two; the second one's bytes lie in the Op.
  FileBuilder f;
  f.header("CoCF", 0, 40).u32(5).u32(0);
  f.header("CLFL", 1, 12).u32(2).u32(kZero).u32(kOne);
  f.u32(kOne).u32(kOne);
  expectRefused(f.bytes, "chunk CLFL (id 1) reads 8 bytes past its end");
}

TEST_F(HostileControllers, OperandsThatCantServeReadAsNull) {
  // A float where the colour operand belongs, and an operator whose operand is itself (owned,
  // it would update itself without end): both read as null operands.
  FileBuilder floatAsColour;
  floatAsColour.header("CoCF", 0, 24).u32(5);
  floatAsColour.header("CCFL", 1, 4).u32(kOne);
  floatAsColour.u32(0);
  FileBuilder self;
  self.header("CoCF", 0, 12).u32(5).u32(0x80000000u).u32(0);
  for (const Bytes& file : {floatAsColour.bytes, self.bytes}) {
    const Outcome outcome = read(file);
    auto* op = dynamic_cast<ts3d::controller::Op<color, color, float>*>(outcome.root.get());
    ASSERT_NE(op, nullptr);
    EXPECT_EQ(op->left, nullptr);
    op->update(1.0f);
  }
  // A colour where the conversion's vector belongs.
  FileBuilder colourAsVector;
  colourAsVector.header("CVCV", 0, 28);
  colourAsVector.header("CCCO", 1, 16).u32(kOne).u32(kOne).u32(kOne).u32(kOne);
  const Outcome outcome = read(colourAsVector.bytes);
  auto* conv = dynamic_cast<ts3d::controller::Conv<color, ts3d::vect3>*>(outcome.root.get());
  ASSERT_NE(conv, nullptr);
  EXPECT_EQ(conv->source, nullptr);
}

TEST_F(HostileControllers, ConvSourceThatNothingOwnsStillServes) {
  FileBuilder f;
  f.header("CVCV", 0, 24);
  f.header("CCV3", 1, 12).u32(kOne).u32(kZero).u32(kOne);
  const Outcome outcome = read(f.bytes);
  auto* conv = dynamic_cast<ts3d::controller::Conv<color, ts3d::vect3>*>(outcome.root.get());
  ASSERT_NE(conv, nullptr);
  EXPECT_TRUE(outcome.boxes.empty());
  conv->update(0.0f);
  EXPECT_EQ(conv->value, color(1, 0, 1, 1));
}

TEST_F(HostileControllers, KeysOutOfOrderAndNanTimesKeepTheSearchInRange) {
  constexpr uint32_t kNaNBits = 0x7FC00000;
  constexpr uint32_t kFive = 0x40A00000, kThreeBits = 0x40400000;
  FileBuilder f;
  f.header("CLFL", 0, 44).u32(5);
  f.u32(kNaNBits).u32(kOne).u32(kFive).u32(kOne).u32(kThreeBits).u32(kOne).u32(kNaNBits).u32(kOne).u32(kOne).u32(kOne);
  std::unique_ptr<Linear<float>> linear = tstest::loadAs<Linear<float>>(f.bytes);
  ASSERT_TRUE(linear);
  ASSERT_EQ(linear->keys.size(), 5u);
  for (float time : {kNaN, -kInf, kInf, -1.0f, 0.0f, 1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, 1e30f}) {
    const auto [before, after] = tstest::around(*linear, time);
    EXPECT_TRUE(before >= -1 && before < 5 && after >= -1 && after < 5) << "at time " << time;
    EXPECT_TRUE(before >= 0 || after >= 0) << "at time " << time;
    linear->update(time);  // the value may be NaN here; it must merely come back
  }
}

// The pool that random tracks and times draw from: repeats, infinities and NaN included.
const float kPool[] = {-kInf, -1e30f, -3.0f, -1.0f, 0.0f, 0.0f, 0.5f, 1.0f, 2.0f, 2.0f, 7.0f, 1e30f, kInf, kNaN};

TEST(FindKeysProperties, OrderedTracksGiveTheLastKeyNotLaterThanTime) {
  std::mt19937 random(1234);
  std::uniform_int_distribution<size_t> pick(0, std::size(kPool) - 2);  // no NaN in ordered tracks
  std::uniform_int_distribution<int> length(0, 9);
  for (int trial = 0; trial < 2000; ++trial) {
    std::vector<float> times(static_cast<size_t>(length(random)));
    for (float& time : times) time = kPool[pick(random)];
    std::sort(times.begin(), times.end());
    Linear<float> linear;
    for (float time : times) linear.keys.emplace_back(time, 0.0f);
    const float time = kPool[pick(random)];

    // The search as documented, by a plain scan.
    const int n = static_cast<int>(times.size());
    std::pair<int, int> expected(-1, -1);
    if (n > 0 && times[0] >= time) {
      expected = {-1, 0};
    } else if (n > 0 && time >= times[n - 1]) {
      expected = {n - 1, -1};
    } else if (n > 0) {
      int last = 0;
      while (times[last + 1] <= time) ++last;
      expected = {last, last + 1};
    }
    EXPECT_EQ(tstest::around(linear, time), expected) << "trial " << trial;
  }
}

TEST(FindKeysProperties, AnyTrackGivesKeysInRangeAroundTime) {
  std::mt19937 random(99);
  std::uniform_int_distribution<size_t> pick(0, std::size(kPool) - 1);
  std::uniform_int_distribution<int> length(0, 9);
  for (int trial = 0; trial < 2000; ++trial) {
    Linear<float> linear;
    const int n = length(random);
    for (int i = 0; i < n; ++i) linear.keys.emplace_back(kPool[pick(random)], 0.0f);
    const float time = kPool[pick(random)];
    const auto [before, after] = tstest::around(linear, time);
    ASSERT_TRUE(before >= -1 && before < n && after >= -1 && after < n) << "trial " << trial;
    ASSERT_EQ(n == 0, before == -1 && after == -1) << "trial " << trial;
    if (before >= 0 && after >= 0) {
      // What keeps the interpolation's division away from zero.
      EXPECT_LT(before, after) << "trial " << trial;
      EXPECT_GT(linear.keys[after].time, time) << "trial " << trial;
      EXPECT_FALSE(linear.keys[before].time > time) << "trial " << trial;
    }
  }
}

TEST_F(HostileControllers, DamagedBytesNeverCrashOrLeak) {
  const int nodesBefore = tstest::Node::live;
  int loaded = 0;
  for (const Bytes& file : tstest::controllerSampleFiles()) {
    for (size_t at = 0; at < file.size(); ++at) {
      for (uint8_t damage : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
        Bytes damaged = file;
        damaged[at] = damage;
        const Outcome outcome = read(damaged);
        if (auto* controller = dynamic_cast<ts3d::Controller*>(outcome.root.get())) {
          ++loaded;
          controller->isConstant();
          for (float time : {-1.0f, 0.0f, 5.0f, 1e30f, kNaN}) controller->update(time);
        }
      }
    }
  }
  EXPECT_GT(loaded, 0) << "some damage (in values) leaves a readable controller";
  EXPECT_EQ(tstest::Node::live, nodesBefore);
}

}  // namespace
