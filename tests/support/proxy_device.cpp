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

#define TSTEST_FORWARD(type, name, parameters, arguments) \
  type STDMETHODCALLTYPE ProxyDevice::name parameters { return touch()->name arguments; }
TSTEST_FORWARDED_DEVICE_METHODS(TSTEST_FORWARD)
#undef TSTEST_FORWARD

}  // namespace tstest
