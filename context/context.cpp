#include "context/context.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "geometry/oriented_box.h"
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

struct ColorVertex {
  float x, y, z, rhw;
  D3DCOLOR color;
};
static_assert(sizeof(ColorVertex) == 20, "screen vertex with colour");

struct LineVertex {
  float x, y, z;
  D3DCOLOR color;
};
static_assert(sizeof(LineVertex) == 16, "world vertex with colour");

// Render states that take a float take its bits.
DWORD floatBits(float value) {
  DWORD bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

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

void Context::setAmbient(const color& value) {
  device->SetRenderState(D3DRS_AMBIENT, packColor(value));
  ambient = value;
}

void Context::useFvf(DWORD fvf) {
  if (!effectActive) device->SetVertexShader(nullptr);
  device->SetFVF(fvf);
}

void Context::clear(uint32_t flags, bool direct) {
  if (flags == 0) return;
  const D3DCOLOR packed = packColor(clearColor);
  if (direct) {
    DWORD mask = 0;
    if (flags & ClearTarget) mask |= D3DCLEAR_TARGET;
    if (flags & ClearDepth) mask |= D3DCLEAR_ZBUFFER;
    if ((flags & ClearStencil) && capabilities.stencilBits != 0) mask |= D3DCLEAR_STENCIL;
    if (mask) device->Clear(0, nullptr, mask, packed, 1.0f, 0);
    return;
  }
  const D3DVIEWPORT9& v = currentTarget->viewport;
  const float left = static_cast<float>(v.X), top = static_cast<float>(v.Y);
  const float right = left + static_cast<float>(v.Width), bottom = top + static_cast<float>(v.Height);
  auto* quad = static_cast<ColorVertex*>(lockDynamicVertices(D3DFVF_XYZRHW | D3DFVF_DIFFUSE, sizeof(ColorVertex), 4));
  if (!quad) return;
  // Counter-clockwise on screen, so that the engine's usual culling of clockwise
  // faces keeps it whatever the rasteriser state.
  quad[0] = {left, top, 1.0f, 0.0f, packed};
  quad[1] = {left, bottom, 1.0f, 0.0f, packed};
  quad[2] = {right, top, 1.0f, 0.0f, packed};
  quad[3] = {right, bottom, 1.0f, 0.0f, packed};
  unlockDynamicVertices();
  RenderStateBlock block(RenderStateBlock::BlendingGroup | RenderStateBlock::DepthGroup);
  if (flags & ClearAlphaOnly)
    block.colorWriteMask = D3DCOLORWRITEENABLE_ALPHA;
  else if (!(flags & ClearTarget))
    block.colorWriteMask = 0;
  if (flags & ClearDepth)
    block.depthMode = DepthAlwaysWrite;
  else
    block.zEnable = false;
  applyRenderState(block);
  drawDynamicVertices(D3DPT_TRIANGLESTRIP, 0, 2);
}

void Context::setRenderTarget(RenderSurface* target) {
  currentTarget->attach(nullptr);
  currentTarget = target;
  device->SetRenderTarget(0, target->surface.get());
  device->SetDepthStencilSurface(target->depthSurface.get());
  target->attach(this);
}

void Context::setViewport(const D3DVIEWPORT9& viewport) {
  currentTarget->viewport = viewport;
  device->SetViewport(&viewport);
}

void Context::setTexture(uint32_t stage, IDirect3DBaseTexture9* texture) { device->SetTexture(stage, texture); }

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

void* Context::lockDynamicVertices(DWORD fvf, uint32_t stride, uint32_t count) {
  const uint32_t size = stride * count;
  if (stride == 0 || size > kRingBytes) return nullptr;
  if (!vertexRing) {
    if (FAILED(device->CreateVertexBuffer(kRingBytes, D3DUSAGE_WRITEONLY | D3DUSAGE_DYNAMIC, 0, D3DPOOL_DEFAULT,
                                          vertexRing.out(), nullptr)))
      return nullptr;
    ringOffset = 0;
    ringLockedSize = 0;
  } else {
    // The first whole vertex, in the new stride, behind the last lock.
    ringOffset = (ringOffset + ringLockedSize + stride) / stride * stride;
    if (ringOffset + size > kRingBytes) ringOffset = 0;
  }
  ringFvf = fvf;
  ringStride = stride;
  ringLockedSize = size;
  void* data = nullptr;
  if (FAILED(vertexRing->Lock(ringOffset, size, &data, ringOffset == 0 ? D3DLOCK_DISCARD : D3DLOCK_NOOVERWRITE)))
    return nullptr;
  return data;
}

void Context::unlockDynamicVertices() {
  if (vertexRing) vertexRing->Unlock();
}

void Context::drawDynamicVertices(D3DPRIMITIVETYPE type, uint32_t start, uint32_t primitiveCount) {
  useFvf(ringFvf);
  device->SetStreamSource(0, vertexRing.get(), ringOffset, ringStride);
  device->DrawPrimitive(type, start, primitiveCount);
}

uint16_t* Context::lockDynamicIndices(uint32_t count) {
  const uint32_t size = count * 2;
  if (size > kRingBytes) return nullptr;
  if (!indexRing) {
    if (FAILED(device->CreateIndexBuffer(kRingBytes, D3DUSAGE_WRITEONLY | D3DUSAGE_DYNAMIC, D3DFMT_INDEX16,
                                         D3DPOOL_DEFAULT, indexRing.out(), nullptr)))
      return nullptr;
    indexOffset = 0;
    indexLockedSize = 0;
  } else {
    indexOffset += indexLockedSize;
    if (indexOffset + size > kRingBytes) indexOffset = 0;
  }
  indexLockedSize = size;
  void* data = nullptr;
  if (FAILED(indexRing->Lock(indexOffset, size, &data, indexOffset == 0 ? D3DLOCK_DISCARD : D3DLOCK_NOOVERWRITE)))
    return nullptr;
  return static_cast<uint16_t*>(data);
}

void Context::unlockDynamicIndices() {
  if (indexRing) indexRing->Unlock();
}

void Context::drawDynamicIndexed(D3DPRIMITIVETYPE type, uint32_t start, uint32_t primitiveCount) {
  useFvf(ringFvf);
  device->SetStreamSource(0, vertexRing.get(), ringOffset, ringStride);
  device->SetIndices(indexRing.get());
  device->DrawIndexedPrimitive(type, 0, 0, ringLockedSize / ringStride, indexOffset / 2 + start, primitiveCount);
}

void Context::setMaterial(const D3DMATERIAL9* material) { device->SetMaterial(material); }

void Context::setDefaultMaterial() {
  // The device's own default: white diffuse, everything else black.
  D3DMATERIAL9 material = {};
  material.Diffuse = {1.0f, 1.0f, 1.0f, 1.0f};
  device->SetMaterial(&material);
}

void Context::addLight(const D3DLIGHT9* light) {
  device->SetLight(lightCount, light);
  device->LightEnable(lightCount, TRUE);
  ++lightCount;
}

void Context::clearLights() {
  for (uint32_t i = 0; i < lightCount; ++i) device->LightEnable(i, FALSE);
  lightCount = 0;
}

matrix Context::setPerspective(float fov, float aspectRatio, float nearZ, float farZ) {
  fieldOfView = fov;
  aspect = aspectRatio;
  nearPlane = nearZ;
  farPlane = farZ;
  matrix projection;
  D3DXMatrixPerspectiveFovRH(&projection, fov, aspectRatio, nearZ, farZ);
  transforms.setProjection(projection);
  device->SetTransform(D3DTS_PROJECTION, &projection);
  return projection;
}

void Context::pushClipPlane(const D3DXPLANE& plane) {
  clipPlanes.push_back(plane);
  const float sent[4] = {plane.a, plane.b, plane.c, -plane.d};
  const DWORD count = static_cast<DWORD>(clipPlanes.size());
  device->SetClipPlane(count - 1, sent);
  device->SetRenderState(D3DRS_CLIPPLANEENABLE, (1u << count) - 1);
}

void Context::clearClipPlanes() {
  device->SetRenderState(D3DRS_CLIPPLANEENABLE, 0);
  clipPlanes.clear();
}

void Context::setFog(bool enable, const FogSettings& settings) {
  if (!enable || settings.mode == FogOff) {
    device->SetRenderState(D3DRS_FOGENABLE, FALSE);
    return;
  }
  device->SetRenderState(D3DRS_FOGENABLE, TRUE);
  device->SetRenderState(D3DRS_FOGCOLOR, settings.color);
  const D3DFOGMODE mode = settings.mode == FogLinear        ? D3DFOG_LINEAR
                          : settings.mode == FogExponential ? D3DFOG_EXP
                                                            : D3DFOG_EXP2;
  auto sendValues = [&] {
    if (mode == D3DFOG_LINEAR) {
      device->SetRenderState(D3DRS_FOGSTART, floatBits(settings.start));
      device->SetRenderState(D3DRS_FOGEND, floatBits(settings.end));
    } else {
      device->SetRenderState(D3DRS_FOGDENSITY, floatBits(settings.density));
    }
  };
  if (settings.kind == FogTable) {
    device->SetRenderState(D3DRS_FOGVERTEXMODE, D3DFOG_NONE);
    device->SetRenderState(D3DRS_RANGEFOGENABLE, FALSE);
    device->SetRenderState(D3DRS_FOGTABLEMODE, mode);
    sendValues();
  } else {
    device->SetRenderState(D3DRS_FOGTABLEMODE, D3DFOG_NONE);
    device->SetRenderState(D3DRS_RANGEFOGENABLE, settings.kind == FogVertexRange ? TRUE : FALSE);
    device->SetRenderState(D3DRS_FOGVERTEXMODE, mode);
    sendValues();
  }
}

void Context::drawLine(const float* from, const float* to, const color& colour) {
  const D3DCOLOR packed = packColor(colour);
  auto* line = static_cast<ColorVertex*>(lockDynamicVertices(D3DFVF_XYZRHW | D3DFVF_DIFFUSE, sizeof(ColorVertex), 2));
  if (!line) return;
  line[0] = {from[0], from[1], 1.0f, 1.0f, packed};
  line[1] = {to[0], to[1], 1.0f, 1.0f, packed};
  unlockDynamicVertices();
  RenderStateBlock block(0xffff);
  block.zEnable = false;
  block.lighting = false;
  applyRenderState(block);
  resetTextureStages();
  drawDynamicVertices(D3DPT_LINELIST, 0, 1);
}

void Context::drawWireBox(const OrientedBox& box, const color& colour) {
  const matrix previousWorld = transforms.world;
  setWorldMatrix(box.toWorld);
  const D3DCOLOR packed = packColor(colour);
  const float x = box.halfSize.x, y = box.halfSize.y, z = box.halfSize.z;
  auto* v = static_cast<LineVertex*>(lockDynamicVertices(D3DFVF_XYZ | D3DFVF_DIFFUSE, sizeof(LineVertex), 18));
  if (v) {
    const float corners[4][2] = {{-x, -y}, {x, -y}, {x, y}, {-x, y}};
    for (int i = 0; i < 5; ++i) v[i] = {corners[i % 4][0], corners[i % 4][1], -z, packed};
    for (int i = 0; i < 5; ++i) v[5 + i] = {corners[i % 4][0], corners[i % 4][1], z, packed};
    for (int i = 0; i < 4; ++i) {
      v[10 + 2 * i] = {corners[i][0], corners[i][1], -z, packed};
      v[11 + 2 * i] = {corners[i][0], corners[i][1], z, packed};
    }
    unlockDynamicVertices();
    static const RenderStateBlock unlit = [] {
      RenderStateBlock block(0xffff);
      block.lighting = false;
      return block;
    }();
    applyRenderState(unlit);
    resetTextureStages();
    drawDynamicVertices(D3DPT_LINESTRIP, 0, 4);
    drawDynamicVertices(D3DPT_LINESTRIP, 5, 4);
    drawDynamicVertices(D3DPT_LINELIST, 10, 4);
  }
  setWorldMatrix(previousWorld);
}

void Context::resetMaterial() {
  setDefaultMaterial();
  applyDefaultRenderState();
  resetTextureStages();
}

void Context::setWorldMatrix(const matrix& world) {
  transforms.setWorld(world);
  device->SetTransform(D3DTS_WORLD, &world);
}

}  // namespace ts3d
