#pragma once

#include <windows.h>
#include <d3d9.h>

#include <cstdint>
#include <vector>

#include "context/color_vertex.h"
#include "context/dynamic_ring.h"
#include "context/render_surface.h"
#include "context/transform_cache.h"
#include "gfxhelper/d3dx9math.h"
#include "materials/render_state_block.h"
#include "materials/state_shadow.h"
#include "platform/com_ptr.h"
#include "scene/value_types.h"

namespace ts3d {

struct OrientedBox;

struct Capabilities {
  uint32_t blendMatrixPairs = 0;
  uint32_t maxClipPlanes = 0;
  uint32_t maxLights = 0;
  bool fogRange = false, fogTable = false, fogVertex = false, zFog = false, wFog = false;
  uint32_t stencilBits = 0;
  bool stencilKeep = false, stencilZero = false, stencilReplace = false, stencilIncrSat = false,
       stencilDecrSat = false, stencilInvert = false, stencilIncr = false, stencilDecr = false,
       stencilTwoSided = false;
  bool cubeMaps = false;
  bool autoGenMipMap = false;
};

enum FogMode : int32_t { FogOff, FogLinear, FogExponential, FogExponentialSquared };

// Where fog is computed: per vertex, per pixel from a table, or per vertex by range.
enum FogKind : int32_t { FogVertex = 1, FogTable, FogVertexRange };

struct FogSettings {
  int32_t mode = FogOff;
  int32_t kind = FogVertex;
  D3DCOLOR color = 0;
  float start = 0.0f, end = 1.0f, density = 1.0f;
};

// The engine's one Direct3D 9 device with everything that goes with it: the
// shadow of the device's state, the transform cache, rings of dynamic vertices
// and indices, and the current render target. A process-wide singleton,
// configured and created by the render window.
class Context {
 public:
  using VertexRing = DynamicRing<IDirect3DVertexBuffer9>;
  using IndexRing = DynamicRing<IDirect3DIndexBuffer9>;

  // Bits of clear's flags. Alpha only keeps the colour channels of a quad clear.
  static constexpr uint32_t ClearTarget = 0x1;
  static constexpr uint32_t ClearDepth = 0x2;
  static constexpr uint32_t ClearStencil = 0x4;
  static constexpr uint32_t ClearAlphaOnly = 0x8;
  static constexpr uint32_t ClearAll = ClearTarget | ClearDepth | ClearStencil;

  // Configuration, set before create.
  static void setWindows(HWND focus, HWND device);
  static void setResourceModule(HMODULE module);
  static void setFullscreenOptions(bool fullscreen, bool presentImmediately, bool matchDisplayMode);
  static void setMultisample(int32_t type, int32_t quality);
  static void setDisplayMode(uint32_t width, uint32_t height, int32_t bits);

  static HWND focusWindow, deviceWindow;
  static HMODULE resourceModule;
  static bool fullscreen, presentImmediately, matchDisplayMode;
  static int32_t multisampleType, multisampleQuality;
  static int32_t colorBits, depthBits;
  static RECT screenRect;

  // Lets a test put a recording device between the engine and the real one: it
  // receives the new device with its one reference and gives the device to use.
  using DeviceWrapper = IDirect3DDevice9* (*)(IDirect3DDevice9* device);
  static DeviceWrapper wrapDevice;

  static bool create();
  static void destroy();
  [[noreturn]] static void fatal(const char* text);
  static Context* instance;

  void beginScene();
  void endScene();
  void present();
  void setClearColor(const color& value) { clearColor = value; }
  void setAmbient(const color& value);
  void clear(uint32_t flags, bool direct);
  RenderSurface* renderTarget() const { return currentTarget; }
  void setRenderTarget(RenderSurface* target);
  void setViewport(const D3DVIEWPORT9& viewport);
  const RenderStateBlock& renderState() const { return currentRenderState; }

  void applyRenderState(const RenderStateBlock& block);
  void applyDefaultRenderState();
  void setRenderStateOverride(const RenderStateBlock& block);
  void clearRenderStateOverride();
  void applyStageState(uint32_t stage, const TextureStageStateBlock& block);
  void resetTextureStages();
  void setTexture(uint32_t stage, IDirect3DBaseTexture9* texture);

  // Each gives the new object with its one reference, or null.
  platform::ComPtr<IDirect3DTexture9> createTexture(uint32_t width, uint32_t height, uint32_t levels, DWORD usage,
                                                    D3DFORMAT format, D3DPOOL pool);
  platform::ComPtr<IDirect3DVertexBuffer9> createVertexBuffer(DWORD fvf, uint32_t stride, uint32_t count,
                                                              bool dynamic);
  platform::ComPtr<IDirect3DIndexBuffer9> createIndexBuffer(uint32_t count, bool dynamic);

  void* lockDynamicVertices(DWORD fvf, uint32_t stride, uint32_t count);
  void unlockDynamicVertices();
  void drawDynamicVertices(D3DPRIMITIVETYPE type, uint32_t start, uint32_t primitiveCount);
  uint16_t* lockDynamicIndices(uint32_t count);
  void unlockDynamicIndices();
  void drawDynamicIndexed(D3DPRIMITIVETYPE type, uint32_t start, uint32_t primitiveCount);

  void setMaterial(const D3DMATERIAL9* material);
  void setDefaultMaterial();
  void addLight(const D3DLIGHT9* light);
  void clearLights();
  matrix setPerspective(float fov, float aspectRatio, float nearZ, float farZ);
  void pushClipPlane(const D3DXPLANE& plane);
  void clearClipPlanes();
  void setFog(bool enable, const FogSettings& settings);
  void drawLine(const float* from, const float* to, const color& colour);
  void drawWireBox(const OrientedBox& box, const color& colour);

  void resetMaterial();
  void setWorldMatrix(const matrix& world);
  // Drawing with a fixed vertex format: no vertex shader unless an effect pass runs.
  void useFvf(DWORD fvf);

  color clearColor{0.0f, 0.0f, 1.0f, 0.0f};
  std::vector<D3DXPLANE> clipPlanes;
  Capabilities capabilities;
  RenderStateBlock currentRenderState{0xffff};
  RenderStateBlock overrideRenderState{0};
  StageStates currentStageState;
  uint32_t lightCount = 0;
  color ambient{0.0f, 0.0f, 0.0f, 0.0f};
  RenderSurface* currentTarget = nullptr;
  VertexRing vertexRing;
  uint32_t ringFvf = 0, ringStride = 0;  // of the vertex ring's last lock
  IndexRing indexRing;
  bool effectActive = false;
  TransformCache transforms;
  float fieldOfView = 0.0f, aspect = 1.0f, nearPlane = 0.0f, farPlane = 1.0f;
  platform::ComPtr<IDirect3D9> d3d;
  platform::ComPtr<IDirect3DDevice9> device;

  // Frames shown in the current window of about a second.
  struct FrameCounter {
    DWORD windowStart = 0, lastFrame = 0, frames = 0;
  };

 private:
  Context(platform::ComPtr<IDirect3D9> d3d, platform::ComPtr<IDirect3DDevice9> device);
  ~Context() = default;
  void initialise();
  void resizeWindow();
};

// A colour as a D3DCOLOR: each channel at or above 1 gives 255, at or below 0
// gives 0, else value * 255 + 0.5, truncated.
inline D3DCOLOR packColor(const color& value) { return static_cast<D3DCOLOR>(value); }

}  // namespace ts3d
