#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "driver/data_item.h"
#include "driver/host/project.h"

namespace tstest {

// A project of the data items it is given, the driver's own, whose text is made from the
// soundtrack's path as it stands when the text is asked for.
class ListProject : public Project, public DataList {
 public:
  void prepare() override {}
  void setSoundtrackPath(const std::string& path) override { soundtrack = path; }
  const std::string& soundtrackPath() const override { return soundtrack; }
  DataList* dataItems() override { return this; }
  std::string& text(std::string& out) const override { return out = textOf(soundtrack); }
  size_t count() const override { return items.size(); }
  DataItem* item(size_t index) const override { return items[index].get(); }

  std::string soundtrack;
  std::vector<std::unique_ptr<DataItem>> items;
  std::function<std::string(const std::string& soundtrack)> textOf = [](const std::string&) { return std::string(); };
};

}  // namespace tstest
