#include "player/host/host_project.h"

#include <algorithm>
#include <cstdio>

#include "player/host/driver_interface.h"
#include "player/host/driver_notices.h"
#include "player/host/effect_library.h"
#include "player/host/host_tree.h"
#include "player/host/project_file.h"

namespace host {

namespace {

bool fileExists(const std::string& path) {
  FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return false;
  std::fclose(file);
  return true;
}

// The saved form the effect restores its values from: one "controler" per
// parameter, with a constant or keys.
void describeParams(const ProjectFile::Effect& effect, HostTreeElement& tree) {
  for (const ProjectFile::Param& param : effect.params) {
    HostTreeElement& controller = tree.add("controler").set("name", param.name);
    if (param.keys.empty()) controller.set("value", param.value);
    for (const auto& key : param.keys) controller.add("key").set("t", key.first).set("value", key.second);
  }
}

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The driver gives null without a word; what we can tell from the file, we tell.
std::string whyNotLoaded(const std::string& path) {
  if (endsWith(path, ".ts2")) {
    char magic[4] = {};
    FILE* file = std::fopen(path.c_str(), "rb");
    const size_t got = file ? std::fread(magic, 1, sizeof magic, file) : 0;
    if (file) std::fclose(file);
    const std::string start(magic, got);
    if (start != "NONE" && start != "IOBZ")
      return "the scene file '" + path + "' begins with neither \"NONE\" nor \"IOBZ\"";
  }
  return "the driver cannot load the data file '" + path + "'";
}

}  // namespace

HostProject::~HostProject() { clear(); }

void HostProject::clear() {
  for (auto& layer : layers)
    for (TimelineItem* effect : layer) effect->destroy();
  layers.clear();
  for (DataItem* item : items) delete item;
  items.clear();
  itemNames.clear();
  soundtrack.clear();
  projectText.clear();
  driver.setControllerFactory(nullptr);
}

bool HostProject::build(const ProjectFile& file, const EffectLibrary& library, LoadError& error) {
  clear();
  notices.clear();
  auto fail = [&](int line, const std::string& problem) {
    error = LoadError{file.path, line, problem};
    clear();
    return false;
  };
  if (!file.soundtrack.empty() && !fileExists(file.soundtrack))
    return fail(file.soundtrackLine, "cannot find the soundtrack '" + file.soundtrack + "'");
  soundtrack = file.soundtrack;
  projectText = file.text;
  for (const ProjectFile::Data& data : file.data) {
    if (!fileExists(data.path)) return fail(data.line, "cannot find the data file '" + data.path + "'");
    driver_notices::takeDebugOutput();
    DataItem* item = driver.loadData(data.path);
    if (!item) return fail(data.line, whyNotLoaded(data.path));
    // The driver keeps an image it cannot decode, without a picture, and only says so
    // on the debug output.
    if (item->kind() == kTextureItem && !driver_notices::takeDebugOutput().empty())
      notices.push_back(LoadError{file.path, data.line, "warning: cannot decode the image '" + data.path + "'"});
    items.push_back(item);
    itemNames.push_back(data.name);
  }
  driver.setControllerFactory(&factory);
  for (const ProjectFile::Layer& layer : file.layers) {
    layers.emplace_back();
    for (const ProjectFile::Effect& effect : layer.effects) {
      const EffectDescriptor* descriptor = library.find(effect.type);
      TimelineItem* made = descriptor ? driver.createEffect(*descriptor, effect.name) : nullptr;
      if (!made) return fail(effect.line, "effect '" + effect.type + "' is not available in this driver");
      layers.back().push_back(made);
      made->setStartTime(effect.start);
      made->setDuration(effect.length);
      if (effect.params.empty()) continue;
      HostTreeElement tree("effect");
      describeParams(effect, tree);
      made->load(&tree, reinterpret_cast<uintptr_t>(static_cast<const DataLookup*>(this)));
    }
  }
  return true;
}

void HostProject::visit(ItemVisitor& visitor) {
  for (auto& layer : layers)
    for (TimelineItem* effect : layer) effect->accept(&visitor);
  for (DataItem* item : items) item->accept(&visitor);
}

void HostProject::drawFrame(float time) {
  std::vector<TimelineItem*> shown;
  for (auto& layer : layers)
    for (TimelineItem* effect : layer)
      if (time >= effect->startTime() && time < effect->startTime() + effect->duration()) shown.push_back(effect);
  if (shown.empty()) {
    driver.renderWindow()->drawIdleFrame();
    return;
  }
  for (TimelineItem* effect : shown) effect->update(0, time);
  shown.front()->clearFrame();
  for (TimelineItem* effect : shown) effect->render();
}

float HostProject::endTime() const {
  float end = 0.0f;
  for (const auto& layer : layers)
    for (const TimelineItem* effect : layer) end = std::max(end, effect->startTime() + effect->duration());
  return end;
}

void HostProject::prepare() {
  for (auto& layer : layers)
    for (TimelineItem* effect : layer) effect->reset();
}

std::string& HostProject::text(std::string& out) const {
  out = projectText;
  return out;
}

DataItem* HostProject::find(const std::string& name) const {
  for (size_t i = 0; i < itemNames.size(); ++i)
    if (itemNames[i] == name) return items[i];
  return nullptr;
}

}  // namespace host
