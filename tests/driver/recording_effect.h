#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "driver/host/param_controller.h"
#include "effects/timeline_item.h"

namespace tstest {

// An effect that keeps every value its setters receive, in order.
class RecordingEffect : public EffectBase {
 public:
  struct Delivery {
    char setter;  // 'f', 'i', 's', 'd'
    uint32_t index;
    std::string value;
  };

  using EffectBase::EffectBase;

  void setFloat(uint32_t index, float value) override { deliveries.push_back({'f', index, std::to_string(value)}); }
  void setInt(uint32_t index, int32_t value) override { deliveries.push_back({'i', index, std::to_string(value)}); }
  void setString(uint32_t index, const std::string& value) override { deliveries.push_back({'s', index, value}); }
  void setData(uint32_t index, DataItem* item) override {
    deliveries.push_back({'d', index, item ? "item" : "null"});
  }

  float time() const { return currentTime; }
  std::vector<Delivery> deliveries;
};

// A controller that remembers the t it was evaluated at and gives it back as its value.
class ProbeController : public ParamController {
 public:
  explicit ProbeController(int32_t kind_, bool fixed_ = false) : ParamController(kind_), fixed(fixed_) {}
  void update(float t) override {
    lastT = t;
    ++updates;
  }
  bool isFixed() const override { return fixed; }
  std::string& stringValue(std::string& out) const override { return out = "t=" + std::to_string(lastT); }
  float floatValue() const override { return lastT; }
  int32_t intValue() const override { return static_cast<int32_t>(std::lround(lastT * 100)); }
  DataItem* dataValue() const override { return nullptr; }
  bool load(TreeElement*, uintptr_t) override { return true; }

  bool fixed;
  float lastT = 0.0f;
  int updates = 0;
};

}  // namespace tstest
