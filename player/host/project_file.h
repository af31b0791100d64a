#pragma once

#include <string>
#include <utility>
#include <vector>

#include "player/host/xml_file.h"

namespace host {

class EffectLibrary;

// A project file as read and checked against the effect library; every entry
// keeps its line for the messages of the later steps.
struct ProjectFile {
  struct Data {
    std::string name;
    std::string path;  // resolved against the project's folder
    int line = 0;
  };
  struct Param {
    std::string name;
    std::string value;                                // a constant, when keys is empty
    std::vector<std::pair<std::string, std::string>>  // t, value
        keys;
    int line = 0;
  };
  struct Effect;
  struct Layer {
    std::vector<Effect> effects;
  };
  struct Effect {
    std::string type;
    std::string name;
    float start = 0.0f;
    float length = 0.0f;
    std::vector<Param> params;
    // A transition's two inputs, each its layers, the lowest first; none for an effect.
    std::vector<std::vector<Layer>> inputs;
    int line = 0;
  };

  // False with `error` set at the first problem; nothing is kept then.
  bool load(const std::string& path, const EffectLibrary& library, LoadError& error);

  std::string path;
  std::string text;
  std::string soundtrack;  // empty: none
  int soundtrackLine = 0;
  std::vector<Data> data;
  std::vector<Layer> layers;  // the lowest first
};

// `path` as seen from the folder of `base`, unless it is absolute.
std::string resolvePath(const std::string& base, const std::string& path);

}  // namespace host
