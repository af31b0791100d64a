#pragma once

#include <cstdint>
#include <memory>

#include "renderers/scene_renderer_multirender.h"
#include "scene/controller/controller.h"

namespace ts3d {

class MaterialFX;
class Texture;

// Colour grading: the scene drawn to a surface, then each of red, green and blue remapped
// through its own curve, read from a row of the lookup image. The lookup and the two values
// come from the effect that owns the renderer, so the chunk (SRCH, version 1) has an empty body.
class SceneRendererChannels : public SceneRendererMultirender {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("SRCH");
  static constexpr int32_t kVersion = 1;
  static constexpr uint32_t kEffectResource = 103;

  SceneRendererChannels();
  ~SceneRendererChannels() override;
  SceneRendererChannels(const SceneRendererChannels&) = delete;
  SceneRendererChannels& operator=(const SceneRendererChannels&) = delete;

  bool load(tsio::InStream& in) override { return in.chunkVersion() == kVersion; }
  void store(tsio::OutStream& out) override { out.beginChunk(kCode, kVersion); }
  // The owner steps the controllers.
  void update(float) override {}
  // The surfaces once; a later call only compiles the effect again.
  void createResources() override;
  // Without a ready effect, a lookup or both controllers, the plain scene.
  void render(SceneHierarchy& drawn, Camera* view) override;
  // Follows the effect's current technique: after set-up the first that the device
  // validates; another one that it validates may be chosen on the effect before.
  void followTechnique();

  Texture* lookupTexture = nullptr;                               // not owned
  controller::ControllerBase<float>* offsetController = nullptr;  // not owned
  controller::ControllerBase<float>* rowController = nullptr;     // not owned
  Context* context = nullptr;
  bool ready = false;
  SceneHierarchy* scene = nullptr;  // those of the current render
  Camera* camera = nullptr;
  std::unique_ptr<MaterialFX> effect;
  std::unique_ptr<RenderSurface> sceneSurface;
  D3DVIEWPORT9 sceneViewport{};
  bool usesFilter13 = false;
  bool usesFilterNops = false;
  std::unique_ptr<RenderSurface> gradientSurface;  // only for filter1_3
  D3DVIEWPORT9 gradientViewport{};

 private:
  bool setUp();
  // Bakes the curves into gradientSurface as the two-channel table that filter1_3 reads.
  void drawGradient();
  // The final pass's parameters for the technique in use.
  void setFilterParameters();
};

}  // namespace ts3d
