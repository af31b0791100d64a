#pragma once

// An imported model made into the engine's scene through the scene builder: Windows, as the
// engine's classes hold device objects.

#include <cstdint>
#include <string>

#include "scenebuild/import/model.h"
#include "scenebuild/scene_builder.h"

namespace tsimport {

// What went into the scene, counted as made.
struct SceneSummary {
  uint32_t nodes = 0, meshes = 0, triangles = 0, materials = 0, textures = 0, cameras = 0, lights = 0,
           animatedNodes = 0, skins = 0;
  float animationSeconds = 0.0f;  // the last key's time of any animated node

  // "12 nodes, 3 meshes, ..." in one line.
  std::string line() const;
};

SceneSummary buildScene(const Model& model, scenebuild::SceneBuilder& builder);

}  // namespace tsimport
