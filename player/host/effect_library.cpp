#include "player/host/effect_library.h"

#include <cstring>

#include "player/host/driver_interface.h"

namespace host {

namespace {

const char* const kKindNames[] = {"string", "float", "integer", "integer-at-reset", "data"};
constexpr uint32_t kKindCount = sizeof kKindNames / sizeof *kKindNames;

bool readParam(const XmlFile& file, const XmlNode* node, EffectDescriptor& effect, LoadError& error) {
  const char* name = attributeValue(node, "name");
  const char* kind = attributeValue(node, "kind");
  const char* value = attributeValue(node, "value");
  if (!name || !*name || !kind) {
    error = file.errorAt(node, "a <param> needs the attributes name and kind");
    return false;
  }
  const int kindIndex = paramKindFromName(kind);
  if (kindIndex < 0) {
    error = file.errorAt(node, std::string("unknown parameter kind '") + kind + "'");
    return false;
  }
  for (const ParamDescriptor& other : effect.params) {
    if (other.name == name) {
      error = file.errorAt(node, "parameter '" + std::string(name) + "' of '" + effect.name + "' is listed twice");
      return false;
    }
  }
  ParamDescriptor param;
  param.kind = static_cast<uint32_t>(kindIndex);
  param.name = name;
  param.initialValue = value ? value : "";
  if (value && !acceptsValue(param.kind, value)) {
    error = file.errorAt(node, "'" + param.initialValue + "' is not a value of kind " + kind);
    return false;
  }
  effect.params.push_back(param);
  return true;
}

}  // namespace

const char* paramKindName(uint32_t kind) { return kind < kKindCount ? kKindNames[kind] : "unknown"; }

int paramKindFromName(const std::string& name) {
  for (uint32_t i = 0; i < kKindCount; ++i)
    if (name == kKindNames[i]) return static_cast<int>(i);
  return -1;
}

bool acceptsValue(uint32_t kind, const char* value) {
  float number;
  int integer;
  switch (kind) {
    case ParamController::kFloat:
      return parseFloat(value, number);
    case ParamController::kInteger:
    case ParamController::kIntegerAtReset:
      return parseInt(value, integer);
    default:
      return true;
  }
}

bool EffectLibrary::load(const std::string& path, LoadError& error) {
  list.clear();
  if (read(path, error)) return true;
  list.clear();
  return false;
}

bool EffectLibrary::read(const std::string& path, LoadError& error) {
  XmlFile file;
  if (!file.load(path, "library", error)) return false;
  for (const XmlNode* node = file.root()->first_node(); node; node = node->next_sibling()) {
    if (node->type() != rapidxml::node_element || std::strcmp(node->name(), "effect") != 0) {
      error = file.errorAt(node, "only <effect> elements belong in <library>");
      return false;
    }
    const char* name = attributeValue(node, "name");
    if (!name || !*name) {
      error = file.errorAt(node, "an <effect> needs the attribute name");
      return false;
    }
    if (find(name)) {
      error = file.errorAt(node, "effect '" + std::string(name) + "' is listed twice");
      return false;
    }
    EffectDescriptor effect;
    effect.name = name;
    const char* label = attributeValue(node, "label");
    effect.label = label ? label : "";
    for (const XmlNode* child = node->first_node(); child; child = child->next_sibling()) {
      if (child->type() != rapidxml::node_element || std::strcmp(child->name(), "param") != 0) {
        error = file.errorAt(child, "only <param> elements belong in <effect>");
        return false;
      }
      if (!readParam(file, child, effect, error)) return false;
    }
    list.push_back(std::move(effect));
  }
  return true;
}

const EffectDescriptor* EffectLibrary::find(const std::string& name) const {
  for (const EffectDescriptor& effect : list)
    if (effect.name == name) return &effect;
  return nullptr;
}

}  // namespace host
