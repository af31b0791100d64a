#include "player/host/host_controllers.h"

#include <algorithm>
#include <cstdlib>

#include "player/host/driver_interface.h"

namespace host {

HostParamController::HostParamController(int32_t kind_) : ParamController(kind_) {}

void HostParamController::assign(const std::string& value) {
  text = value;
  number = static_cast<float>(std::strtod(value.c_str(), nullptr));
  data = (kind == kData && lookup) ? lookup->find(value) : nullptr;
}

void HostParamController::setConstant(const std::string& value) {
  keys.clear();
  assign(value);
}

void HostParamController::setKeys(std::vector<Key> keys_) {
  keys = std::move(keys_);
  std::stable_sort(keys.begin(), keys.end(), [](const Key& a, const Key& b) { return a.t < b.t; });
  if (!keys.empty()) assign(keys.front().value);
}

void HostParamController::update(float t) {
  if (keys.empty()) return;
  size_t next = 0;
  while (next < keys.size() && keys[next].t <= t) ++next;
  if (next == 0 || next == keys.size()) {
    assign(keys[next == 0 ? 0 : keys.size() - 1].value);
    return;
  }
  const Key& a = keys[next - 1];
  const Key& b = keys[next];
  assign(a.value);
  if (kind == kFloat) {
    const float va = number;
    const float vb = static_cast<float>(std::strtod(b.value.c_str(), nullptr));
    number = va + (vb - va) * (t - a.t) / (b.t - a.t);
  }
}

std::string& HostParamController::stringValue(std::string& out) const {
  out = text;
  return out;
}

bool HostParamController::load(TreeElement* element, uintptr_t context) {
  if (context) lookup = reinterpret_cast<const DataLookup*>(context);
  std::string value;
  std::vector<Key> loaded;
  for (size_t i = 0; i < element->childCount(); ++i) {
    TreeElement* child = element->child(i);
    if (child->tag() != "key") continue;
    std::string t;
    child->attribute(t, "t");
    child->attribute(value, "value");
    loaded.push_back({static_cast<float>(std::strtod(t.c_str(), nullptr)), value});
  }
  if (!loaded.empty()) {
    setKeys(std::move(loaded));
  } else {
    setConstant(element->attribute(value, "value"));
  }
  return true;
}

ParamController* HostControllerFactory::create(TreeElement* element) {
  std::string kind;
  element->attribute(kind, "kind");
  auto* controller = new HostParamController(static_cast<int32_t>(std::strtol(kind.c_str(), nullptr, 10)));
  controller->setDataLookup(lookup);
  return controller;
}

ParamController* HostControllerFactory::create(const ParamDescriptor& param) {
  auto* controller = new HostParamController(static_cast<int32_t>(param.kind));
  controller->setDataLookup(lookup);
  controller->setConstant(param.initialValue);
  return controller;
}

}  // namespace host
