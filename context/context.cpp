// The device's set-up and lifetime: formats, creation, the starting state, destruction.
#include "context/context.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "gfxhelper/d3dx9font.h"
#include "platform/message_box.h"

namespace ts3d {

HWND Context::focusWindow = nullptr;
HWND Context::deviceWindow = nullptr;
HMODULE Context::resourceModule = nullptr;
bool Context::fullscreen = false;
bool Context::presentImmediately = false;
bool Context::matchDisplayMode = false;
int32_t Context::multisampleType = 0;
int32_t Context::multisampleQuality = 0;
int32_t Context::colorBits = -1;
int32_t Context::depthBits = 24;
RECT Context::screenRect = {0, 0, 640, 480};
Context* Context::instance = nullptr;
Context::DeviceWrapper Context::wrapDevice = nullptr;

namespace {

// Beside the instance: nothing draws with the font or reads the counter, but both
// live as long as the device.
Context::FrameCounter* frameCounter = nullptr;
platform::ComPtr<ID3DXFont> font;

// The interface version the engine is written against, fixed whatever the SDK header
// in use calls its own.
constexpr UINT kDirect3DVersion = 31;

uint32_t stencilBitsOf(D3DFORMAT format) {
  switch (format) {
    case D3DFMT_D15S1:
      return 1;
    case D3DFMT_D24S8:
      return 8;
    case D3DFMT_D24X4S4:
      return 4;
    default:
      return 0;
  }
}

}  // namespace

void Context::setWindows(HWND focus, HWND device_) {
  focusWindow = focus;
  deviceWindow = device_ ? device_ : focus;
}

void Context::setResourceModule(HMODULE module) { resourceModule = module; }

void Context::setFullscreenOptions(bool fullscreen_, bool presentImmediately_, bool matchDisplayMode_) {
  fullscreen = fullscreen_;
  presentImmediately = presentImmediately_;
  matchDisplayMode = matchDisplayMode_;
}

void Context::setMultisample(int32_t type, int32_t quality) {
  multisampleType = type;
  multisampleQuality = quality;
}

void Context::setDisplayMode(uint32_t width, uint32_t height, int32_t bits) {
  screenRect = {0, 0, static_cast<LONG>(width), static_cast<LONG>(height)};
  colorBits = bits;
  depthBits = bits == 32 ? 24 : bits;
}

void Context::fatal(const char* text) {
  platform::messageBox(text, "ts3d::Context", 0);
  std::abort();
}

bool Context::create() {
  platform::ComPtr<IDirect3D9> d3d(Direct3DCreate9(kDirect3DVersion));
  if (!d3d) fatal("Cannot Get Direct3D Interface.");

  D3DFORMAT format = D3DFMT_UNKNOWN;
  if (!fullscreen) {
    D3DDISPLAYMODE desktop;
    d3d->GetAdapterDisplayMode(D3DADAPTER_DEFAULT, &desktop);
    if (colorBits == -1) {
      if (desktop.Format == D3DFMT_X8R8G8B8) {
        colorBits = 32;
        depthBits = 24;
      } else if (desktop.Format == D3DFMT_R5G6B5) {
        colorBits = 16;
        depthBits = 16;
      } else {
        colorBits = 0;
        depthBits = 0;
      }
    }
  }
  if (colorBits == 32) format = D3DFMT_X8R8G8B8;
  if (colorBits == 16) format = D3DFMT_R5G6B5;

  D3DFORMAT depthFormat = depthBits == 24 ? D3DFMT_D24S8 : D3DFMT_D16;
  if (depthBits == 24 && FAILED(d3d->CheckDeviceFormat(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, format,
                                                       D3DUSAGE_DEPTHSTENCIL, D3DRTYPE_SURFACE, depthFormat))) {
    depthBits = 16;
    depthFormat = D3DFMT_D16;
  }

  const UINT width = static_cast<UINT>(screenRect.right - screenRect.left);
  const UINT height = static_cast<UINT>(screenRect.bottom - screenRect.top);
  UINT refreshRate = 0;
  if (matchDisplayMode) {
    bool found = false;
    const UINT count = d3d->GetAdapterModeCount(D3DADAPTER_DEFAULT, format);
    for (UINT i = 0; i < count; ++i) {
      D3DDISPLAYMODE mode;
      if (FAILED(d3d->EnumAdapterModes(D3DADAPTER_DEFAULT, format, i, &mode))) continue;
      if (mode.Width == width && mode.Height == height && (!found || mode.RefreshRate > refreshRate)) {
        refreshRate = mode.RefreshRate;
        found = true;
      }
    }
    if (!found) fatal("Display Mode Requested Not Found.");
  }

  DWORD levels = 0;
  if (FAILED(d3d->CheckDeviceMultiSampleType(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, format, !fullscreen,
                                             static_cast<D3DMULTISAMPLE_TYPE>(multisampleType), &levels))) {
    multisampleType = 0;
    multisampleQuality = 0;
  } else if (multisampleQuality >= static_cast<int32_t>(levels)) {
    multisampleQuality = 0;
  }

  D3DPRESENT_PARAMETERS params = {};
  params.BackBufferWidth = width;
  params.BackBufferHeight = height;
  params.BackBufferFormat = format;
  params.BackBufferCount = 1;
  params.MultiSampleType = static_cast<D3DMULTISAMPLE_TYPE>(multisampleType);
  params.MultiSampleQuality = static_cast<DWORD>(multisampleQuality);
  params.SwapEffect = D3DSWAPEFFECT_DISCARD;
  params.hDeviceWindow = deviceWindow;
  params.Windowed = !fullscreen;
  params.EnableAutoDepthStencil = TRUE;
  params.AutoDepthStencilFormat = depthFormat;
  params.Flags = 0;
  params.FullScreen_RefreshRateInHz = fullscreen && matchDisplayMode ? refreshRate : 0;
  params.PresentationInterval =
      fullscreen && !presentImmediately ? D3DPRESENT_INTERVAL_DEFAULT : D3DPRESENT_INTERVAL_IMMEDIATE;

  if (!focusWindow) fatal("Not attached to a window.");

  platform::ComPtr<IDirect3DDevice9> device;
  if (FAILED(d3d->CreateDevice(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, focusWindow, D3DCREATE_MIXED_VERTEXPROCESSING,
                               &params, device.out())) &&
      FAILED(d3d->CreateDevice(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, focusWindow,
                               D3DCREATE_SOFTWARE_VERTEXPROCESSING, &params, device.out()))) {
    // Nothing can be drawn without a device; the user is told why before we stop.
    d3d.reset();
    fatal("Cannot create the Direct3D device.");
  }

  if (wrapDevice) device.reset(wrapDevice(device.release()));
  instance = new Context(std::move(d3d), std::move(device));
  instance->initialise();
  instance->resizeWindow();
  return true;
}

Context::Context(platform::ComPtr<IDirect3D9> d3d_, platform::ComPtr<IDirect3DDevice9> device_)
    : d3d(std::move(d3d_)), device(std::move(device_)) {}

void Context::initialise() {
  D3DCAPS9 caps;
  device->GetDeviceCaps(&caps);
  capabilities.blendMatrixPairs = (caps.MaxVertexBlendMatrixIndex + 1) / 2;
  capabilities.maxClipPlanes = caps.MaxUserClipPlanes;
  capabilities.maxLights = caps.MaxActiveLights;
  capabilities.fogRange = (caps.RasterCaps & D3DPRASTERCAPS_FOGRANGE) != 0;
  capabilities.fogTable = (caps.RasterCaps & D3DPRASTERCAPS_FOGTABLE) != 0;
  capabilities.fogVertex = (caps.RasterCaps & D3DPRASTERCAPS_FOGVERTEX) != 0;
  capabilities.zFog = (caps.RasterCaps & D3DPRASTERCAPS_ZFOG) != 0;
  capabilities.wFog = (caps.RasterCaps & D3DPRASTERCAPS_WFOG) != 0;
  platform::ComPtr<IDirect3DSurface9> depth;
  if (SUCCEEDED(device->GetDepthStencilSurface(depth.out()))) {
    D3DSURFACE_DESC desc;
    depth->GetDesc(&desc);
    capabilities.stencilBits = stencilBitsOf(desc.Format);
  }
  capabilities.stencilKeep = (caps.StencilCaps & D3DSTENCILCAPS_KEEP) != 0;
  capabilities.stencilZero = (caps.StencilCaps & D3DSTENCILCAPS_ZERO) != 0;
  capabilities.stencilReplace = (caps.StencilCaps & D3DSTENCILCAPS_REPLACE) != 0;
  capabilities.stencilIncrSat = (caps.StencilCaps & D3DSTENCILCAPS_INCRSAT) != 0;
  capabilities.stencilDecrSat = (caps.StencilCaps & D3DSTENCILCAPS_DECRSAT) != 0;
  capabilities.stencilInvert = (caps.StencilCaps & D3DSTENCILCAPS_INVERT) != 0;
  capabilities.stencilIncr = (caps.StencilCaps & D3DSTENCILCAPS_INCR) != 0;
  capabilities.stencilDecr = (caps.StencilCaps & D3DSTENCILCAPS_DECR) != 0;
  capabilities.stencilTwoSided = (caps.StencilCaps & D3DSTENCILCAPS_TWOSIDED) != 0;
  capabilities.cubeMaps = (caps.TextureCaps & D3DPTEXTURECAPS_CUBEMAP) != 0;
  capabilities.autoGenMipMap = (caps.Caps2 & D3DCAPS2_CANAUTOGENMIPMAP) != 0;

  D3DVIEWPORT9 viewport;
  device->GetViewport(&viewport);
  aspect = static_cast<float>(viewport.Width) / static_cast<float>(viewport.Height);
  fieldOfView = 0.0f;
  nearPlane = viewport.MinZ;
  farPlane = viewport.MaxZ;

  matrix m;
  device->GetTransform(D3DTS_PROJECTION, &m);
  transforms.setProjection(m);
  device->SetTransform(D3DTS_PROJECTION, &m);
  device->GetTransform(D3DTS_VIEW, &m);
  transforms.setView(m);
  device->SetTransform(D3DTS_VIEW, &m);
  device->GetTransform(D3DTS_WORLD, &m);
  transforms.setWorld(m);
  device->SetTransform(D3DTS_WORLD, &m);

  initialiseDeviceState(device.get(), currentRenderState, currentStageState);

  currentTarget = new RenderSurface;
  device->GetRenderTarget(0, currentTarget->surface.out());
  currentTarget->depthSurface = std::move(depth);
  currentTarget->viewport = viewport;
  currentTarget->owner = this;

  if (!frameCounter) frameCounter = new FrameCounter;
  if (!font) {
    D3DXFONT_DESCA desc = {};
    desc.Height = 16;
    desc.Width = 0;
    desc.MipLevels = 1;
    desc.Italic = FALSE;
    desc.CharSet = 1;
    desc.OutputPrecision = 0;
    desc.Quality = 4;
    desc.PitchAndFamily = 2;
    std::strcpy(desc.FaceName, "Verdana");
    if (SUCCEEDED(D3DXCreateFontIndirect(device.get(), &desc, font.out()))) font->PreloadCharacters(0, 127);
  }
}

void Context::resizeWindow() {
  RECT rect = screenRect;
  if (!fullscreen) AdjustWindowRect(&rect, 0xcf0000, FALSE);
  SetWindowPos(focusWindow, nullptr, 0, 0, rect.right - rect.left, rect.bottom - rect.top,
               SWP_NOMOVE | SWP_NOACTIVATE);
}

void Context::destroy() {
  Context* context = instance;
  if (!context) return;
  delete frameCounter;
  frameCounter = nullptr;
  font.reset();
  context->indexRing.reset();
  context->vertexRing.reset();
  delete context->currentTarget;
  context->currentTarget = nullptr;
  context->device.reset();
  context->d3d.reset();
  delete context;
  instance = nullptr;
}

void Context::beginScene() { device->BeginScene(); }

void Context::endScene() { device->EndScene(); }

void Context::present() {
  if (frameCounter) {
    if (frameCounter->lastFrame - frameCounter->windowStart > 1000) {
      frameCounter->windowStart = frameCounter->lastFrame;
      frameCounter->frames = 0;
    }
    ++frameCounter->frames;
    frameCounter->lastFrame = GetTickCount();
  }
  device->Present(nullptr, nullptr, nullptr, nullptr);
}

platform::ComPtr<IDirect3DTexture9> Context::createTexture(uint32_t width, uint32_t height, uint32_t levels,
                                                           DWORD usage, D3DFORMAT format, D3DPOOL pool) {
  platform::ComPtr<IDirect3DTexture9> texture;
  if (FAILED(device->CreateTexture(width, height, levels, usage, format, pool, texture.out(), nullptr))) return {};
  return texture;
}

platform::ComPtr<IDirect3DVertexBuffer9> Context::createVertexBuffer(DWORD fvf, uint32_t stride, uint32_t count,
                                                                     bool dynamic) {
  platform::ComPtr<IDirect3DVertexBuffer9> buffer;
  const DWORD usage = D3DUSAGE_WRITEONLY | (dynamic ? D3DUSAGE_DYNAMIC : 0);
  if (FAILED(device->CreateVertexBuffer(stride * count, usage, fvf, D3DPOOL_DEFAULT, buffer.out(), nullptr)))
    return {};
  return buffer;
}

platform::ComPtr<IDirect3DIndexBuffer9> Context::createIndexBuffer(uint32_t count, bool dynamic) {
  platform::ComPtr<IDirect3DIndexBuffer9> buffer;
  const DWORD usage = D3DUSAGE_WRITEONLY | (dynamic ? D3DUSAGE_DYNAMIC : 0);
  if (FAILED(device->CreateIndexBuffer(count * 2, usage, D3DFMT_INDEX16, D3DPOOL_DEFAULT, buffer.out(), nullptr)))
    return {};
  return buffer;
}

}  // namespace ts3d
