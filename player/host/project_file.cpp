#include "player/host/project_file.h"

#include <cstring>

#include "player/host/driver_interface.h"
#include "player/host/effect_library.h"

namespace host {

namespace {

bool isElement(const XmlNode* node, const char* tag) {
  return node->type() == rapidxml::node_element && std::strcmp(node->name(), tag) == 0;
}

class Reader {
 public:
  Reader(const XmlFile& file_, const EffectLibrary& library_, ProjectFile& project_, LoadError& error_)
      : file(file_), library(library_), project(project_), error(error_) {}

  // Data items and the soundtrack first, so that layers may name data declared below them.
  bool readItems() {
    for (const XmlNode* node = file.root()->first_node(); node; node = node->next_sibling()) {
      if (isElement(node, "soundtrack")) {
        if (!readSoundtrack(node)) return false;
      } else if (isElement(node, "data")) {
        if (!readData(node)) return false;
      } else if (!isElement(node, "layer")) {
        return fail(node, "only <soundtrack>, <data> and <layer> elements belong in <project>");
      }
    }
    return true;
  }

  bool readLayers() {
    for (const XmlNode* node = file.root()->first_node("layer"); node; node = node->next_sibling("layer"))
      if (!readLayer(node, project.layers)) return false;
    return true;
  }

 private:
  bool fail(const XmlNode* node, const std::string& problem) {
    error = file.errorAt(node, problem);
    return false;
  }

  bool readSoundtrack(const XmlNode* node) {
    const char* path = attributeValue(node, "path");
    if (!path || !*path) return fail(node, "a <soundtrack> needs the attribute path");
    if (!project.soundtrack.empty()) return fail(node, "a project has one soundtrack");
    project.soundtrack = resolvePath(project.path, project.fromAnimation ? fileNameOf(path) : path);
    project.soundtrackLine = file.lineOf(node->name());
    project.soundtrackSpan = file.valueSpan(node->first_attribute("path"));
    return true;
  }

  bool readData(const XmlNode* node) {
    const char* name = attributeValue(node, "name");
    const char* path = attributeValue(node, "path");
    if (!name || !*name || !path || !*path) return fail(node, "a <data> needs the attributes name and path");
    if (findData(name)) return fail(node, "data item '" + std::string(name) + "' is declared twice");
    project.data.push_back({name, project.fromAnimation ? path : resolvePath(project.path, path),
                            file.lineOf(node->name()), file.valueSpan(node->first_attribute("path"))});
    return true;
  }

  bool readLayer(const XmlNode* node, std::vector<ProjectFile::Layer>& layers) {
    ProjectFile::Layer layer;
    for (const XmlNode* child = node->first_node(); child; child = child->next_sibling()) {
      const bool transition = isElement(child, "transition");
      if (!transition && !isElement(child, "effect"))
        return fail(child, "only <effect> and <transition> elements belong in <layer>");
      ProjectFile::Effect effect;
      if (!readEffect(child, effect, transition)) return false;
      layer.effects.push_back(std::move(effect));
    }
    layers.push_back(std::move(layer));
    return true;
  }

  // An <effect>, or a <transition>, which also holds its two <input>s of layers.
  bool readEffect(const XmlNode* node, ProjectFile::Effect& effect, bool transition) {
    const char* type = attributeValue(node, "type");
    if (!type || !*type) return fail(node, "an <" + std::string(node->name()) + "> needs the attribute type");
    const EffectDescriptor* descriptor = library.find(type);
    if (!descriptor) return fail(node, "unknown effect '" + std::string(type) + "'");
    const char* name = attributeValue(node, "name");
    effect.type = type;
    effect.name = name ? name : type;
    effect.line = file.lineOf(node->name());
    if (!parseFloat(attributeValue(node, "start"), effect.start))
      return fail(node, "the effect needs a number as its start");
    if (!parseFloat(attributeValue(node, "length"), effect.length) || !(effect.length > 0.0f))
      return fail(node, "the effect needs a length above 0");
    for (const XmlNode* child = node->first_node(); child; child = child->next_sibling()) {
      if (transition && isElement(child, "input")) {
        if (!readInput(child, effect)) return false;
        continue;
      }
      if (!isElement(child, "param"))
        return fail(child, transition ? "only <param> and <input> elements belong in <transition>"
                                      : "only <param> elements belong in <effect>");
      ProjectFile::Param param;
      if (!readParam(child, *descriptor, param)) return false;
      effect.params.push_back(std::move(param));
    }
    if (transition && effect.inputs.size() != 2) return fail(node, "a <transition> needs two <input>s");
    return true;
  }

  bool readInput(const XmlNode* node, ProjectFile::Effect& transition) {
    std::vector<ProjectFile::Layer>& layers = transition.inputs.emplace_back();
    for (const XmlNode* child = node->first_node(); child; child = child->next_sibling()) {
      if (!isElement(child, "layer")) return fail(child, "only <layer> elements belong in <input>");
      if (!readLayer(child, layers)) return false;
    }
    return true;
  }

  bool readParam(const XmlNode* node, const EffectDescriptor& descriptor, ProjectFile::Param& param) {
    const char* name = attributeValue(node, "name");
    if (!name || !*name) return fail(node, "a <param> needs the attribute name");
    const ParamDescriptor* declared = nullptr;
    for (const ParamDescriptor& candidate : descriptor.params) {
      if (candidate.name == name) {
        declared = &candidate;
        break;
      }
    }
    if (!declared) return fail(node, "effect '" + descriptor.name + "' has no parameter '" + name + "'");
    param.name = name;
    param.line = file.lineOf(node->name());
    const char* value = attributeValue(node, "value");
    for (const XmlNode* child = node->first_node(); child; child = child->next_sibling()) {
      if (!isElement(child, "key")) return fail(child, "only <key> elements belong in <param>");
      const char* t = attributeValue(child, "t");
      const char* keyValue = attributeValue(child, "value");
      float time;
      if (!parseFloat(t, time)) return fail(child, "a <key> needs a number as its t");
      if (!keyValue) return fail(child, "a <key> needs a value");
      if (!checkValue(child, *declared, keyValue)) return false;
      param.keys.emplace_back(t, keyValue);
    }
    if (value && !param.keys.empty()) return fail(node, "a parameter has a value or keys, not both");
    if (!value && param.keys.empty()) return fail(node, "parameter '" + param.name + "' needs a value or keys");
    if (value && !checkValue(node, *declared, value)) return false;
    param.value = value ? value : "";
    return true;
  }

  bool checkValue(const XmlNode* node, const ParamDescriptor& declared, const char* value) {
    if (!acceptsValue(declared.kind, value))
      return fail(node, "'" + std::string(value) + "' is not a value of kind " + paramKindName(declared.kind) +
                            " for parameter '" + declared.name + "'");
    if (declared.kind == ParamController::kData && *value && !findData(value))
      return fail(node, "no data item is named '" + std::string(value) + "'");
    return true;
  }

  const ProjectFile::Data* findData(const std::string& name) const {
    for (const ProjectFile::Data& item : project.data)
      if (item.name == name) return &item;
    return nullptr;
  }

  const XmlFile& file;
  const EffectLibrary& library;
  ProjectFile& project;
  LoadError& error;
};

}  // namespace

namespace {

// Reads the project from the XML that `open` gives; on failure nothing is kept.
template <class Open>
bool readProject(ProjectFile& project, const EffectLibrary& library, LoadError& error, const Open& open) {
  XmlFile file;
  Reader reader(file, library, project, error);
  if (open(file) && reader.readItems() && reader.readLayers()) {
    project.text = file.text();
    return true;
  }
  project = ProjectFile();
  return false;
}

}  // namespace

bool ProjectFile::load(const std::string& path_, const EffectLibrary& library, LoadError& error) {
  *this = ProjectFile();
  path = path_;
  return readProject(*this, library, error, [&](XmlFile& file) { return file.load(path, "project", error); });
}

bool ProjectFile::loadFromAnimation(const std::string& animationPath, const std::string& projectText,
                                    const EffectLibrary& library, LoadError& error) {
  *this = ProjectFile();
  path = animationPath;
  fromAnimation = true;
  return readProject(*this, library, error,
                     [&](XmlFile& file) { return file.loadText(path, projectText, "project", error); });
}

std::string resolvePath(const std::string& base, const std::string& path) {
  const bool absolute = (!path.empty() && (path[0] == '\\' || path[0] == '/')) || (path.size() > 1 && path[1] == ':');
  if (absolute) return path;
  const size_t slash = base.find_last_of("\\/");
  return slash == std::string::npos ? path : base.substr(0, slash + 1) + path;
}

std::string fileNameOf(const std::string& path) {
  const size_t slash = path.find_last_of("\\/");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace host
