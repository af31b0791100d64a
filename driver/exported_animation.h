#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "io/serializable.h"

namespace ts3d {
class SceneHierarchy;
class Texture;
}  // namespace ts3d

// A finished project as one file: its text, and every scene and image it uses, the images
// embedded. The maps don't own their values: on export they stay the project's; after a load
// the animation keeps every object of its file, and the data items made from it only show them.
// Body of stfx (version 1, any version read alike): projectText; int32 count of textures, then
// each as its key and an object; int32 count of scenes, then each the same way. Textures come
// first, so that a scene's stages refer to textures written in full before it.
class ExportedAnimation : public tsio::Serializable {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("stfx");
  static constexpr int32_t kVersion = 1;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;
  // Nothing in the file has an owner of its own: the scenes, textures and what they point at
  // go with the animation.
  void keepUnowned(std::vector<tsio::Serializable*>& objects) override;

  std::map<std::string, ts3d::SceneHierarchy*> scenes;  // by the data item's path
  std::map<std::string, ts3d::Texture*> textures;       // by image path, or a number as text
  std::string projectText;

 private:
  std::vector<std::unique_ptr<tsio::Serializable>> kept;
};
