#pragma once

#include <cstdint>
#include <string>

#include "effects/timeline_base.h"

class ItemVisitor;

// The host's view of an effect: an item it can visit, place on its timeline and
// walk through a frame. The order of these operations is the host's interface.
class TimelineItem {
 public:
  virtual void accept(ItemVisitor* visitor);
  virtual ~TimelineItem() = default;
  virtual bool isTransition() const { return false; }
  // Two tests whose meaning lies with the host; false for every effect here.
  virtual bool hostTestA() const { return false; }
  virtual bool hostTestB() const { return false; }

  virtual float startTime() const = 0;
  virtual void setStartTime(float value) = 0;
  virtual float duration() const = 0;
  virtual void setDuration(float value) = 0;
  virtual float progress(bool* active) const = 0;
  virtual void reset() = 0;
  virtual void beginCapture() {}
  virtual void endCapture() {}
  virtual void update(uint32_t word, float time) = 0;
  virtual void open() {}
  virtual void close() {}
  virtual void clearFrame() = 0;
  virtual void render() {}
  virtual uint32_t controllerCount() const = 0;
  virtual ParamController* controller(uint32_t index) const = 0;
  virtual std::string& name() = 0;
  virtual void setName(const std::string& value) = 0;
  virtual EffectDescriptor& description() = 0;
  virtual void destroy() = 0;
  virtual bool load(TreeElement* element, uintptr_t context) = 0;
  virtual bool loadWithFactory(TreeElement* element, uintptr_t context, ControllerFactory* factory) = 0;
};

// Joins the host's item with the parameterised span of time: every shared
// operation reaches the timeline's code from either side.
class EffectBase : public TimelineItem, public TimelineBase {
 public:
  EffectBase() = default;
  EffectBase(const EffectDescriptor& descriptor_, const std::string& instanceName_, ControllerFactory* factory)
      : TimelineBase(descriptor_, instanceName_, factory) {}

  float startTime() const override { return TimelineBase::startTime(); }
  void setStartTime(float value) override { TimelineBase::setStartTime(value); }
  float duration() const override { return TimelineBase::duration(); }
  void setDuration(float value) override { TimelineBase::setDuration(value); }
  float progress(bool* active) const override { return TimelineBase::progress(active); }
  void reset() override { TimelineBase::reset(); }
  void update(uint32_t word, float time) override { TimelineBase::update(word, time); }
  void clearFrame() override { TimelineBase::clearFrame(); }
  uint32_t controllerCount() const override { return TimelineBase::controllerCount(); }
  ParamController* controller(uint32_t index) const override { return TimelineBase::controller(index); }
  std::string& name() override { return TimelineBase::name(); }
  void setName(const std::string& value) override { TimelineBase::setName(value); }
  EffectDescriptor& description() override { return TimelineBase::description(); }
  void destroy() override { delete this; }
  bool load(TreeElement* element, uintptr_t context) override { return TimelineBase::load(element, context); }
  bool loadWithFactory(TreeElement* element, uintptr_t context, ControllerFactory* factory) override {
    return TimelineBase::loadWithFactory(element, context, factory);
  }
};

// An effect that joins two inputs, 1 before and 2 after, by its one parameter, the
// progress from 0 to 1; the host asks which inputs it draws. Unless a transition says
// otherwise, only the input that dominates is drawn, straight to the target: a cut at 0.5.
class TransitionBase : public EffectBase {
 public:
  using EffectBase::EffectBase;
  bool isTransition() const override { return true; }
  virtual bool needsInput(int32_t input) { return input == activeInput(); }
  virtual void beginInput(int32_t) {}
  virtual int32_t activeInput() const { return progressValue < 0.5f ? 1 : 2; }

  void setFloat(uint32_t index, float value) override {
    if (index == 0) progressValue = value;
  }

  // The parameter; not progress(), the share of the span that has passed.
  float progressValue = 0.0f;
};
