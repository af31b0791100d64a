#pragma once

#include <string>
#include <vector>

#include "player/host/driver_interface.h"

namespace host {

// Resolves a data parameter's value, the name of a data item, to the item. The host
// passes one as the context word of ParamController::load.
class DataLookup {
 public:
  virtual ~DataLookup() = default;
  virtual DataItem* find(const std::string& name) const = 0;
};

// A parameter that is a constant or a keyed curve over normalised time. Floats are
// interpolated linearly between keys; strings, integers and data items step.
class HostParamController : public ParamController {
 public:
  struct Key {
    float t;
    std::string value;
  };

  explicit HostParamController(int32_t kind);

  void update(float t) override;
  bool isFixed() const override { return keys.size() < 2; }
  std::string& stringValue(std::string& out) const override;
  float floatValue() const override { return number; }
  int32_t intValue() const override { return static_cast<int32_t>(number); }
  DataItem* dataValue() const override { return data; }
  // Reads "value" and child "key" elements with "t" and "value", keys in rising t.
  bool load(TreeElement* element, uintptr_t context) override;

  void setConstant(const std::string& value);
  void setKeys(std::vector<Key> keys);
  void setDataLookup(const DataLookup* lookup_) { lookup = lookup_; }

 private:
  void assign(const std::string& value);

  std::vector<Key> keys;
  std::string text;
  float number = 0.0f;
  DataItem* data = nullptr;
  const DataLookup* lookup = nullptr;
};

// Makes controllers from the library (kind and initial value in the descriptor's
// host fields) or from a saved "controler" element (attribute "kind").
class HostControllerFactory : public ControllerFactory {
 public:
  explicit HostControllerFactory(const DataLookup* lookup_ = nullptr) : lookup(lookup_) {}
  ParamController* create(TreeElement* element) override;
  ParamController* create(const ParamDescriptor& param) override;

 private:
  const DataLookup* lookup;
};

}  // namespace host
