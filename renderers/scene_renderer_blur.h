#pragma once

#include <cstdint>
#include <memory>

#include "renderers/scene_renderer_multirender.h"
#include "scene/controller/controller.h"

namespace ts3d {

class MaterialFX;

// Bloom: the scene drawn small, then blurred by four-tap passes at a growing radius that go
// back and forth between two surfaces, and stretched over the target. The radius comes from
// the effect that owns the renderer, so the chunk (SRBL, version 1) has an empty body.
class SceneRendererBlur : public SceneRendererMultirender {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("SRBL");
  static constexpr int32_t kVersion = 1;
  static constexpr uint32_t kEffectResource = 102;
  static constexpr uint32_t kDefaultIterations = 4;

  SceneRendererBlur();
  ~SceneRendererBlur() override;
  SceneRendererBlur(const SceneRendererBlur&) = delete;
  SceneRendererBlur& operator=(const SceneRendererBlur&) = delete;

  bool load(tsio::InStream& in) override { return in.chunkVersion() == kVersion; }
  void store(tsio::OutStream& out) override { out.beginChunk(kCode, kVersion); }
  // The owner steps the radius.
  void update(float) override {}
  // The surfaces once; a later call only compiles the effect again.
  void createResources() override;
  // Without a ready effect or a radius, the plain scene.
  void render(SceneHierarchy& drawn, Camera* view) override;

  uint32_t iterations = kDefaultIterations;
  controller::ControllerBase<float>* radiusController = nullptr;  // not owned
  Context* context = nullptr;
  bool ready = false;
  SceneHierarchy* scene = nullptr;  // those of the current render
  Camera* camera = nullptr;
  std::unique_ptr<MaterialFX> effect;
  std::unique_ptr<RenderSurface> surfaceA, surfaceB;
  D3DVIEWPORT9 fullViewportA{}, fullViewportB{}, imageViewportA{}, imageViewportB{};

 private:
  bool setUp();
  // One blur pass from source's image viewport into the current target, taps radius texels out.
  void blurPass(const RenderSurface& source, const D3DVIEWPORT9& image, float radius);
};

}  // namespace ts3d
