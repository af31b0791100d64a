#pragma once

#include <cstdint>
#include <string>

class DataItem;
class TreeElement;
struct ParamDescriptor;

// The host's animated value of one effect parameter. The driver evaluates it at a
// normalised time and reads the value that fits its kind.
class ParamController {
 public:
  enum Kind : int32_t {
    kString = 0,
    kFloat = 1,
    kInteger = 2,
    kIntegerAtReset = 3,  // read only when the effect resets, never during playback
    kData = 4,
  };

  explicit ParamController(int32_t kind_) : kind(kind_) {}
  virtual ~ParamController() = default;
  ParamController(const ParamController&) = delete;
  ParamController& operator=(const ParamController&) = delete;

  virtual void update(float t) = 0;
  virtual bool isFixed() const = 0;
  virtual std::string& stringValue(std::string& out) const = 0;
  virtual float floatValue() const = 0;
  virtual int32_t intValue() const = 0;
  virtual DataItem* dataValue() const = 0;
  virtual bool load(TreeElement* element, uintptr_t context) = 0;

  int32_t kind;
};

// Makes the host's parameter objects, from a saved tree or from a library entry.
class ControllerFactory {
 public:
  virtual ~ControllerFactory() = default;
  virtual ParamController* create(TreeElement* element) = 0;
  virtual ParamController* create(const ParamDescriptor& param) = 0;
};
