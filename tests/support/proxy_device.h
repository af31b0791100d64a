#pragma once

#include <windows.h>
#include <d3d9.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace tstest {

// The calls the proxy records, with the number of args each fills, in parameter order:
// SetRenderState: state, value. SetTextureStageState, SetSamplerState: stage, type, value.
// SetTexture: stage; object: texture. SetTransform: state; values: the matrix, row by row.
// SetFVF: fvf. Set*Shader, SetIndices, SetDepthStencilSurface, Unlock*: object only.
// SetStreamSource: stream, offset, stride; object: buffer as passed in. SetRenderTarget: index.
// Clear: rect count, flags, colour, stencil; values: z; object: rects. SetViewport: x, y, width,
// height; values: min z, max z. Create*Buffer: length, usage, fvf or format, pool; object: the
// buffer handed out. Lock*Buffer: offset, size, flags; object: buffer. Draw calls: their numbers
// without pointers.
#define TSTEST_DEVICE_CALL_KINDS(X)                                                                      \
  X(SetRenderState, 2) X(SetTextureStageState, 3) X(SetSamplerState, 3) X(SetTexture, 1) X(SetTransform, 1) \
  X(SetFVF, 1) X(SetVertexShader, 0) X(SetPixelShader, 0) X(SetStreamSource, 3) X(SetIndices, 0)          \
  X(SetSoftwareVertexProcessing, 1) X(SetRenderTarget, 1) X(SetDepthStencilSurface, 0) X(Clear, 4)        \
  X(SetViewport, 4) X(CreateVertexBuffer, 4) X(CreateIndexBuffer, 4) X(LockVertexBuffer, 3)               \
  X(UnlockVertexBuffer, 0) X(LockIndexBuffer, 3) X(UnlockIndexBuffer, 0) X(DrawPrimitive, 3)              \
  X(DrawIndexedPrimitive, 6) X(DrawPrimitiveUP, 3) X(DrawIndexedPrimitiveUP, 6)

#define TSTEST_KIND(name, argCount) name,
enum class DeviceCallKind { TSTEST_DEVICE_CALL_KINDS(TSTEST_KIND) };
#undef TSTEST_KIND

// One recorded call: its numbers in parameter order (see each kind), its floats, and the
// object or pointer it names.
struct DeviceCall {
  DeviceCallKind kind = DeviceCallKind::SetRenderState;
  std::array<int64_t, 6> args{};
  std::array<float, 16> values{};
  const void* object = nullptr;

  bool operator==(const DeviceCall& other) const {
    return kind == other.kind && args == other.args && values == other.values && object == other.object;
  }
};

// A call of kind with the given args, object and values.
DeviceCall makeCall(DeviceCallKind kind, std::initializer_list<int64_t> args, const void* object = nullptr,
                    std::initializer_list<float> values = {});
// The calls that tests expect most, built the way the proxy records them.
DeviceCall renderStateCall(D3DRENDERSTATETYPE state, DWORD value);
DeviceCall stageStateCall(DWORD stage, D3DTEXTURESTAGESTATETYPE type, DWORD value);
DeviceCall samplerStateCall(DWORD sampler, D3DSAMPLERSTATETYPE type, DWORD value);
DeviceCall softwareVertexProcessingCall(bool software);
DeviceCall transformCall(D3DTRANSFORMSTATETYPE state, const D3DMATRIX& matrix);
DeviceCall textureCall(DWORD stage, const IDirect3DBaseTexture9* texture);

// Readable in test failures, e.g. "SetRenderState(D3DRS 7, 1)".
std::string describe(const DeviceCall& call);
std::ostream& operator<<(std::ostream& out, const DeviceCall& call);

// The calls recorded before they are passed on, as M(name, (parameters), (the call recorded),
// (arguments of the real device)): the real device sees real buffers, callers our wrappers.
#define TSTEST_RECORDED_DEVICE_METHODS(M) \
  M(SetRenderState, (D3DRENDERSTATETYPE state, DWORD value), (renderStateCall(state, value)), (state, value)) \
  M(SetTextureStageState, (DWORD stage, D3DTEXTURESTAGESTATETYPE type, DWORD value), \
    (stageStateCall(stage, type, value)), (stage, type, value)) \
  M(SetSamplerState, (DWORD sampler, D3DSAMPLERSTATETYPE type, DWORD value), (samplerStateCall(sampler, type, value)), \
    (sampler, type, value)) \
  M(SetTexture, (DWORD stage, IDirect3DBaseTexture9* texture), (textureCall(stage, texture)), (stage, texture)) \
  M(SetTransform, (D3DTRANSFORMSTATETYPE state, const D3DMATRIX* matrix), \
    (matrix ? transformCall(state, *matrix) : makeCall(DeviceCallKind::SetTransform, {state})), (state, matrix)) \
  M(SetFVF, (DWORD fvf), (makeCall(DeviceCallKind::SetFVF, {fvf})), (fvf)) \
  M(SetVertexShader, (IDirect3DVertexShader9* shader), (makeCall(DeviceCallKind::SetVertexShader, {}, shader)), \
    (shader)) \
  M(SetPixelShader, (IDirect3DPixelShader9* shader), (makeCall(DeviceCallKind::SetPixelShader, {}, shader)), (shader)) \
  M(SetStreamSource, (UINT stream, IDirect3DVertexBuffer9* buffer, UINT offset, UINT stride), \
    (makeCall(DeviceCallKind::SetStreamSource, {stream, offset, stride}, buffer)), \
    (stream, static_cast<IDirect3DVertexBuffer9*>(unwrap(buffer)), offset, stride)) \
  M(SetIndices, (IDirect3DIndexBuffer9* buffer), (makeCall(DeviceCallKind::SetIndices, {}, buffer)), \
    (static_cast<IDirect3DIndexBuffer9*>(unwrap(buffer)))) \
  M(SetSoftwareVertexProcessing, (BOOL software), (softwareVertexProcessingCall(software)), (software)) \
  M(SetRenderTarget, (DWORD index, IDirect3DSurface9* target), \
    (makeCall(DeviceCallKind::SetRenderTarget, {index}, target)), (index, target)) \
  M(SetDepthStencilSurface, (IDirect3DSurface9* surface), \
    (makeCall(DeviceCallKind::SetDepthStencilSurface, {}, surface)), (surface)) \
  M(Clear, (DWORD rectCount, const D3DRECT* rects, DWORD flags, D3DCOLOR color, float z, DWORD stencil), \
    (makeCall(DeviceCallKind::Clear, {rectCount, flags, color, stencil}, rects, {z})), \
    (rectCount, rects, flags, color, z, stencil)) \
  M(SetViewport, (const D3DVIEWPORT9* v), \
    (v ? makeCall(DeviceCallKind::SetViewport, {v->X, v->Y, v->Width, v->Height}, nullptr, {v->MinZ, v->MaxZ}) \
       : makeCall(DeviceCallKind::SetViewport, {})), (v)) \
  M(DrawPrimitive, (D3DPRIMITIVETYPE type, UINT start, UINT count), \
    (makeCall(DeviceCallKind::DrawPrimitive, {type, start, count})), (type, start, count)) \
  M(DrawIndexedPrimitive, (D3DPRIMITIVETYPE type, INT base, UINT minIndex, UINT vertices, UINT start, UINT count), \
    (makeCall(DeviceCallKind::DrawIndexedPrimitive, {type, base, minIndex, vertices, start, count})), \
    (type, base, minIndex, vertices, start, count)) \
  M(DrawPrimitiveUP, (D3DPRIMITIVETYPE type, UINT count, const void* data, UINT stride), \
    (makeCall(DeviceCallKind::DrawPrimitiveUP, {type, count, stride})), (type, count, data, stride)) \
  M(DrawIndexedPrimitiveUP, (D3DPRIMITIVETYPE type, UINT minIndex, UINT vertices, UINT count, const void* indices, \
    D3DFORMAT format, const void* data, UINT stride), \
    (makeCall(DeviceCallKind::DrawIndexedPrimitiveUP, {type, minIndex, vertices, count, format, stride})), \
    (type, minIndex, vertices, count, indices, format, data, stride))

// The six constant calls of one shader stage, Vertex or Pixel, in the form below.
#define TSTEST_SHADER_CONSTANT_METHODS(X, Stage) \
  X(HRESULT, Set##Stage##ShaderConstantF, (UINT start, const float* data, UINT count), (start, data, count)) \
  X(HRESULT, Get##Stage##ShaderConstantF, (UINT start, float* data, UINT count), (start, data, count)) \
  X(HRESULT, Set##Stage##ShaderConstantI, (UINT start, const int* data, UINT count), (start, data, count)) \
  X(HRESULT, Get##Stage##ShaderConstantI, (UINT start, int* data, UINT count), (start, data, count)) \
  X(HRESULT, Set##Stage##ShaderConstantB, (UINT start, const BOOL* data, UINT count), (start, data, count)) \
  X(HRESULT, Get##Stage##ShaderConstantB, (UINT start, BOOL* data, UINT count), (start, data, count))

// The device methods that the proxy passes on untouched, counted but not recorded, as
// X(return type, name, (parameters), (arguments)). The proxy declares and defines one
// forwarder for each; the calls it records or whose buffers it swaps are written out below.
#define TSTEST_FORWARDED_DEVICE_METHODS(X) \
  X(HRESULT, TestCooperativeLevel, (), ()) \
  X(UINT, GetAvailableTextureMem, (), ()) \
  X(HRESULT, EvictManagedResources, (), ()) \
  X(HRESULT, GetDirect3D, (IDirect3D9** d3d), (d3d)) \
  X(HRESULT, GetDeviceCaps, (D3DCAPS9* caps), (caps)) \
  X(HRESULT, GetDisplayMode, (UINT swapChain, D3DDISPLAYMODE* mode), (swapChain, mode)) \
  X(HRESULT, GetCreationParameters, (D3DDEVICE_CREATION_PARAMETERS* parameters), (parameters)) \
  X(HRESULT, SetCursorProperties, (UINT x, UINT y, IDirect3DSurface9* bitmap), (x, y, bitmap)) \
  X(void, SetCursorPosition, (int x, int y, DWORD flags), (x, y, flags)) \
  X(BOOL, ShowCursor, (BOOL show), (show)) \
  X(HRESULT, CreateAdditionalSwapChain, (D3DPRESENT_PARAMETERS* parameters, IDirect3DSwapChain9** swapChain), \
    (parameters, swapChain)) \
  X(HRESULT, GetSwapChain, (UINT index, IDirect3DSwapChain9** swapChain), (index, swapChain)) \
  X(UINT, GetNumberOfSwapChains, (), ()) \
  X(HRESULT, Reset, (D3DPRESENT_PARAMETERS* parameters), (parameters)) \
  X(HRESULT, Present, (const RECT* source, const RECT* dest, HWND window, const RGNDATA* dirty), \
    (source, dest, window, dirty)) \
  X(HRESULT, GetBackBuffer, (UINT swapChain, UINT index, D3DBACKBUFFER_TYPE type, IDirect3DSurface9** surface), \
    (swapChain, index, type, surface)) \
  X(HRESULT, GetRasterStatus, (UINT swapChain, D3DRASTER_STATUS* status), (swapChain, status)) \
  X(HRESULT, SetDialogBoxMode, (BOOL enable), (enable)) \
  X(void, SetGammaRamp, (UINT swapChain, DWORD flags, const D3DGAMMARAMP* ramp), (swapChain, flags, ramp)) \
  X(void, GetGammaRamp, (UINT swapChain, D3DGAMMARAMP* ramp), (swapChain, ramp)) \
  X(HRESULT, CreateTexture, (UINT width, UINT height, UINT levels, DWORD usage, D3DFORMAT format, D3DPOOL pool, \
    IDirect3DTexture9** texture, HANDLE* shared), \
    (width, height, levels, usage, format, pool, texture, shared)) \
  X(HRESULT, CreateVolumeTexture, (UINT width, UINT height, UINT depth, UINT levels, DWORD usage, D3DFORMAT format, \
    D3DPOOL pool, IDirect3DVolumeTexture9** texture, HANDLE* shared), \
    (width, height, depth, levels, usage, format, pool, texture, shared)) \
  X(HRESULT, CreateCubeTexture, (UINT edge, UINT levels, DWORD usage, D3DFORMAT format, D3DPOOL pool, \
    IDirect3DCubeTexture9** texture, HANDLE* shared), \
    (edge, levels, usage, format, pool, texture, shared)) \
  X(HRESULT, CreateRenderTarget, (UINT width, UINT height, D3DFORMAT format, D3DMULTISAMPLE_TYPE multisample, \
    DWORD quality, BOOL lockable, IDirect3DSurface9** surface, HANDLE* shared), \
    (width, height, format, multisample, quality, lockable, surface, shared)) \
  X(HRESULT, CreateDepthStencilSurface, (UINT width, UINT height, D3DFORMAT format, D3DMULTISAMPLE_TYPE multisample, \
    DWORD quality, BOOL discard, IDirect3DSurface9** surface, HANDLE* shared), \
    (width, height, format, multisample, quality, discard, surface, shared)) \
  X(HRESULT, UpdateSurface, (IDirect3DSurface9* source, const RECT* sourceRect, IDirect3DSurface9* dest, \
    const POINT* destPoint), \
    (source, sourceRect, dest, destPoint)) \
  X(HRESULT, UpdateTexture, (IDirect3DBaseTexture9* source, IDirect3DBaseTexture9* dest), (source, dest)) \
  X(HRESULT, GetRenderTargetData, (IDirect3DSurface9* target, IDirect3DSurface9* dest), (target, dest)) \
  X(HRESULT, GetFrontBufferData, (UINT swapChain, IDirect3DSurface9* dest), (swapChain, dest)) \
  X(HRESULT, StretchRect, (IDirect3DSurface9* source, const RECT* sourceRect, IDirect3DSurface9* dest, \
    const RECT* destRect, D3DTEXTUREFILTERTYPE filter), \
    (source, sourceRect, dest, destRect, filter)) \
  X(HRESULT, ColorFill, (IDirect3DSurface9* surface, const RECT* rect, D3DCOLOR color), (surface, rect, color)) \
  X(HRESULT, CreateOffscreenPlainSurface, (UINT width, UINT height, D3DFORMAT format, D3DPOOL pool, \
    IDirect3DSurface9** surface, HANDLE* shared), \
    (width, height, format, pool, surface, shared)) \
  X(HRESULT, GetRenderTarget, (DWORD index, IDirect3DSurface9** target), (index, target)) \
  X(HRESULT, GetDepthStencilSurface, (IDirect3DSurface9** surface), (surface)) \
  X(HRESULT, BeginScene, (), ()) \
  X(HRESULT, EndScene, (), ()) \
  X(HRESULT, GetTransform, (D3DTRANSFORMSTATETYPE state, D3DMATRIX* matrix), (state, matrix)) \
  X(HRESULT, MultiplyTransform, (D3DTRANSFORMSTATETYPE state, const D3DMATRIX* matrix), (state, matrix)) \
  X(HRESULT, GetViewport, (D3DVIEWPORT9* viewport), (viewport)) \
  X(HRESULT, SetMaterial, (const D3DMATERIAL9* material), (material)) \
  X(HRESULT, GetMaterial, (D3DMATERIAL9* material), (material)) \
  X(HRESULT, SetLight, (DWORD index, const D3DLIGHT9* light), (index, light)) \
  X(HRESULT, GetLight, (DWORD index, D3DLIGHT9* light), (index, light)) \
  X(HRESULT, LightEnable, (DWORD index, BOOL enable), (index, enable)) \
  X(HRESULT, GetLightEnable, (DWORD index, BOOL* enable), (index, enable)) \
  X(HRESULT, SetClipPlane, (DWORD index, const float* plane), (index, plane)) \
  X(HRESULT, GetClipPlane, (DWORD index, float* plane), (index, plane)) \
  X(HRESULT, GetRenderState, (D3DRENDERSTATETYPE state, DWORD* value), (state, value)) \
  X(HRESULT, CreateStateBlock, (D3DSTATEBLOCKTYPE type, IDirect3DStateBlock9** block), (type, block)) \
  X(HRESULT, BeginStateBlock, (), ()) \
  X(HRESULT, EndStateBlock, (IDirect3DStateBlock9** block), (block)) \
  X(HRESULT, SetClipStatus, (const D3DCLIPSTATUS9* status), (status)) \
  X(HRESULT, GetClipStatus, (D3DCLIPSTATUS9* status), (status)) \
  X(HRESULT, GetTexture, (DWORD stage, IDirect3DBaseTexture9** texture), (stage, texture)) \
  X(HRESULT, GetTextureStageState, (DWORD stage, D3DTEXTURESTAGESTATETYPE type, DWORD* value), (stage, type, value)) \
  X(HRESULT, GetSamplerState, (DWORD sampler, D3DSAMPLERSTATETYPE type, DWORD* value), (sampler, type, value)) \
  X(HRESULT, ValidateDevice, (DWORD* passes), (passes)) \
  X(HRESULT, SetPaletteEntries, (UINT palette, const PALETTEENTRY* entries), (palette, entries)) \
  X(HRESULT, GetPaletteEntries, (UINT palette, PALETTEENTRY* entries), (palette, entries)) \
  X(HRESULT, SetCurrentTexturePalette, (UINT palette), (palette)) \
  X(HRESULT, GetCurrentTexturePalette, (UINT* palette), (palette)) \
  X(HRESULT, SetScissorRect, (const RECT* rect), (rect)) \
  X(HRESULT, GetScissorRect, (RECT* rect), (rect)) \
  X(BOOL, GetSoftwareVertexProcessing, (), ()) \
  X(HRESULT, SetNPatchMode, (float segments), (segments)) \
  X(float, GetNPatchMode, (), ()) \
  X(HRESULT, CreateVertexDeclaration, (const D3DVERTEXELEMENT9* elements, IDirect3DVertexDeclaration9** declaration), \
    (elements, declaration)) \
  X(HRESULT, SetVertexDeclaration, (IDirect3DVertexDeclaration9* declaration), (declaration)) \
  X(HRESULT, GetVertexDeclaration, (IDirect3DVertexDeclaration9** declaration), (declaration)) \
  X(HRESULT, GetFVF, (DWORD* fvf), (fvf)) \
  X(HRESULT, CreateVertexShader, (const DWORD* code, IDirect3DVertexShader9** shader), (code, shader)) \
  X(HRESULT, GetVertexShader, (IDirect3DVertexShader9** shader), (shader)) \
  TSTEST_SHADER_CONSTANT_METHODS(X, Vertex) \
  X(HRESULT, SetStreamSourceFreq, (UINT stream, UINT divider), (stream, divider)) \
  X(HRESULT, GetStreamSourceFreq, (UINT stream, UINT* divider), (stream, divider)) \
  X(HRESULT, CreatePixelShader, (const DWORD* code, IDirect3DPixelShader9** shader), (code, shader)) \
  X(HRESULT, GetPixelShader, (IDirect3DPixelShader9** shader), (shader)) \
  TSTEST_SHADER_CONSTANT_METHODS(X, Pixel) \
  X(HRESULT, DrawRectPatch, (UINT handle, const float* segments, const D3DRECTPATCH_INFO* info), \
    (handle, segments, info)) \
  X(HRESULT, DrawTriPatch, (UINT handle, const float* segments, const D3DTRIPATCH_INFO* info), \
    (handle, segments, info)) \
  X(HRESULT, DeletePatch, (UINT handle), (handle)) \
  X(HRESULT, CreateQuery, (D3DQUERYTYPE type, IDirect3DQuery9** query), (type, query))

// A device for tests that forwards every call to a real one and records the calls that
// change state, lock buffers and draw, so tests can state what code sends to a device.
//
// It is a COM object with its own count: create gives it with one reference, and it holds
// one on the real device, which it releases when its count reaches 0. Vertex and index
// buffers made through it are wrapped so their locks are recorded; each holds a reference on
// the proxy, as a real resource does on its device, so a test sees a leaked buffer in
// references(). Buffers are handed to the real device unwrapped.
// COM objects end in their own Release, never by a delete through an interface pointer, so
// the interfaces' lack of a virtual destructor is by design.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
class ProxyDevice final : public IDirect3DDevice9 {
 public:
  static ProxyDevice* create(IDirect3DDevice9* real);
  ProxyDevice(const ProxyDevice&) = delete;
  ProxyDevice& operator=(const ProxyDevice&) = delete;

  IDirect3DDevice9* real() const { return device; }
  const std::vector<DeviceCall>& calls() const { return log; }
  std::vector<DeviceCall> callsOf(DeviceCallKind kind) const;
  size_t count(DeviceCallKind kind) const;
  // Every device method called since the last clearLog, recorded or not; IUnknown's aside.
  size_t totalCalls() const { return total; }
  void clearLog();
  ULONG references() const { return referenceCount; }

  // IUnknown
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  // IDirect3DDevice9: the calls whose buffers are swapped, the recorded ones, then the plain forwarders.
  HRESULT STDMETHODCALLTYPE CreateVertexBuffer(UINT length, DWORD usage, DWORD fvf, D3DPOOL pool,
                                               IDirect3DVertexBuffer9** buffer, HANDLE* shared) override;
  HRESULT STDMETHODCALLTYPE CreateIndexBuffer(UINT length, DWORD usage, D3DFORMAT format, D3DPOOL pool,
                                              IDirect3DIndexBuffer9** buffer, HANDLE* shared) override;
  HRESULT STDMETHODCALLTYPE GetStreamSource(UINT stream, IDirect3DVertexBuffer9** buffer, UINT* offset,
                                            UINT* stride) override;
  HRESULT STDMETHODCALLTYPE GetIndices(IDirect3DIndexBuffer9** buffer) override;
  HRESULT STDMETHODCALLTYPE ProcessVertices(UINT sourceStart, UINT destIndex, UINT vertexCount,
                                            IDirect3DVertexBuffer9* dest, IDirect3DVertexDeclaration9* declaration,
                                            DWORD flags) override;
#define TSTEST_DECLARE_RECORDED(name, parameters, recorded, arguments) \
  HRESULT STDMETHODCALLTYPE name parameters override;
  TSTEST_RECORDED_DEVICE_METHODS(TSTEST_DECLARE_RECORDED)
#undef TSTEST_DECLARE_RECORDED
#define TSTEST_DECLARE_FORWARDER(type, name, parameters, arguments) type STDMETHODCALLTYPE name parameters override;
  TSTEST_FORWARDED_DEVICE_METHODS(TSTEST_DECLARE_FORWARDER)
#undef TSTEST_DECLARE_FORWARDER

 private:
  template <class Interface, class Desc, DeviceCallKind LockKind, DeviceCallKind UnlockKind>
  friend class ProxyBuffer;

  explicit ProxyDevice(IDirect3DDevice9* real);
  ~ProxyDevice();

  // Counts a call and gives the device to forward it to.
  IDirect3DDevice9* touch();
  void record(const DeviceCall& call) { log.push_back(call); }
  // The real buffer behind a wrapper of ours; anything else passes unchanged.
  void* unwrap(void* object) const;
  // The wrapper handed out for a real buffer that the device gave in *buffer, in its place.
  template <class Interface>
  void rewrap(Interface** buffer);

  IDirect3DDevice9* device;
  ULONG referenceCount = 1;
  size_t total = 0;
  std::vector<DeviceCall> log;
  // Live buffer wrappers, as the interface pointers handed out, and the real buffers behind them.
  std::map<void*, void*> realOf;
};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

}  // namespace tstest
