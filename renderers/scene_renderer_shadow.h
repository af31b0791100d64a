#pragma once

#include <cstdint>
#include <vector>

#include "materials/render_state_block.h"
#include "renderers/scene_renderer.h"

namespace ts3d {

class Context;
class Mesh;

// Stencil shadows from the scene's shadowLight. The scene is drawn lit; then the shadow volumes
// of the light's shadow meshes count into the stencil buffer (depth pass: walls in front of
// what is drawn, front ones one way, back ones the other); then one quad darkens every pixel
// whose count isn't 0. It draws the contents itself, so it ends the chain below it: it belongs
// innermost. Everything it needs comes from the scene, so the chunk (SRSW, version 1) has an
// empty body. The stencil buffer must hold 0 at the start: the frame's clear sees to that.
class SceneRendererShadow : public SceneRenderer {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("SRSW");
  static constexpr int32_t kVersion = 1;
  static constexpr D3DCOLOR kShade = 0xb2000000;  // black at alpha 178: 70% over the scene

  SceneRendererShadow() = default;

  bool load(tsio::InStream& in) override { return in.acceptsVersion(kVersion, kVersion); }
  void store(tsio::OutStream& out) override { out.beginChunk(kCode, kVersion); }
  void update(float) override {}
  // The two state blocks and whether the device counts both faces in one pass.
  void createResources() override;
  // Needs a Context.
  void render(SceneHierarchy& scene, Camera* camera) override;

  Context* context = nullptr;
  RenderStateBlock volumeStates{RenderStateBlock::AllGroups};
  RenderStateBlock screenStates{RenderStateBlock::AllGroups};
  bool twoSided = false;

 private:
  void drawVolumes(const std::vector<Mesh*>& casters);
  // The shade over the current target's viewport where the stencil count isn't 0.
  void darken();
};

}  // namespace ts3d
