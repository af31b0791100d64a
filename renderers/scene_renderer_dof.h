#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>
#include <map>
#include <memory>

#include "context/render_surface.h"
#include "platform/com_ptr.h"
#include "renderers/scene_renderer_multirender.h"
#include "scene/controller/controller.h"

namespace ts3d {

class Context;
class MaterialFX;
class ModifierStack;

// The focus of one camera; either controller may be null. Not owned.
struct CameraFocus {
  controller::ControllerBase<float>* focusScaleController = nullptr;
  controller::ControllerBase<float>* focusDistanceController = nullptr;
};

// A lens for the cameras it lists: the scene is drawn once, its depth becomes a blur amount in
// the alpha of the same picture, two blurred copies are made at low resolution, and the merge
// into the target it found mixes the three by that alpha. Other cameras draw plainly.
// Body of SRDF (version 1): int32 count, then per camera the objects camera, focus scale and
// focus distance; the file's owner keeps what they point at.
class SceneRendererDOF : public SceneRendererMultirender {
 public:
  static constexpr uint32_t kCode = tsio::fourCC("SRDF");
  static constexpr int32_t kVersion = 1;
  static constexpr uint32_t kEffectResource = 101;

  SceneRendererDOF();
  ~SceneRendererDOF() override;
  SceneRendererDOF(const SceneRendererDOF&) = delete;
  SceneRendererDOF& operator=(const SceneRendererDOF&) = delete;

  bool load(tsio::InStream& in) override;
  void store(tsio::OutStream& out) override;
  // Steps the focus controllers of every camera.
  void update(float time) override;
  // Compiles the effect and makes the surfaces once; a device that can't run the effect
  // leaves the renderer drawing plainly.
  void createResources() override;
  void render(SceneHierarchy& frameScene, Camera* frameCamera) override;

  std::map<Camera*, CameraFocus> cameras;  // ordered by address, which is also the file's order
  Context* context = nullptr;
  bool ready = false;
  SceneHierarchy* scene = nullptr;  // of the current render
  Camera* camera = nullptr;
  platform::ComPtr<IDirect3DTexture9> lookupTexture;  // blur amount by focus coordinate
  std::unique_ptr<MaterialFX> effect;
  std::unique_ptr<ModifierStack> depthStack;  // feeds the effect each object's matrices
  controller::ControllerBase<float>* focusScale = nullptr;  // those of the camera in use
  controller::ControllerBase<float>* focusDistance = nullptr;
  std::unique_ptr<RenderSurface> sceneSurface;
  std::unique_ptr<RenderSurface> blurSurface;
  D3DVIEWPORT9 fullViewport = {};
  D3DVIEWPORT9 sceneViewport = {};
  D3DVIEWPORT9 blurViewport = {};
  D3DVIEWPORT9 wideBlurViewport = {};

 private:
  bool setUp();
  // Alpha of the scene's picture = the lookup value of each object's depth.
  void drawDepth();
  // The wide blur beside the picture, the small one in blurSurface.
  void drawBlurs();
  void merge();
};

}  // namespace ts3d
