#pragma once

#include <cstddef>
#include <string>

class DataItem;
class TimelineItem;

class DataList {
 public:
  virtual ~DataList() = default;
  virtual size_t count() const = 0;
  virtual DataItem* item(size_t index) const = 0;
};

// The host's whole production, as the animation export sees it.
class Project {
 public:
  virtual ~Project() = default;
  virtual void prepare() = 0;
  virtual void setSoundtrackPath(const std::string& path) = 0;
  virtual const std::string& soundtrackPath() const = 0;
  virtual DataList* dataItems() = 0;
  virtual std::string& text(std::string& out) const = 0;
};

class ItemVisitor {
 public:
  virtual ~ItemVisitor() = default;
  virtual void visitEffect(TimelineItem* item) = 0;
  virtual void visitData(DataItem* item) = 0;
};
