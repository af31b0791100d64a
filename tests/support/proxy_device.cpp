#include "tests/support/proxy_device.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <sstream>

namespace tstest {

namespace {

struct KindInfo {
  const char* name;
  int argCount;
};

// Indexed by DeviceCallKind.
const KindInfo kindInfo[] = {
    {"SetRenderState", 2},
    {"SetTextureStageState", 3},
    {"SetSamplerState", 3},
    {"SetTexture", 1},
    {"SetTransform", 1},
    {"SetFVF", 1},
    {"SetVertexShader", 0},
    {"SetPixelShader", 0},
    {"SetStreamSource", 3},
    {"SetIndices", 0},
    {"SetSoftwareVertexProcessing", 1},
    {"SetRenderTarget", 1},
    {"SetDepthStencilSurface", 0},
    {"Clear", 4},
    {"SetViewport", 4},
    {"CreateVertexBuffer", 4},
    {"CreateIndexBuffer", 4},
    {"LockVertexBuffer", 3},
    {"UnlockVertexBuffer", 0},
    {"LockIndexBuffer", 3},
    {"UnlockIndexBuffer", 0},
    {"DrawPrimitive", 3},
    {"DrawIndexedPrimitive", 6},
    {"DrawPrimitiveUP", 3},
    {"DrawIndexedPrimitiveUP", 6},
};
static_assert(sizeof kindInfo / sizeof kindInfo[0] == static_cast<size_t>(DeviceCallKind::DrawIndexedPrimitiveUP) + 1,
              "one entry per kind");

DeviceCall makeCall(DeviceCallKind kind, std::initializer_list<int64_t> args, const void* object = nullptr) {
  DeviceCall call;
  call.kind = kind;
  std::copy(args.begin(), args.end(), call.args.begin());
  call.object = object;
  return call;
}

}  // namespace

DeviceCall renderStateCall(D3DRENDERSTATETYPE state, DWORD value) {
  return makeCall(DeviceCallKind::SetRenderState, {state, value});
}

DeviceCall stageStateCall(DWORD stage, D3DTEXTURESTAGESTATETYPE type, DWORD value) {
  return makeCall(DeviceCallKind::SetTextureStageState, {stage, type, value});
}

DeviceCall samplerStateCall(DWORD sampler, D3DSAMPLERSTATETYPE type, DWORD value) {
  return makeCall(DeviceCallKind::SetSamplerState, {sampler, type, value});
}

DeviceCall softwareVertexProcessingCall(bool software) {
  return makeCall(DeviceCallKind::SetSoftwareVertexProcessing, {software ? TRUE : FALSE});
}

DeviceCall transformCall(D3DTRANSFORMSTATETYPE state, const D3DMATRIX& matrix) {
  DeviceCall call = makeCall(DeviceCallKind::SetTransform, {state});
  std::copy(&matrix.m[0][0], &matrix.m[0][0] + 16, call.values.begin());
  return call;
}

DeviceCall textureCall(DWORD stage, const IDirect3DBaseTexture9* texture) {
  return makeCall(DeviceCallKind::SetTexture, {stage}, texture);
}

std::string describe(const DeviceCall& call) {
  const KindInfo& info = kindInfo[static_cast<size_t>(call.kind)];
  std::ostringstream text;
  text << info.name << '(';
  for (int i = 0; i < info.argCount; ++i) text << (i ? ", " : "") << call.args[static_cast<size_t>(i)];
  if (call.object) text << (info.argCount ? ", " : "") << call.object;
  text << ')';
  if (std::any_of(call.values.begin(), call.values.end(), [](float value) { return value != 0.0f; })) {
    text << " [";
    for (size_t i = 0; i < call.values.size(); ++i) text << (i ? " " : "") << call.values[i];
    text << ']';
  }
  return text.str();
}

std::ostream& operator<<(std::ostream& out, const DeviceCall& call) { return out << describe(call); }

// A vertex or index buffer handed out by the proxy: forwards to the real buffer and records
// locks and unlocks on the proxy's log. Like the proxy, it ends in its own Release.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
template <class Interface, class Desc, DeviceCallKind LockKind, DeviceCallKind UnlockKind>
class ProxyBuffer final : public Interface {
 public:
  ProxyBuffer(ProxyDevice& owner_, Interface* real_) : owner(owner_), real(real_) {
    owner.AddRef();
    owner.realOf[static_cast<Interface*>(this)] = real;
  }
  ProxyBuffer(const ProxyBuffer&) = delete;
  ProxyBuffer& operator=(const ProxyBuffer&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
    if (!object) return E_POINTER;
    if (riid == __uuidof(IUnknown) || riid == __uuidof(IDirect3DResource9) || riid == __uuidof(Interface)) {
      *object = static_cast<Interface*>(this);
      AddRef();
      return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++referenceCount; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --referenceCount;
    if (left == 0) {
      ProxyDevice& device = owner;
      device.realOf.erase(static_cast<Interface*>(this));
      real->Release();
      delete this;
      device.Release();
    }
    return left;
  }

  HRESULT STDMETHODCALLTYPE GetDevice(IDirect3DDevice9** device) override {
    if (!device) return D3DERR_INVALIDCALL;
    owner.AddRef();
    *device = &owner;
    return D3D_OK;
  }
  HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID guid, const void* data, DWORD size, DWORD flags) override {
    return real->SetPrivateData(guid, data, size, flags);
  }
  HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID guid, void* data, DWORD* size) override {
    return real->GetPrivateData(guid, data, size);
  }
  HRESULT STDMETHODCALLTYPE FreePrivateData(REFGUID guid) override { return real->FreePrivateData(guid); }
  DWORD STDMETHODCALLTYPE SetPriority(DWORD priority) override { return real->SetPriority(priority); }
  DWORD STDMETHODCALLTYPE GetPriority() override { return real->GetPriority(); }
  void STDMETHODCALLTYPE PreLoad() override { real->PreLoad(); }
  D3DRESOURCETYPE STDMETHODCALLTYPE GetType() override { return real->GetType(); }

  HRESULT STDMETHODCALLTYPE Lock(UINT offset, UINT size, void** data, DWORD flags) override {
    owner.record(makeCall(LockKind, {offset, size, flags}, static_cast<Interface*>(this)));
    return real->Lock(offset, size, data, flags);
  }
  HRESULT STDMETHODCALLTYPE Unlock() override {
    owner.record(makeCall(UnlockKind, {}, static_cast<Interface*>(this)));
    return real->Unlock();
  }
  HRESULT STDMETHODCALLTYPE GetDesc(Desc* desc) override { return real->GetDesc(desc); }

 private:
  ~ProxyBuffer() = default;

  ProxyDevice& owner;
  Interface* real;
  ULONG referenceCount = 1;
};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

using ProxyVertexBuffer = ProxyBuffer<IDirect3DVertexBuffer9, D3DVERTEXBUFFER_DESC, DeviceCallKind::LockVertexBuffer,
                                      DeviceCallKind::UnlockVertexBuffer>;
using ProxyIndexBuffer = ProxyBuffer<IDirect3DIndexBuffer9, D3DINDEXBUFFER_DESC, DeviceCallKind::LockIndexBuffer,
                                     DeviceCallKind::UnlockIndexBuffer>;

ProxyDevice* ProxyDevice::create(IDirect3DDevice9* real) { return new ProxyDevice(real); }

ProxyDevice::ProxyDevice(IDirect3DDevice9* real) : device(real) { device->AddRef(); }

ProxyDevice::~ProxyDevice() { device->Release(); }

std::vector<DeviceCall> ProxyDevice::callsOf(DeviceCallKind kind) const {
  std::vector<DeviceCall> matching;
  std::copy_if(log.begin(), log.end(), std::back_inserter(matching),
               [kind](const DeviceCall& call) { return call.kind == kind; });
  return matching;
}

size_t ProxyDevice::count(DeviceCallKind kind) const {
  return static_cast<size_t>(
      std::count_if(log.begin(), log.end(), [kind](const DeviceCall& call) { return call.kind == kind; }));
}

void ProxyDevice::clearLog() {
  log.clear();
  total = 0;
}

IDirect3DDevice9* ProxyDevice::touch() {
  ++total;
  return device;
}

void* ProxyDevice::unwrap(void* object) const {
  const auto found = realOf.find(object);
  return found == realOf.end() ? object : found->second;
}

void* ProxyDevice::wrapperOf(void* realBuffer) const {
  for (const auto& entry : realOf)
    if (entry.second == realBuffer) return entry.first;
  return nullptr;
}

// IUnknown

HRESULT STDMETHODCALLTYPE ProxyDevice::QueryInterface(REFIID riid, void** object) {
  if (!object) return E_POINTER;
  if (riid == __uuidof(IUnknown) || riid == __uuidof(IDirect3DDevice9)) {
    *object = static_cast<IDirect3DDevice9*>(this);
    AddRef();
    return S_OK;
  }
  *object = nullptr;
  return E_NOINTERFACE;
}

ULONG STDMETHODCALLTYPE ProxyDevice::AddRef() { return ++referenceCount; }

ULONG STDMETHODCALLTYPE ProxyDevice::Release() {
  const ULONG left = --referenceCount;
  if (left == 0) delete this;
  return left;
}

// Recorded calls

HRESULT STDMETHODCALLTYPE ProxyDevice::CreateVertexBuffer(UINT length, DWORD usage, DWORD fvf, D3DPOOL pool,
                                                          IDirect3DVertexBuffer9** buffer, HANDLE* shared) {
  const HRESULT result = touch()->CreateVertexBuffer(length, usage, fvf, pool, buffer, shared);
  if (SUCCEEDED(result) && buffer && *buffer) *buffer = new ProxyVertexBuffer(*this, *buffer);
  record(makeCall(DeviceCallKind::CreateVertexBuffer, {length, usage, fvf, pool},
                  SUCCEEDED(result) && buffer ? *buffer : nullptr));
  return result;
}

HRESULT STDMETHODCALLTYPE ProxyDevice::CreateIndexBuffer(UINT length, DWORD usage, D3DFORMAT format, D3DPOOL pool,
                                                         IDirect3DIndexBuffer9** buffer, HANDLE* shared) {
  const HRESULT result = touch()->CreateIndexBuffer(length, usage, format, pool, buffer, shared);
  if (SUCCEEDED(result) && buffer && *buffer) *buffer = new ProxyIndexBuffer(*this, *buffer);
  record(makeCall(DeviceCallKind::CreateIndexBuffer, {length, usage, format, pool},
                  SUCCEEDED(result) && buffer ? *buffer : nullptr));
  return result;
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetRenderTarget(DWORD index, IDirect3DSurface9* target) {
  record(makeCall(DeviceCallKind::SetRenderTarget, {index}, target));
  return touch()->SetRenderTarget(index, target);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetDepthStencilSurface(IDirect3DSurface9* surface) {
  record(makeCall(DeviceCallKind::SetDepthStencilSurface, {}, surface));
  return touch()->SetDepthStencilSurface(surface);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::Clear(DWORD rectCount, const D3DRECT* rects, DWORD flags, D3DCOLOR color,
                                             float z, DWORD stencil) {
  DeviceCall call = makeCall(DeviceCallKind::Clear, {rectCount, flags, color, stencil}, rects);
  call.values[0] = z;
  record(call);
  return touch()->Clear(rectCount, rects, flags, color, z, stencil);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetTransform(D3DTRANSFORMSTATETYPE state, const D3DMATRIX* matrix) {
  if (matrix)
    record(transformCall(state, *matrix));
  else
    record(makeCall(DeviceCallKind::SetTransform, {state}));
  return touch()->SetTransform(state, matrix);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetViewport(const D3DVIEWPORT9* viewport) {
  DeviceCall call = makeCall(DeviceCallKind::SetViewport, {});
  if (viewport) {
    call = makeCall(DeviceCallKind::SetViewport, {viewport->X, viewport->Y, viewport->Width, viewport->Height});
    call.values[0] = viewport->MinZ;
    call.values[1] = viewport->MaxZ;
  }
  record(call);
  return touch()->SetViewport(viewport);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetRenderState(D3DRENDERSTATETYPE state, DWORD value) {
  record(renderStateCall(state, value));
  return touch()->SetRenderState(state, value);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetTexture(DWORD stage, IDirect3DBaseTexture9* texture) {
  record(textureCall(stage, texture));
  return touch()->SetTexture(stage, texture);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetTextureStageState(DWORD stage, D3DTEXTURESTAGESTATETYPE type, DWORD value) {
  record(stageStateCall(stage, type, value));
  return touch()->SetTextureStageState(stage, type, value);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetSamplerState(DWORD sampler, D3DSAMPLERSTATETYPE type, DWORD value) {
  record(samplerStateCall(sampler, type, value));
  return touch()->SetSamplerState(sampler, type, value);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetSoftwareVertexProcessing(BOOL software) {
  record(makeCall(DeviceCallKind::SetSoftwareVertexProcessing, {software}));
  return touch()->SetSoftwareVertexProcessing(software);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::DrawPrimitive(D3DPRIMITIVETYPE type, UINT start, UINT count) {
  record(makeCall(DeviceCallKind::DrawPrimitive, {type, start, count}));
  return touch()->DrawPrimitive(type, start, count);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::DrawIndexedPrimitive(D3DPRIMITIVETYPE type, INT baseVertex, UINT minIndex,
                                                            UINT vertexCount, UINT startIndex, UINT count) {
  record(makeCall(DeviceCallKind::DrawIndexedPrimitive, {type, baseVertex, minIndex, vertexCount, startIndex, count}));
  return touch()->DrawIndexedPrimitive(type, baseVertex, minIndex, vertexCount, startIndex, count);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::DrawPrimitiveUP(D3DPRIMITIVETYPE type, UINT count, const void* data,
                                                       UINT stride) {
  record(makeCall(DeviceCallKind::DrawPrimitiveUP, {type, count, stride}));
  return touch()->DrawPrimitiveUP(type, count, data, stride);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::DrawIndexedPrimitiveUP(D3DPRIMITIVETYPE type, UINT minIndex, UINT vertexCount,
                                                              UINT count, const void* indices, D3DFORMAT indexFormat,
                                                              const void* data, UINT stride) {
  record(makeCall(DeviceCallKind::DrawIndexedPrimitiveUP, {type, minIndex, vertexCount, count, indexFormat, stride}));
  return touch()->DrawIndexedPrimitiveUP(type, minIndex, vertexCount, count, indices, indexFormat, data, stride);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetFVF(DWORD fvf) {
  record(makeCall(DeviceCallKind::SetFVF, {fvf}));
  return touch()->SetFVF(fvf);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetVertexShader(IDirect3DVertexShader9* shader) {
  record(makeCall(DeviceCallKind::SetVertexShader, {}, shader));
  return touch()->SetVertexShader(shader);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetStreamSource(UINT stream, IDirect3DVertexBuffer9* buffer, UINT offset,
                                                       UINT stride) {
  record(makeCall(DeviceCallKind::SetStreamSource, {stream, offset, stride}, buffer));
  return touch()->SetStreamSource(stream, static_cast<IDirect3DVertexBuffer9*>(unwrap(buffer)), offset, stride);
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetIndices(IDirect3DIndexBuffer9* buffer) {
  record(makeCall(DeviceCallKind::SetIndices, {}, buffer));
  return touch()->SetIndices(static_cast<IDirect3DIndexBuffer9*>(unwrap(buffer)));
}

HRESULT STDMETHODCALLTYPE ProxyDevice::SetPixelShader(IDirect3DPixelShader9* shader) {
  record(makeCall(DeviceCallKind::SetPixelShader, {}, shader));
  return touch()->SetPixelShader(shader);
}

// Calls that name buffers: the real device sees real buffers, callers see our wrappers.

HRESULT STDMETHODCALLTYPE ProxyDevice::GetStreamSource(UINT stream, IDirect3DVertexBuffer9** buffer, UINT* offset,
                                                       UINT* stride) {
  const HRESULT result = touch()->GetStreamSource(stream, buffer, offset, stride);
  if (SUCCEEDED(result) && buffer && *buffer) {
    if (auto* wrapper = static_cast<IDirect3DVertexBuffer9*>(wrapperOf(*buffer))) {
      wrapper->AddRef();
      (*buffer)->Release();
      *buffer = wrapper;
    }
  }
  return result;
}

HRESULT STDMETHODCALLTYPE ProxyDevice::GetIndices(IDirect3DIndexBuffer9** buffer) {
  const HRESULT result = touch()->GetIndices(buffer);
  if (SUCCEEDED(result) && buffer && *buffer) {
    if (auto* wrapper = static_cast<IDirect3DIndexBuffer9*>(wrapperOf(*buffer))) {
      wrapper->AddRef();
      (*buffer)->Release();
      *buffer = wrapper;
    }
  }
  return result;
}

HRESULT STDMETHODCALLTYPE ProxyDevice::ProcessVertices(UINT sourceStart, UINT destIndex, UINT vertexCount,
                                                       IDirect3DVertexBuffer9* dest,
                                                       IDirect3DVertexDeclaration9* declaration, DWORD flags) {
  return touch()->ProcessVertices(sourceStart, destIndex, vertexCount,
                                  static_cast<IDirect3DVertexBuffer9*>(unwrap(dest)), declaration, flags);
}

// Plain forwarding

HRESULT STDMETHODCALLTYPE ProxyDevice::TestCooperativeLevel() { return touch()->TestCooperativeLevel(); }
UINT STDMETHODCALLTYPE ProxyDevice::GetAvailableTextureMem() { return touch()->GetAvailableTextureMem(); }
HRESULT STDMETHODCALLTYPE ProxyDevice::EvictManagedResources() { return touch()->EvictManagedResources(); }
HRESULT STDMETHODCALLTYPE ProxyDevice::GetDirect3D(IDirect3D9** d3d) { return touch()->GetDirect3D(d3d); }
HRESULT STDMETHODCALLTYPE ProxyDevice::GetDeviceCaps(D3DCAPS9* caps) { return touch()->GetDeviceCaps(caps); }
HRESULT STDMETHODCALLTYPE ProxyDevice::GetDisplayMode(UINT swapChain, D3DDISPLAYMODE* mode) {
  return touch()->GetDisplayMode(swapChain, mode);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetCreationParameters(D3DDEVICE_CREATION_PARAMETERS* parameters) {
  return touch()->GetCreationParameters(parameters);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetCursorProperties(UINT x, UINT y, IDirect3DSurface9* bitmap) {
  return touch()->SetCursorProperties(x, y, bitmap);
}
void STDMETHODCALLTYPE ProxyDevice::SetCursorPosition(int x, int y, DWORD flags) {
  touch()->SetCursorPosition(x, y, flags);
}
BOOL STDMETHODCALLTYPE ProxyDevice::ShowCursor(BOOL show) { return touch()->ShowCursor(show); }
HRESULT STDMETHODCALLTYPE ProxyDevice::CreateAdditionalSwapChain(D3DPRESENT_PARAMETERS* parameters,
                                                                 IDirect3DSwapChain9** swapChain) {
  return touch()->CreateAdditionalSwapChain(parameters, swapChain);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetSwapChain(UINT index, IDirect3DSwapChain9** swapChain) {
  return touch()->GetSwapChain(index, swapChain);
}
UINT STDMETHODCALLTYPE ProxyDevice::GetNumberOfSwapChains() { return touch()->GetNumberOfSwapChains(); }
HRESULT STDMETHODCALLTYPE ProxyDevice::Reset(D3DPRESENT_PARAMETERS* parameters) { return touch()->Reset(parameters); }
HRESULT STDMETHODCALLTYPE ProxyDevice::Present(const RECT* source, const RECT* dest, HWND window,
                                               const RGNDATA* dirty) {
  return touch()->Present(source, dest, window, dirty);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetBackBuffer(UINT swapChain, UINT index, D3DBACKBUFFER_TYPE type,
                                                     IDirect3DSurface9** surface) {
  return touch()->GetBackBuffer(swapChain, index, type, surface);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetRasterStatus(UINT swapChain, D3DRASTER_STATUS* status) {
  return touch()->GetRasterStatus(swapChain, status);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetDialogBoxMode(BOOL enable) { return touch()->SetDialogBoxMode(enable); }
void STDMETHODCALLTYPE ProxyDevice::SetGammaRamp(UINT swapChain, DWORD flags, const D3DGAMMARAMP* ramp) {
  touch()->SetGammaRamp(swapChain, flags, ramp);
}
void STDMETHODCALLTYPE ProxyDevice::GetGammaRamp(UINT swapChain, D3DGAMMARAMP* ramp) {
  touch()->GetGammaRamp(swapChain, ramp);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::CreateTexture(UINT width, UINT height, UINT levels, DWORD usage,
                                                     D3DFORMAT format, D3DPOOL pool, IDirect3DTexture9** texture,
                                                     HANDLE* shared) {
  return touch()->CreateTexture(width, height, levels, usage, format, pool, texture, shared);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::CreateVolumeTexture(UINT width, UINT height, UINT depth, UINT levels,
                                                           DWORD usage, D3DFORMAT format, D3DPOOL pool,
                                                           IDirect3DVolumeTexture9** texture, HANDLE* shared) {
  return touch()->CreateVolumeTexture(width, height, depth, levels, usage, format, pool, texture, shared);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::CreateCubeTexture(UINT edge, UINT levels, DWORD usage, D3DFORMAT format,
                                                         D3DPOOL pool, IDirect3DCubeTexture9** texture,
                                                         HANDLE* shared) {
  return touch()->CreateCubeTexture(edge, levels, usage, format, pool, texture, shared);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::CreateRenderTarget(UINT width, UINT height, D3DFORMAT format,
                                                          D3DMULTISAMPLE_TYPE multisample, DWORD quality, BOOL lockable,
                                                          IDirect3DSurface9** surface, HANDLE* shared) {
  return touch()->CreateRenderTarget(width, height, format, multisample, quality, lockable, surface, shared);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::CreateDepthStencilSurface(UINT width, UINT height, D3DFORMAT format,
                                                                 D3DMULTISAMPLE_TYPE multisample, DWORD quality,
                                                                 BOOL discard, IDirect3DSurface9** surface,
                                                                 HANDLE* shared) {
  return touch()->CreateDepthStencilSurface(width, height, format, multisample, quality, discard, surface, shared);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::UpdateSurface(IDirect3DSurface9* source, const RECT* sourceRect,
                                                     IDirect3DSurface9* dest, const POINT* destPoint) {
  return touch()->UpdateSurface(source, sourceRect, dest, destPoint);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::UpdateTexture(IDirect3DBaseTexture9* source, IDirect3DBaseTexture9* dest) {
  return touch()->UpdateTexture(source, dest);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetRenderTargetData(IDirect3DSurface9* target, IDirect3DSurface9* dest) {
  return touch()->GetRenderTargetData(target, dest);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetFrontBufferData(UINT swapChain, IDirect3DSurface9* dest) {
  return touch()->GetFrontBufferData(swapChain, dest);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::StretchRect(IDirect3DSurface9* source, const RECT* sourceRect,
                                                   IDirect3DSurface9* dest, const RECT* destRect,
                                                   D3DTEXTUREFILTERTYPE filter) {
  return touch()->StretchRect(source, sourceRect, dest, destRect, filter);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::ColorFill(IDirect3DSurface9* surface, const RECT* rect, D3DCOLOR color) {
  return touch()->ColorFill(surface, rect, color);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::CreateOffscreenPlainSurface(UINT width, UINT height, D3DFORMAT format,
                                                                   D3DPOOL pool, IDirect3DSurface9** surface,
                                                                   HANDLE* shared) {
  return touch()->CreateOffscreenPlainSurface(width, height, format, pool, surface, shared);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetRenderTarget(DWORD index, IDirect3DSurface9** target) {
  return touch()->GetRenderTarget(index, target);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetDepthStencilSurface(IDirect3DSurface9** surface) {
  return touch()->GetDepthStencilSurface(surface);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::BeginScene() { return touch()->BeginScene(); }
HRESULT STDMETHODCALLTYPE ProxyDevice::EndScene() { return touch()->EndScene(); }
HRESULT STDMETHODCALLTYPE ProxyDevice::GetTransform(D3DTRANSFORMSTATETYPE state, D3DMATRIX* matrix) {
  return touch()->GetTransform(state, matrix);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::MultiplyTransform(D3DTRANSFORMSTATETYPE state, const D3DMATRIX* matrix) {
  return touch()->MultiplyTransform(state, matrix);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetViewport(D3DVIEWPORT9* viewport) { return touch()->GetViewport(viewport); }
HRESULT STDMETHODCALLTYPE ProxyDevice::SetMaterial(const D3DMATERIAL9* material) {
  return touch()->SetMaterial(material);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetMaterial(D3DMATERIAL9* material) { return touch()->GetMaterial(material); }
HRESULT STDMETHODCALLTYPE ProxyDevice::SetLight(DWORD index, const D3DLIGHT9* light) {
  return touch()->SetLight(index, light);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetLight(DWORD index, D3DLIGHT9* light) {
  return touch()->GetLight(index, light);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::LightEnable(DWORD index, BOOL enable) {
  return touch()->LightEnable(index, enable);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetLightEnable(DWORD index, BOOL* enable) {
  return touch()->GetLightEnable(index, enable);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetClipPlane(DWORD index, const float* plane) {
  return touch()->SetClipPlane(index, plane);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetClipPlane(DWORD index, float* plane) {
  return touch()->GetClipPlane(index, plane);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetRenderState(D3DRENDERSTATETYPE state, DWORD* value) {
  return touch()->GetRenderState(state, value);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::CreateStateBlock(D3DSTATEBLOCKTYPE type, IDirect3DStateBlock9** block) {
  return touch()->CreateStateBlock(type, block);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::BeginStateBlock() { return touch()->BeginStateBlock(); }
HRESULT STDMETHODCALLTYPE ProxyDevice::EndStateBlock(IDirect3DStateBlock9** block) {
  return touch()->EndStateBlock(block);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetClipStatus(const D3DCLIPSTATUS9* status) {
  return touch()->SetClipStatus(status);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetClipStatus(D3DCLIPSTATUS9* status) { return touch()->GetClipStatus(status); }
HRESULT STDMETHODCALLTYPE ProxyDevice::GetTexture(DWORD stage, IDirect3DBaseTexture9** texture) {
  return touch()->GetTexture(stage, texture);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetTextureStageState(DWORD stage, D3DTEXTURESTAGESTATETYPE type, DWORD* value) {
  return touch()->GetTextureStageState(stage, type, value);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetSamplerState(DWORD sampler, D3DSAMPLERSTATETYPE type, DWORD* value) {
  return touch()->GetSamplerState(sampler, type, value);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::ValidateDevice(DWORD* passes) { return touch()->ValidateDevice(passes); }
HRESULT STDMETHODCALLTYPE ProxyDevice::SetPaletteEntries(UINT palette, const PALETTEENTRY* entries) {
  return touch()->SetPaletteEntries(palette, entries);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetPaletteEntries(UINT palette, PALETTEENTRY* entries) {
  return touch()->GetPaletteEntries(palette, entries);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetCurrentTexturePalette(UINT palette) {
  return touch()->SetCurrentTexturePalette(palette);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetCurrentTexturePalette(UINT* palette) {
  return touch()->GetCurrentTexturePalette(palette);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetScissorRect(const RECT* rect) { return touch()->SetScissorRect(rect); }
HRESULT STDMETHODCALLTYPE ProxyDevice::GetScissorRect(RECT* rect) { return touch()->GetScissorRect(rect); }
BOOL STDMETHODCALLTYPE ProxyDevice::GetSoftwareVertexProcessing() { return touch()->GetSoftwareVertexProcessing(); }
HRESULT STDMETHODCALLTYPE ProxyDevice::SetNPatchMode(float segments) { return touch()->SetNPatchMode(segments); }
float STDMETHODCALLTYPE ProxyDevice::GetNPatchMode() { return touch()->GetNPatchMode(); }
HRESULT STDMETHODCALLTYPE ProxyDevice::CreateVertexDeclaration(const D3DVERTEXELEMENT9* elements,
                                                               IDirect3DVertexDeclaration9** declaration) {
  return touch()->CreateVertexDeclaration(elements, declaration);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetVertexDeclaration(IDirect3DVertexDeclaration9* declaration) {
  return touch()->SetVertexDeclaration(declaration);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetVertexDeclaration(IDirect3DVertexDeclaration9** declaration) {
  return touch()->GetVertexDeclaration(declaration);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetFVF(DWORD* fvf) { return touch()->GetFVF(fvf); }
HRESULT STDMETHODCALLTYPE ProxyDevice::CreateVertexShader(const DWORD* code, IDirect3DVertexShader9** shader) {
  return touch()->CreateVertexShader(code, shader);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetVertexShader(IDirect3DVertexShader9** shader) {
  return touch()->GetVertexShader(shader);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetVertexShaderConstantF(UINT start, const float* data, UINT count) {
  return touch()->SetVertexShaderConstantF(start, data, count);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetVertexShaderConstantF(UINT start, float* data, UINT count) {
  return touch()->GetVertexShaderConstantF(start, data, count);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetVertexShaderConstantI(UINT start, const int* data, UINT count) {
  return touch()->SetVertexShaderConstantI(start, data, count);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetVertexShaderConstantI(UINT start, int* data, UINT count) {
  return touch()->GetVertexShaderConstantI(start, data, count);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetVertexShaderConstantB(UINT start, const BOOL* data, UINT count) {
  return touch()->SetVertexShaderConstantB(start, data, count);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetVertexShaderConstantB(UINT start, BOOL* data, UINT count) {
  return touch()->GetVertexShaderConstantB(start, data, count);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetStreamSourceFreq(UINT stream, UINT divider) {
  return touch()->SetStreamSourceFreq(stream, divider);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetStreamSourceFreq(UINT stream, UINT* divider) {
  return touch()->GetStreamSourceFreq(stream, divider);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::CreatePixelShader(const DWORD* code, IDirect3DPixelShader9** shader) {
  return touch()->CreatePixelShader(code, shader);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetPixelShader(IDirect3DPixelShader9** shader) {
  return touch()->GetPixelShader(shader);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetPixelShaderConstantF(UINT start, const float* data, UINT count) {
  return touch()->SetPixelShaderConstantF(start, data, count);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetPixelShaderConstantF(UINT start, float* data, UINT count) {
  return touch()->GetPixelShaderConstantF(start, data, count);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetPixelShaderConstantI(UINT start, const int* data, UINT count) {
  return touch()->SetPixelShaderConstantI(start, data, count);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetPixelShaderConstantI(UINT start, int* data, UINT count) {
  return touch()->GetPixelShaderConstantI(start, data, count);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::SetPixelShaderConstantB(UINT start, const BOOL* data, UINT count) {
  return touch()->SetPixelShaderConstantB(start, data, count);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::GetPixelShaderConstantB(UINT start, BOOL* data, UINT count) {
  return touch()->GetPixelShaderConstantB(start, data, count);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::DrawRectPatch(UINT handle, const float* segments,
                                                     const D3DRECTPATCH_INFO* info) {
  return touch()->DrawRectPatch(handle, segments, info);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::DrawTriPatch(UINT handle, const float* segments, const D3DTRIPATCH_INFO* info) {
  return touch()->DrawTriPatch(handle, segments, info);
}
HRESULT STDMETHODCALLTYPE ProxyDevice::DeletePatch(UINT handle) { return touch()->DeletePatch(handle); }
HRESULT STDMETHODCALLTYPE ProxyDevice::CreateQuery(D3DQUERYTYPE type, IDirect3DQuery9** query) {
  return touch()->CreateQuery(type, query);
}

}  // namespace tstest
