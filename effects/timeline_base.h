#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "driver/host/effect_descriptor.h"

class ControllerFactory;
class DataItem;
class ParamController;
class TreeElement;

// A span of the host's timeline with animated parameters. The host's parameter
// objects are bound by position; each frame they are evaluated once and their
// values reach the effect through the four setters.
class TimelineBase {
 public:
  TimelineBase();
  TimelineBase(const EffectDescriptor& descriptor, const std::string& instanceName,
               ControllerFactory* factory);
  virtual ~TimelineBase();
  TimelineBase(const TimelineBase&) = delete;
  TimelineBase& operator=(const TimelineBase&) = delete;

  virtual void reset();
  virtual void applyParameters();
  virtual void update(uint32_t word, float time);
  virtual void clearFrame();
  virtual uint32_t controllerCount() const;
  virtual ParamController* controller(uint32_t index) const;
  virtual std::string& name();
  virtual void setName(const std::string& value);
  virtual EffectDescriptor& description();
  virtual void setFloat(uint32_t index, float value);
  virtual void setInt(uint32_t index, int32_t value);
  virtual void setString(uint32_t index, const std::string& value);
  virtual void setData(uint32_t index, DataItem* item);
  virtual void destroy();
  virtual bool load(TreeElement* element, uintptr_t context);
  virtual bool loadWithFactory(TreeElement* element, uintptr_t context, ControllerFactory* factory);
  virtual float startTime() const;
  virtual void setStartTime(float value);
  virtual float duration() const;
  virtual void setDuration(float value);
  virtual float progress(bool* active) const;

 protected:
  EffectDescriptor descriptor;
  std::string instanceName;
  std::vector<ParamController*> controllers;
  float start = 0.0f;
  float length = 0.0f;
  float currentTime = 0.0f;

 private:
  void deliver(uint32_t index, ParamController* controller);
};
