#include "tests/support/proxy_device.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace tstest {

namespace {

#define TSTEST_KIND_INFO(name, argCount) {#name, argCount},
const struct {
  const char* name;
  int argCount;
} kindInfo[] = {TSTEST_DEVICE_CALL_KINDS(TSTEST_KIND_INFO)};
#undef TSTEST_KIND_INFO

}  // namespace

DeviceCall makeCall(DeviceCallKind kind, std::initializer_list<int64_t> args, const void* object,
                    std::initializer_list<float> values) {
  DeviceCall call;
  call.kind = kind;
  std::copy(args.begin(), args.end(), call.args.begin());
  std::copy(values.begin(), values.end(), call.values.begin());
  call.object = object;
  return call;
}

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
  const auto& info = kindInfo[static_cast<size_t>(call.kind)];
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
// locks and unlocks on the proxy's log. It holds a reference on the proxy, as a real buffer
// does on its device, and ends in its own Release.
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
    const bool known = riid == __uuidof(IUnknown) || riid == __uuidof(IDirect3DResource9) || riid == __uuidof(Interface);
    *object = known ? static_cast<Interface*>(this) : nullptr;
    if (known) AddRef();
    return known ? S_OK : E_NOINTERFACE;
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

size_t ProxyDevice::count(DeviceCallKind kind) const { return callsOf(kind).size(); }

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

template <class Interface>
void ProxyDevice::rewrap(Interface** buffer) {
  if (!buffer || !*buffer) return;
  for (const auto& [wrapper, real] : realOf) {
    if (real != *buffer) continue;
    static_cast<Interface*>(wrapper)->AddRef();
    (*buffer)->Release();
    *buffer = static_cast<Interface*>(wrapper);
    return;
  }
}

HRESULT STDMETHODCALLTYPE ProxyDevice::QueryInterface(REFIID riid, void** object) {
  if (!object) return E_POINTER;
  const bool known = riid == __uuidof(IUnknown) || riid == __uuidof(IDirect3DDevice9);
  *object = known ? static_cast<IDirect3DDevice9*>(this) : nullptr;
  if (known) AddRef();
  return known ? S_OK : E_NOINTERFACE;
}

ULONG STDMETHODCALLTYPE ProxyDevice::AddRef() { return ++referenceCount; }

ULONG STDMETHODCALLTYPE ProxyDevice::Release() {
  const ULONG left = --referenceCount;
  if (left == 0) delete this;
  return left;
}

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

HRESULT STDMETHODCALLTYPE ProxyDevice::GetStreamSource(UINT stream, IDirect3DVertexBuffer9** buffer, UINT* offset,
                                                       UINT* stride) {
  const HRESULT result = touch()->GetStreamSource(stream, buffer, offset, stride);
  if (SUCCEEDED(result)) rewrap(buffer);
  return result;
}

HRESULT STDMETHODCALLTYPE ProxyDevice::GetIndices(IDirect3DIndexBuffer9** buffer) {
  const HRESULT result = touch()->GetIndices(buffer);
  if (SUCCEEDED(result)) rewrap(buffer);
  return result;
}

HRESULT STDMETHODCALLTYPE ProxyDevice::ProcessVertices(UINT sourceStart, UINT destIndex, UINT vertexCount,
                                                       IDirect3DVertexBuffer9* dest,
                                                       IDirect3DVertexDeclaration9* declaration, DWORD flags) {
  return touch()->ProcessVertices(sourceStart, destIndex, vertexCount,
                                  static_cast<IDirect3DVertexBuffer9*>(unwrap(dest)), declaration, flags);
}

#define TSTEST_RECORD(name, parameters, recorded, arguments) \
  HRESULT STDMETHODCALLTYPE ProxyDevice::name parameters {   \
    record recorded;                                         \
    return touch()->name arguments;                          \
  }
TSTEST_RECORDED_DEVICE_METHODS(TSTEST_RECORD)
#undef TSTEST_RECORD

#define TSTEST_FORWARD(type, name, parameters, arguments) \
  type STDMETHODCALLTYPE ProxyDevice::name parameters { return touch()->name arguments; }
TSTEST_FORWARDED_DEVICE_METHODS(TSTEST_FORWARD)
#undef TSTEST_FORWARD

}  // namespace tstest
