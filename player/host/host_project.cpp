#include "player/host/host_project.h"

#include <algorithm>
#include <cstdio>

#include "player/host/driver_interface.h"
#include "player/host/driver_notices.h"
#include "player/host/effect_library.h"
#include "player/host/host_tree.h"
#include "player/host/model_import.h"
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

// A value for a quoted attribute.
std::string escapeXml(const std::string& value) {
  std::string escaped;
  for (char c : value) {
    switch (c) {
      case '&': escaped += "&amp;"; break;
      case '<': escaped += "&lt;"; break;
      case '"': escaped += "&quot;"; break;
      case '\'': escaped += "&apos;"; break;
      default: escaped += c;
    }
  }
  return escaped;
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

struct HostProject::Entry {
  TimelineItem* effect;
  std::vector<std::vector<Entry>> inputs;  // a transition's two, else none
};

namespace {

using Stack = std::vector<HostProject::Entry>;

template <class Visit>
void forEachEffect(const Stack& stack, const Visit& visit) {
  for (const HostProject::Entry& entry : stack) {
    visit(entry.effect);
    for (const Stack& input : entry.inputs) forEachEffect(input, visit);
  }
}

bool holds(TimelineItem* effect, float time) {
  return time >= effect->startTime() && time < effect->startTime() + effect->duration();
}

// What of `stack` shows at `time`, the lowest first: a transition out of its span gives way
// to its inputs' effects.
void collectShown(const Stack& stack, float time, std::vector<const HostProject::Entry*>& shown) {
  for (const HostProject::Entry& entry : stack) {
    if (holds(entry.effect, time))
      shown.push_back(&entry);
    else
      for (const Stack& input : entry.inputs) collectShown(input, time, shown);
  }
}

bool drawStack(const Stack& stack, float time);

// Draws shown[0, end), top first.
void drawShown(const std::vector<const HostProject::Entry*>& shown, size_t end, float time) {
  const HostProject::Entry& top = *shown[end - 1];
  TimelineItem* effect = top.effect;
  if (!top.inputs.empty()) {
    auto* transition = static_cast<TransitionBase*>(effect);
    for (int32_t input = 1; input <= 2; ++input) {
      if (!transition->needsInput(input)) continue;
      transition->beginInput(input);
      drawStack(top.inputs[input - 1], time);
      transition->endCapture();
    }
  } else if (end == 1) {
    effect->clearFrame();
  } else {
    effect->beginCapture();
    drawShown(shown, end - 1, time);
    effect->endCapture();
  }
  effect->render();
}

// False when nothing of the stack shows.
bool drawStack(const Stack& stack, float time) {
  std::vector<const HostProject::Entry*> shown;
  collectShown(stack, time, shown);
  if (shown.empty()) return false;
  drawShown(shown, shown.size(), time);
  return true;
}

}  // namespace

HostProject::HostProject(DriverKMT& driver_) : driver(driver_), factory(this) {}

HostProject::~HostProject() { clear(); }

void HostProject::clear() {
  forEachEffect(timeline, [](TimelineItem* effect) { effect->destroy(); });
  timeline.clear();
  for (DataItem* item : items) delete item;
  items.clear();
  itemNames.clear();
  itemSpans.clear();
  soundtrack.clear();
  soundtrackSpan = {};
  projectText.clear();
  driver.setControllerFactory(nullptr);
}

bool HostProject::build(const ProjectFile& file, const EffectLibrary& library, LoadError& error,
                        MissingSoundtrack missing) {
  clear();
  notices.clear();
  auto fail = [&](int line, const std::string& problem) {
    error = LoadError{file.path, line, problem};
    clear();
    return false;
  };
  soundtrack = file.soundtrack;
  if (!soundtrack.empty() && !fileExists(soundtrack)) {
    const std::string missed = "cannot find the soundtrack '" + soundtrack + "'";
    if (missing == MissingSoundtrack::fails) return fail(file.soundtrackLine, missed);
    const bool silent = missing == MissingSoundtrack::silent;
    const char* outcome = silent ? ": playing without sound" : ": the animation names it all the same";
    notices.push_back(LoadError{file.path, file.soundtrackLine, "warning: " + missed + outcome});
    if (silent) soundtrack.clear();
  }
  // The driver cuts a soundtrack's file name at the last backslash.
  std::replace(soundtrack.begin(), soundtrack.end(), '/', '\\');
  projectText = file.text;
  soundtrackSpan = file.soundtrackSpan;
  for (const ProjectFile::Data& data : file.data) {
    // In an animation the paths name the driver's items, not files.
    if (!file.fromAnimation && !fileExists(data.path))
      return fail(data.line, "cannot find the data file '" + data.path + "'");
    driver_notices::takeDebugOutput();
    DataItem* item = nullptr;
    // An animation holds its models as the scenes they became.
    if (isModelFile(data.path) && !file.fromAnimation) {
      // The driver reads the scene whole while loading it: the file goes right after.
      std::string scene, problem;
      if (!importModel(data.path, scene, problem)) return fail(data.line, problem);
      item = driver.loadData(scene);
      std::remove(scene.c_str());
    } else {
      item = driver.loadData(data.path);
    }
    if (!item)
      return fail(data.line, file.fromAnimation ? "the animation holds no data item '" + data.path + "'"
                                                : whyNotLoaded(data.path));
    // The driver keeps an image it cannot decode, without a picture, and only says so
    // on the debug output.
    if (item->kind() == kTextureItem && !driver_notices::takeDebugOutput().empty())
      notices.push_back(LoadError{file.path, data.line, "warning: cannot decode the image '" + data.path + "'"});
    items.push_back(item);
    itemNames.push_back(data.name);
    itemSpans.push_back(data.pathSpan);
  }
  driver.setControllerFactory(&factory);
  if (addLayers(file.layers, timeline, file, library, error)) return true;
  clear();
  return false;
}

bool HostProject::addLayers(const std::vector<ProjectFile::Layer>& layers, std::vector<Entry>& stack,
                            const ProjectFile& file, const EffectLibrary& library, LoadError& error) {
  for (const ProjectFile::Layer& layer : layers) {
    for (const ProjectFile::Effect& effect : layer.effects) {
      const EffectDescriptor* descriptor = library.find(effect.type);
      TimelineItem* made = descriptor ? driver.createEffect(*descriptor, effect.name) : nullptr;
      if (!made) {
        error = LoadError{file.path, effect.line, "effect '" + effect.type + "' is not available in this driver"};
        return false;
      }
      stack.push_back({made, {}});
      if (made->isTransition() != !effect.inputs.empty()) {
        error = LoadError{file.path, effect.line,
                          "effect '" + effect.type + (made->isTransition() ? "' is a transition: it belongs in a <transition>"
                                                                            : "' is not a transition: it belongs in an <effect>")};
        return false;
      }
      made->setStartTime(effect.start);
      made->setDuration(effect.length);
      if (!effect.params.empty()) {
        HostTreeElement tree("effect");
        describeParams(effect, tree);
        made->load(&tree, reinterpret_cast<uintptr_t>(static_cast<const DataLookup*>(this)));
      }
      for (const std::vector<ProjectFile::Layer>& input : effect.inputs)
        if (!addLayers(input, stack.back().inputs.emplace_back(), file, library, error)) return false;
    }
  }
  return true;
}

void HostProject::visit(ItemVisitor& visitor) {
  forEachEffect(timeline, [&visitor](TimelineItem* effect) { effect->accept(&visitor); });
  for (DataItem* item : items) item->accept(&visitor);
}

void HostProject::drawFrame(float time) {
  forEachEffect(timeline, [time](TimelineItem* effect) {
    if (holds(effect, time)) effect->update(0, time);
  });
  if (!drawStack(timeline, time)) driver.renderWindow()->drawIdleFrame();
}

float HostProject::endTime() const {
  float end = 0.0f;
  forEachEffect(timeline, [&end](TimelineItem* effect) { end = std::max(end, effect->startTime() + effect->duration()); });
  return end;
}

void HostProject::prepare() {
  forEachEffect(timeline, [](TimelineItem* effect) { effect->reset(); });
}

std::string& HostProject::text(std::string& out) const {
  std::vector<std::pair<ProjectFile::Span, std::string>> values;
  if (soundtrackSpan.second > 0) values.emplace_back(soundtrackSpan, soundtrack);
  for (size_t i = 0; i < items.size(); ++i) values.emplace_back(itemSpans[i], items[i]->path());
  // From the end of the text, so that the spans before each change stay where they were.
  std::sort(values.begin(), values.end(), [](const auto& a, const auto& b) { return a.first.first > b.first.first; });
  out = projectText;
  for (const auto& [span, value] : values) out.replace(span.first, span.second, escapeXml(value));
  return out;
}

DataItem* HostProject::find(const std::string& name) const {
  for (size_t i = 0; i < itemNames.size(); ++i)
    if (itemNames[i] == name) return items[i];
  return nullptr;
}

}  // namespace host
