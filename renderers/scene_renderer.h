#pragma once

#include "io/serializable.h"
#include "scene/controller/animatable.h"

namespace ts3d {

class Camera;
class SceneHierarchy;

// Wraps the drawing of a scene. The scene calls the last renderer of its list first; render
// sets up what it needs and calls scene.render() as often as it has passes, which reaches the
// next renderer inward and at last the scene's contents. Each renderer applies the camera
// and clears by itself. Serializable comes first here, unlike meshes and materials.
class SceneRenderer : public tsio::Serializable, public Animatable {
 public:
  virtual void createResources() {}
  virtual void render(SceneHierarchy& scene, Camera* camera) = 0;
  ~SceneRenderer() override = default;
};

}  // namespace ts3d
