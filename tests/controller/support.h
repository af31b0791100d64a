#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "io/serializable.h"
#include "scene/controller/linear.h"
#include "tests/support/file_builder.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/test_chunks.h"

namespace tstest {

// Bit patterns of the floats that the hand-written layouts use.
constexpr uint32_t kZero = 0x00000000;
constexpr uint32_t kHalf = 0x3F000000;
constexpr uint32_t kOne = 0x3F800000;

// Indices of the keys that findKeys gives for time, -1 for null.
template <class T>
std::pair<int, int> around(ts3d::controller::Linear<T>& linear, float time) {
  ts3d::controller::Key<T>* before = nullptr;
  ts3d::controller::Key<T>* after = nullptr;
  linear.findKeys(time, before, after);
  const auto indexOf = [&linear](ts3d::controller::Key<T>* key) {
    return key ? static_cast<int>(static_cast<ts3d::controller::LinearKey<T>*>(key) - linear.keys.data()) : -1;
  };
  return {indexOf(before), indexOf(after)};
}

// The root read from a file, as a T; null (with a test failure) when the file is refused or the
// root is of another class.
template <class T>
std::unique_ptr<T> loadAs(const Bytes& file) {
  RecordingTracer tracer;
  std::unique_ptr<tsio::Serializable> root(loadFromBytes(file));
  T* typed = dynamic_cast<T*>(root.get());
  EXPECT_NE(typed, nullptr) << "the file was refused or holds another class";
  if (typed) root.release();
  return std::unique_ptr<T>(typed);
}

}  // namespace tstest
