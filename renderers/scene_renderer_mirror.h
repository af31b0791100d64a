#pragma once

#include <cstdint>
#include <vector>

#include "renderers/scene_renderer.h"
#include "scene/value_types.h"

namespace ts3d {

class Context;
class Mesh;

// Planar mirrors: the scene is drawn without them, then for each mirror its shape is cut out
// in the stencil buffer, the scene is drawn again reflected about its plane inside that shape
// only, and the mirror is laid over the reflection at the alpha of its material. Mirrors don't
// see each other recursively. It ends the chain: the renderers inside it are not called.
// Body of SRMR (version 1): uint32 count, then that many mesh objects; the scene owns them.
class SceneRendererMirror : public SceneRenderer {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("SRMR");
  static constexpr int32_t kVersion = 1;

  SceneRendererMirror() = default;
  SceneRendererMirror(const SceneRendererMirror&) = delete;
  SceneRendererMirror& operator=(const SceneRendererMirror&) = delete;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;
  void update(float) override {}
  // Needs a stencil buffer that can keep and replace; without one (told once in a run) the
  // mirrors are drawn as ordinary meshes. The frame's clear must have cleared the stencil.
  void render(SceneHierarchy& scene, Camera* camera) override;

  std::vector<Mesh*> mirrors;  // not owned
  Context* context = nullptr;  // for the time of render

  // Shared by all mirror renderers: the device is asked once in a run.
  static bool stencilChecked, stencilUsable;

 private:
  // Stencil 1 where the mirror shows; colours stay, depth is written.
  void mask(size_t index);
  // Colour and depth inside the mask, with the scene's background if it has one.
  void clearInside(SceneHierarchy& scene);
  // The scene reflected about the mirror's plane, inside the mask only.
  void reflect(SceneHierarchy& scene, Camera& camera, Mesh& mirror);
  // The mirror over its reflection, alpha blended.
  void overlay(Camera& camera, Mesh& mirror);
};

}  // namespace ts3d
