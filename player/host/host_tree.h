#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "player/host/driver_interface.h"

namespace host {

// The host's project tree in memory: a tag, attributes and children.
class HostTreeElement : public TreeElement {
 public:
  explicit HostTreeElement(std::string tag_) : tagName(std::move(tag_)) {}

  const std::string& tag() const override { return tagName; }
  size_t childCount() const override { return children.size(); }
  TreeElement* child(size_t index) const override { return children[index].get(); }
  std::string& attribute(std::string& out, const std::string& key) const override;

  HostTreeElement& set(const std::string& key, const std::string& value);
  HostTreeElement& add(const std::string& tag);
  const std::string* find(const std::string& key) const;

 private:
  std::string tagName;
  std::map<std::string, std::string> attributes;
  std::vector<std::unique_ptr<HostTreeElement>> children;
};

}  // namespace host
