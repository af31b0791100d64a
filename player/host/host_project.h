#pragma once

#include <string>
#include <vector>

#include "player/host/driver_interface.h"
#include "player/host/host_controllers.h"
#include "player/host/xml_file.h"

namespace host {

class EffectLibrary;
struct ProjectFile;

// The host's project: its data items, made by the driver, and its layers of
// effects, made from the library and given the file's values. Owns both.
class HostProject : public Project, public DataList, public DataLookup {
 public:
  explicit HostProject(DriverKMT& driver_) : driver(driver_), factory(this) {}
  ~HostProject() override;
  HostProject(const HostProject&) = delete;
  HostProject& operator=(const HostProject&) = delete;

  // Loads the data items and makes the effects. The driver's render window must be
  // open, since items take device resources. False with `error` set, and the
  // project left empty, at the first item or effect that cannot be made.
  bool build(const ProjectFile& file, const EffectLibrary& library, LoadError& error);

  // Warnings of the last build, which went on past them: images the driver cannot decode.
  const std::vector<LoadError>& warnings() const { return notices; }

  // Destroys the effects and data items: before the render window closes.
  void clear();

  // Effects first, in layer order, then data items.
  void visit(ItemVisitor& visitor);

  // One frame at host time `time`: update every effect whose span holds it, clear
  // with the lowest, render them from the lowest up. With none, the driver's idle
  // frame. The caller presents.
  void drawFrame(float time);

  // The end of the last effect; 0 for an empty project.
  float endTime() const;

  // Project
  void prepare() override;
  void setSoundtrackPath(const std::string& path) override { soundtrack = path; }
  const std::string& soundtrackPath() const override { return soundtrack; }
  DataList* dataItems() override { return this; }
  std::string& text(std::string& out) const override;

  // DataList
  size_t count() const override { return items.size(); }
  DataItem* item(size_t index) const override { return index < items.size() ? items[index] : nullptr; }

  // DataLookup: data parameters name their item.
  DataItem* find(const std::string& name) const override;

 private:
  DriverKMT& driver;
  HostControllerFactory factory;
  std::string soundtrack;
  std::string projectText;
  std::vector<std::string> itemNames;  // parallel to items
  std::vector<DataItem*> items;
  std::vector<std::vector<TimelineItem*>> layers;  // the lowest first
  std::vector<LoadError> notices;
};

}  // namespace host
