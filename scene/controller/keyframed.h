#pragma once

#include <cstdint>

#include "io/serializable.h"
#include "scene/controller/controller.h"

namespace ts3d::controller {

// One key of a track. Keys aren't chunks: a track stores them inline, without a header.
template <class T>
class Key : public tsio::Serializable {
 public:
  virtual const T* value() const = 0;
  virtual void setValue(const T& newValue) = 0;

  float time = 0.0f;
};

// A controller that interpolates between keys held in ascending order of time. Nothing sorts
// them: the order is the writer's duty.
template <class T>
class KeyFramed : public ControllerBase<T> {
 public:
  virtual uint32_t keyCount() const = 0;
  // No bounds test: index is below keyCount().
  virtual Key<T>* key(uint32_t index) = 0;
  // New keys are blank until they are set.
  virtual void setKeyCount(uint32_t count) = 0;
  // Appends a copy at the end.
  virtual void addKey(const Key<T>& added) = 0;

  // The keys around time, in O(log n) with no cache. Outside the keys' range time stands still:
  // up to the first key's time only after is set (to key 0), from the last key's time on only
  // before (to the last key). Inside, before is the last key at or before time and after the
  // next one, so a time equal to a key's lands on it as before. With no keys both are null.
  // Hostile tracks (keys out of order, NaN times) give keys in range and never loop.
  void findKeys(float time, Key<T>*& before, Key<T>*& after) {
    before = nullptr;
    after = nullptr;
    const uint32_t n = keyCount();
    if (n == 0) return;
    if (key(0)->time >= time) {
      after = key(0);
      return;
    }
    // "Not earlier than the last" rather than ">=", so that NaN ends here too: below, both
    // the last key's time and time are numbers and time is earlier, which also means n >= 2.
    if (!(time < key(n - 1)->time)) {
      before = key(n - 1);
      return;
    }
    // high starts at the last key, known to be later than time, so every index stays in range
    // whatever the order of the keys; on ordered keys the search ends where one from n would.
    // after->time is always later than time and before->time never is: the caller's division
    // by their difference never divides by zero.
    uint32_t low = 0;
    uint32_t high = n - 1;
    while (high - low > 1) {
      const uint32_t middle = low + (high - low) / 2;
      if (key(middle)->time > time)
        high = middle;
      else
        low = middle;
    }
    before = key(low);
    after = key(high);
  }
};

}  // namespace ts3d::controller
