#pragma once

#include <windows.h>
#include <d3d9.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace tstest {

enum class DeviceCallKind {
  SetRenderState,               // args: state, value
  SetTextureStageState,         // args: stage, type, value
  SetSamplerState,              // args: sampler, type, value
  SetTexture,                   // args: stage; object: texture
  SetTransform,                 // args: state; values: the matrix, row by row
  SetFVF,                       // args: fvf
  SetVertexShader,              // object: shader
  SetPixelShader,               // object: shader
  SetStreamSource,              // args: stream, offset, stride; object: buffer as passed in
  SetIndices,                   // object: buffer as passed in
  SetSoftwareVertexProcessing,  // args: software
  SetRenderTarget,              // args: index; object: surface
  SetDepthStencilSurface,       // object: surface
  Clear,                        // args: rect count, flags, colour, stencil; values: z; object: rects
  SetViewport,                  // args: x, y, width, height; values: min z, max z
  CreateVertexBuffer,           // args: length, usage, fvf, pool; object: the buffer handed out
  CreateIndexBuffer,            // args: length, usage, format, pool; object: the buffer handed out
  LockVertexBuffer,             // args: offset, size, flags; object: buffer
  UnlockVertexBuffer,           // object: buffer
  LockIndexBuffer,              // args: offset, size, flags; object: buffer
  UnlockIndexBuffer,            // object: buffer
  DrawPrimitive,                // args: type, start vertex, primitive count
  DrawIndexedPrimitive,         // args: type, base vertex, min index, vertex count, start index, primitive count
  DrawPrimitiveUP,              // args: type, primitive count, stride
  DrawIndexedPrimitiveUP,       // args: type, min index, vertex count, primitive count, index format, stride
};

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
  bool operator!=(const DeviceCall& other) const { return !(*this == other); }
};

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

  // IDirect3DDevice9, in the interface's order
  HRESULT STDMETHODCALLTYPE TestCooperativeLevel() override;
  UINT STDMETHODCALLTYPE GetAvailableTextureMem() override;
  HRESULT STDMETHODCALLTYPE EvictManagedResources() override;
  HRESULT STDMETHODCALLTYPE GetDirect3D(IDirect3D9** d3d) override;
  HRESULT STDMETHODCALLTYPE GetDeviceCaps(D3DCAPS9* caps) override;
  HRESULT STDMETHODCALLTYPE GetDisplayMode(UINT swapChain, D3DDISPLAYMODE* mode) override;
  HRESULT STDMETHODCALLTYPE GetCreationParameters(D3DDEVICE_CREATION_PARAMETERS* parameters) override;
  HRESULT STDMETHODCALLTYPE SetCursorProperties(UINT x, UINT y, IDirect3DSurface9* bitmap) override;
  void STDMETHODCALLTYPE SetCursorPosition(int x, int y, DWORD flags) override;
  BOOL STDMETHODCALLTYPE ShowCursor(BOOL show) override;
  HRESULT STDMETHODCALLTYPE CreateAdditionalSwapChain(D3DPRESENT_PARAMETERS* parameters,
                                                      IDirect3DSwapChain9** swapChain) override;
  HRESULT STDMETHODCALLTYPE GetSwapChain(UINT index, IDirect3DSwapChain9** swapChain) override;
  UINT STDMETHODCALLTYPE GetNumberOfSwapChains() override;
  HRESULT STDMETHODCALLTYPE Reset(D3DPRESENT_PARAMETERS* parameters) override;
  HRESULT STDMETHODCALLTYPE Present(const RECT* source, const RECT* dest, HWND window, const RGNDATA* dirty) override;
  HRESULT STDMETHODCALLTYPE GetBackBuffer(UINT swapChain, UINT index, D3DBACKBUFFER_TYPE type,
                                          IDirect3DSurface9** surface) override;
  HRESULT STDMETHODCALLTYPE GetRasterStatus(UINT swapChain, D3DRASTER_STATUS* status) override;
  HRESULT STDMETHODCALLTYPE SetDialogBoxMode(BOOL enable) override;
  void STDMETHODCALLTYPE SetGammaRamp(UINT swapChain, DWORD flags, const D3DGAMMARAMP* ramp) override;
  void STDMETHODCALLTYPE GetGammaRamp(UINT swapChain, D3DGAMMARAMP* ramp) override;
  HRESULT STDMETHODCALLTYPE CreateTexture(UINT width, UINT height, UINT levels, DWORD usage, D3DFORMAT format,
                                          D3DPOOL pool, IDirect3DTexture9** texture, HANDLE* shared) override;
  HRESULT STDMETHODCALLTYPE CreateVolumeTexture(UINT width, UINT height, UINT depth, UINT levels, DWORD usage,
                                                D3DFORMAT format, D3DPOOL pool, IDirect3DVolumeTexture9** texture,
                                                HANDLE* shared) override;
  HRESULT STDMETHODCALLTYPE CreateCubeTexture(UINT edge, UINT levels, DWORD usage, D3DFORMAT format, D3DPOOL pool,
                                              IDirect3DCubeTexture9** texture, HANDLE* shared) override;
  HRESULT STDMETHODCALLTYPE CreateVertexBuffer(UINT length, DWORD usage, DWORD fvf, D3DPOOL pool,
                                               IDirect3DVertexBuffer9** buffer, HANDLE* shared) override;
  HRESULT STDMETHODCALLTYPE CreateIndexBuffer(UINT length, DWORD usage, D3DFORMAT format, D3DPOOL pool,
                                              IDirect3DIndexBuffer9** buffer, HANDLE* shared) override;
  HRESULT STDMETHODCALLTYPE CreateRenderTarget(UINT width, UINT height, D3DFORMAT format,
                                               D3DMULTISAMPLE_TYPE multisample, DWORD quality, BOOL lockable,
                                               IDirect3DSurface9** surface, HANDLE* shared) override;
  HRESULT STDMETHODCALLTYPE CreateDepthStencilSurface(UINT width, UINT height, D3DFORMAT format,
                                                      D3DMULTISAMPLE_TYPE multisample, DWORD quality, BOOL discard,
                                                      IDirect3DSurface9** surface, HANDLE* shared) override;
  HRESULT STDMETHODCALLTYPE UpdateSurface(IDirect3DSurface9* source, const RECT* sourceRect, IDirect3DSurface9* dest,
                                          const POINT* destPoint) override;
  HRESULT STDMETHODCALLTYPE UpdateTexture(IDirect3DBaseTexture9* source, IDirect3DBaseTexture9* dest) override;
  HRESULT STDMETHODCALLTYPE GetRenderTargetData(IDirect3DSurface9* target, IDirect3DSurface9* dest) override;
  HRESULT STDMETHODCALLTYPE GetFrontBufferData(UINT swapChain, IDirect3DSurface9* dest) override;
  HRESULT STDMETHODCALLTYPE StretchRect(IDirect3DSurface9* source, const RECT* sourceRect, IDirect3DSurface9* dest,
                                        const RECT* destRect, D3DTEXTUREFILTERTYPE filter) override;
  HRESULT STDMETHODCALLTYPE ColorFill(IDirect3DSurface9* surface, const RECT* rect, D3DCOLOR color) override;
  HRESULT STDMETHODCALLTYPE CreateOffscreenPlainSurface(UINT width, UINT height, D3DFORMAT format, D3DPOOL pool,
                                                        IDirect3DSurface9** surface, HANDLE* shared) override;
  HRESULT STDMETHODCALLTYPE SetRenderTarget(DWORD index, IDirect3DSurface9* target) override;
  HRESULT STDMETHODCALLTYPE GetRenderTarget(DWORD index, IDirect3DSurface9** target) override;
  HRESULT STDMETHODCALLTYPE SetDepthStencilSurface(IDirect3DSurface9* surface) override;
  HRESULT STDMETHODCALLTYPE GetDepthStencilSurface(IDirect3DSurface9** surface) override;
  HRESULT STDMETHODCALLTYPE BeginScene() override;
  HRESULT STDMETHODCALLTYPE EndScene() override;
  HRESULT STDMETHODCALLTYPE Clear(DWORD rectCount, const D3DRECT* rects, DWORD flags, D3DCOLOR color, float z,
                                  DWORD stencil) override;
  HRESULT STDMETHODCALLTYPE SetTransform(D3DTRANSFORMSTATETYPE state, const D3DMATRIX* matrix) override;
  HRESULT STDMETHODCALLTYPE GetTransform(D3DTRANSFORMSTATETYPE state, D3DMATRIX* matrix) override;
  HRESULT STDMETHODCALLTYPE MultiplyTransform(D3DTRANSFORMSTATETYPE state, const D3DMATRIX* matrix) override;
  HRESULT STDMETHODCALLTYPE SetViewport(const D3DVIEWPORT9* viewport) override;
  HRESULT STDMETHODCALLTYPE GetViewport(D3DVIEWPORT9* viewport) override;
  HRESULT STDMETHODCALLTYPE SetMaterial(const D3DMATERIAL9* material) override;
  HRESULT STDMETHODCALLTYPE GetMaterial(D3DMATERIAL9* material) override;
  HRESULT STDMETHODCALLTYPE SetLight(DWORD index, const D3DLIGHT9* light) override;
  HRESULT STDMETHODCALLTYPE GetLight(DWORD index, D3DLIGHT9* light) override;
  HRESULT STDMETHODCALLTYPE LightEnable(DWORD index, BOOL enable) override;
  HRESULT STDMETHODCALLTYPE GetLightEnable(DWORD index, BOOL* enable) override;
  HRESULT STDMETHODCALLTYPE SetClipPlane(DWORD index, const float* plane) override;
  HRESULT STDMETHODCALLTYPE GetClipPlane(DWORD index, float* plane) override;
  HRESULT STDMETHODCALLTYPE SetRenderState(D3DRENDERSTATETYPE state, DWORD value) override;
  HRESULT STDMETHODCALLTYPE GetRenderState(D3DRENDERSTATETYPE state, DWORD* value) override;
  HRESULT STDMETHODCALLTYPE CreateStateBlock(D3DSTATEBLOCKTYPE type, IDirect3DStateBlock9** block) override;
  HRESULT STDMETHODCALLTYPE BeginStateBlock() override;
  HRESULT STDMETHODCALLTYPE EndStateBlock(IDirect3DStateBlock9** block) override;
  HRESULT STDMETHODCALLTYPE SetClipStatus(const D3DCLIPSTATUS9* status) override;
  HRESULT STDMETHODCALLTYPE GetClipStatus(D3DCLIPSTATUS9* status) override;
  HRESULT STDMETHODCALLTYPE GetTexture(DWORD stage, IDirect3DBaseTexture9** texture) override;
  HRESULT STDMETHODCALLTYPE SetTexture(DWORD stage, IDirect3DBaseTexture9* texture) override;
  HRESULT STDMETHODCALLTYPE GetTextureStageState(DWORD stage, D3DTEXTURESTAGESTATETYPE type, DWORD* value) override;
  HRESULT STDMETHODCALLTYPE SetTextureStageState(DWORD stage, D3DTEXTURESTAGESTATETYPE type, DWORD value) override;
  HRESULT STDMETHODCALLTYPE GetSamplerState(DWORD sampler, D3DSAMPLERSTATETYPE type, DWORD* value) override;
  HRESULT STDMETHODCALLTYPE SetSamplerState(DWORD sampler, D3DSAMPLERSTATETYPE type, DWORD value) override;
  HRESULT STDMETHODCALLTYPE ValidateDevice(DWORD* passes) override;
  HRESULT STDMETHODCALLTYPE SetPaletteEntries(UINT palette, const PALETTEENTRY* entries) override;
  HRESULT STDMETHODCALLTYPE GetPaletteEntries(UINT palette, PALETTEENTRY* entries) override;
  HRESULT STDMETHODCALLTYPE SetCurrentTexturePalette(UINT palette) override;
  HRESULT STDMETHODCALLTYPE GetCurrentTexturePalette(UINT* palette) override;
  HRESULT STDMETHODCALLTYPE SetScissorRect(const RECT* rect) override;
  HRESULT STDMETHODCALLTYPE GetScissorRect(RECT* rect) override;
  HRESULT STDMETHODCALLTYPE SetSoftwareVertexProcessing(BOOL software) override;
  BOOL STDMETHODCALLTYPE GetSoftwareVertexProcessing() override;
  HRESULT STDMETHODCALLTYPE SetNPatchMode(float segments) override;
  float STDMETHODCALLTYPE GetNPatchMode() override;
  HRESULT STDMETHODCALLTYPE DrawPrimitive(D3DPRIMITIVETYPE type, UINT start, UINT count) override;
  HRESULT STDMETHODCALLTYPE DrawIndexedPrimitive(D3DPRIMITIVETYPE type, INT baseVertex, UINT minIndex, UINT vertexCount,
                                                 UINT startIndex, UINT count) override;
  HRESULT STDMETHODCALLTYPE DrawPrimitiveUP(D3DPRIMITIVETYPE type, UINT count, const void* data, UINT stride) override;
  HRESULT STDMETHODCALLTYPE DrawIndexedPrimitiveUP(D3DPRIMITIVETYPE type, UINT minIndex, UINT vertexCount, UINT count,
                                                   const void* indices, D3DFORMAT indexFormat, const void* data,
                                                   UINT stride) override;
  HRESULT STDMETHODCALLTYPE ProcessVertices(UINT sourceStart, UINT destIndex, UINT vertexCount,
                                            IDirect3DVertexBuffer9* dest, IDirect3DVertexDeclaration9* declaration,
                                            DWORD flags) override;
  HRESULT STDMETHODCALLTYPE CreateVertexDeclaration(const D3DVERTEXELEMENT9* elements,
                                                    IDirect3DVertexDeclaration9** declaration) override;
  HRESULT STDMETHODCALLTYPE SetVertexDeclaration(IDirect3DVertexDeclaration9* declaration) override;
  HRESULT STDMETHODCALLTYPE GetVertexDeclaration(IDirect3DVertexDeclaration9** declaration) override;
  HRESULT STDMETHODCALLTYPE SetFVF(DWORD fvf) override;
  HRESULT STDMETHODCALLTYPE GetFVF(DWORD* fvf) override;
  HRESULT STDMETHODCALLTYPE CreateVertexShader(const DWORD* code, IDirect3DVertexShader9** shader) override;
  HRESULT STDMETHODCALLTYPE SetVertexShader(IDirect3DVertexShader9* shader) override;
  HRESULT STDMETHODCALLTYPE GetVertexShader(IDirect3DVertexShader9** shader) override;
  HRESULT STDMETHODCALLTYPE SetVertexShaderConstantF(UINT start, const float* data, UINT count) override;
  HRESULT STDMETHODCALLTYPE GetVertexShaderConstantF(UINT start, float* data, UINT count) override;
  HRESULT STDMETHODCALLTYPE SetVertexShaderConstantI(UINT start, const int* data, UINT count) override;
  HRESULT STDMETHODCALLTYPE GetVertexShaderConstantI(UINT start, int* data, UINT count) override;
  HRESULT STDMETHODCALLTYPE SetVertexShaderConstantB(UINT start, const BOOL* data, UINT count) override;
  HRESULT STDMETHODCALLTYPE GetVertexShaderConstantB(UINT start, BOOL* data, UINT count) override;
  HRESULT STDMETHODCALLTYPE SetStreamSource(UINT stream, IDirect3DVertexBuffer9* buffer, UINT offset,
                                            UINT stride) override;
  HRESULT STDMETHODCALLTYPE GetStreamSource(UINT stream, IDirect3DVertexBuffer9** buffer, UINT* offset,
                                            UINT* stride) override;
  HRESULT STDMETHODCALLTYPE SetStreamSourceFreq(UINT stream, UINT divider) override;
  HRESULT STDMETHODCALLTYPE GetStreamSourceFreq(UINT stream, UINT* divider) override;
  HRESULT STDMETHODCALLTYPE SetIndices(IDirect3DIndexBuffer9* buffer) override;
  HRESULT STDMETHODCALLTYPE GetIndices(IDirect3DIndexBuffer9** buffer) override;
  HRESULT STDMETHODCALLTYPE CreatePixelShader(const DWORD* code, IDirect3DPixelShader9** shader) override;
  HRESULT STDMETHODCALLTYPE SetPixelShader(IDirect3DPixelShader9* shader) override;
  HRESULT STDMETHODCALLTYPE GetPixelShader(IDirect3DPixelShader9** shader) override;
  HRESULT STDMETHODCALLTYPE SetPixelShaderConstantF(UINT start, const float* data, UINT count) override;
  HRESULT STDMETHODCALLTYPE GetPixelShaderConstantF(UINT start, float* data, UINT count) override;
  HRESULT STDMETHODCALLTYPE SetPixelShaderConstantI(UINT start, const int* data, UINT count) override;
  HRESULT STDMETHODCALLTYPE GetPixelShaderConstantI(UINT start, int* data, UINT count) override;
  HRESULT STDMETHODCALLTYPE SetPixelShaderConstantB(UINT start, const BOOL* data, UINT count) override;
  HRESULT STDMETHODCALLTYPE GetPixelShaderConstantB(UINT start, BOOL* data, UINT count) override;
  HRESULT STDMETHODCALLTYPE DrawRectPatch(UINT handle, const float* segments, const D3DRECTPATCH_INFO* info) override;
  HRESULT STDMETHODCALLTYPE DrawTriPatch(UINT handle, const float* segments, const D3DTRIPATCH_INFO* info) override;
  HRESULT STDMETHODCALLTYPE DeletePatch(UINT handle) override;
  HRESULT STDMETHODCALLTYPE CreateQuery(D3DQUERYTYPE type, IDirect3DQuery9** query) override;

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
  // The wrapper handed out for a real buffer, or null.
  void* wrapperOf(void* realBuffer) const;

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
