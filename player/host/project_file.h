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
  // Where a value stands in `text`, as written.
  using Span = std::pair<size_t, size_t>;  // start, length

  struct Data {
    std::string name;
    std::string path;  // resolved against the project's folder, or as written in an animation
    int line = 0;
    Span pathSpan;
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
  // The project inside an exported animation at `animationPath`, as the driver gave its text:
  // the data paths are the names the animation keeps its items by, and the soundtrack is the
  // file of that name beside the animation.
  bool loadFromAnimation(const std::string& animationPath, const std::string& projectText, const EffectLibrary& library,
                         LoadError& error);

  std::string path;
  std::string text;
  std::string soundtrack;  // empty: none
  int soundtrackLine = 0;
  Span soundtrackSpan;
  bool fromAnimation = false;
  std::vector<Data> data;
  std::vector<Layer> layers;  // the lowest first
};

// `path` as seen from the folder of `base`, unless it is absolute.
std::string resolvePath(const std::string& base, const std::string& path);

// What follows the last slash or backslash of `path`.
std::string fileNameOf(const std::string& path);

}  // namespace host
