#include "player/host/host_tree.h"

namespace host {

std::string& HostTreeElement::attribute(std::string& out, const std::string& key) const {
  const std::string* value = find(key);
  out = value ? *value : std::string();
  return out;
}

HostTreeElement& HostTreeElement::set(const std::string& key, const std::string& value) {
  attributes[key] = value;
  return *this;
}

HostTreeElement& HostTreeElement::add(const std::string& tag) {
  children.push_back(std::make_unique<HostTreeElement>(tag));
  return *children.back();
}

const std::string* HostTreeElement::find(const std::string& key) const {
  auto it = attributes.find(key);
  return it == attributes.end() ? nullptr : &it->second;
}

}  // namespace host
