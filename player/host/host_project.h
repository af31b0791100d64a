#pragma once

#include <string>
#include <vector>

#include "player/host/driver_interface.h"
#include "player/host/host_controllers.h"
#include "player/host/project_file.h"
#include "player/host/xml_file.h"

namespace host {

class EffectLibrary;

// The host's project: its data items, made by the driver, and its layers of
// effects, made from the library and given the file's values. Owns both.
class HostProject : public Project, public DataList, public DataLookup {
 public:
  explicit HostProject(DriverKMT& driver_);
  ~HostProject() override;
  HostProject(const HostProject&) = delete;
  HostProject& operator=(const HostProject&) = delete;

  // What a soundtrack file that isn't there means: the project can't be built; the project
  // still names it (for an export: the file may join the animation later); or the project
  // plays without sound. The last two leave a warning.
  enum class MissingSoundtrack { fails, named, silent };

  // Loads the data items and makes the effects. The driver's render window must be
  // open, since items take device resources. False with `error` set, and the
  // project left empty, at the first item or effect that cannot be made.
  bool build(const ProjectFile& file, const EffectLibrary& library, LoadError& error,
             MissingSoundtrack missing = MissingSoundtrack::fails);

  // Warnings of the last build, which went on past them: images the driver cannot decode,
  // a soundtrack missing.
  const std::vector<LoadError>& warnings() const { return notices; }

  // Destroys the effects and data items: before the render window closes.
  void clear();

  // Effects first, in layer order, then data items.
  void visit(ItemVisitor& visitor);

  // One frame at host time `time`: update every effect whose span holds it, then draw
  // them from the top down: each effect above the lowest captures what those below it
  // draw (a filter does, the others ignore it) and renders after them; the lowest
  // clears the frame. A transition asks for its inputs, each drawn the same way, and
  // stands for everything below it. Out of its span a transition's inputs are layers in
  // its place, the first below the second. With nothing shown, the driver's idle frame.
  // The caller presents.
  void drawFrame(float time);

  // The end of the last effect; 0 for an empty project.
  float endTime() const;

  // Project
  void prepare() override;
  void setSoundtrackPath(const std::string& path) override { soundtrack = path; }
  const std::string& soundtrackPath() const override { return soundtrack; }
  DataList* dataItems() override { return this; }
  // The project file's text, naming the soundtrack as it is now and each data item by the
  // path the driver knows it by.
  std::string& text(std::string& out) const override;

  // DataList
  size_t count() const override { return items.size(); }
  DataItem* item(size_t index) const override { return index < items.size() ? items[index] : nullptr; }

  // DataLookup: data parameters name their item.
  DataItem* find(const std::string& name) const override;

  // One effect of the timeline; a transition with its inputs.
  struct Entry;

 private:
  // Makes the layers' effects into `stack`, in layer order; false with `error` set.
  bool addLayers(const std::vector<ProjectFile::Layer>& layers, std::vector<Entry>& stack,
                 const ProjectFile& file, const EffectLibrary& library, LoadError& error);

  DriverKMT& driver;
  HostControllerFactory factory;
  std::string soundtrack;
  std::string projectText;
  ProjectFile::Span soundtrackSpan;          // where the text names the soundtrack
  std::vector<ProjectFile::Span> itemSpans;  // where it names each item's path, parallel to items
  std::vector<std::string> itemNames;  // parallel to items
  std::vector<DataItem*> items;
  std::vector<Entry> timeline;  // the lowest layer's effects first
  std::vector<LoadError> notices;
};

}  // namespace host
