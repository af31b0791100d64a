#pragma once

#include <cstddef>
#include <string>

// A node of the host's project tree, through which saved effects restore their values.
class TreeElement {
 public:
  virtual ~TreeElement() = default;
  virtual const std::string& tag() const = 0;
  virtual size_t childCount() const = 0;
  virtual TreeElement* child(size_t index) const = 0;
  // Gives `out`, filled with the attribute's value, or emptied when there is none.
  virtual std::string& attribute(std::string& out, const std::string& key) const = 0;
};
