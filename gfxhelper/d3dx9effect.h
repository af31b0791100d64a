#pragma once

// Effects under the public D3DX 9 names, Windows only: the subset the engine calls.
//
// An effect file is parsed by fx::parseEffect; each technique is then built on the device:
// `asm { }` shaders by our own assembler, `compile` entries by D3DCompile from
// d3dcompiler_47.dll when the system has it. Whatever fails inside a technique (a shader the
// assembler or compiler refuses, an unknown state or value) makes that technique invalid and
// is traced; a file that doesn't parse gives no effect at all.
//
// Parameters reach the device through bindings: `register(...)` on a parameter for assembled
// shaders, the constant table for compiled ones, and state assignments that name a parameter
// (`Texture[0] = <Map>`, `TextureFactor = <Colour>`). Matrices go to constant registers
// column by column, as HLSL packs them by default. A Set* between Pass and End reaches the
// device at once, so an object drawn after it sees the new value.
//
// Begin saves every state that a pass of the technique sets (unless D3DXFX_DONOTSAVESTATE)
// and End puts it back. Constant registers are not saved. Handles are only those that this
// effect gave out; names are not taken as handles.

#include <windows.h>
#include <d3d9.h>

#include "gfxhelper/d3dx9math.h"

typedef const char* D3DXHANDLE;

struct D3DXMACRO {
  LPCSTR Name;
  LPCSTR Definition;
};

enum D3DXPARAMETER_CLASS {
  D3DXPC_SCALAR,
  D3DXPC_VECTOR,
  D3DXPC_MATRIX_ROWS,
  D3DXPC_MATRIX_COLUMNS,
  D3DXPC_OBJECT,
  D3DXPC_STRUCT,
  D3DXPC_FORCE_DWORD = 0x7fffffff
};

enum D3DXPARAMETER_TYPE {
  D3DXPT_VOID,
  D3DXPT_BOOL,
  D3DXPT_INT,
  D3DXPT_FLOAT,
  D3DXPT_STRING,
  D3DXPT_TEXTURE,
  D3DXPT_TEXTURE1D,
  D3DXPT_TEXTURE2D,
  D3DXPT_TEXTURE3D,
  D3DXPT_TEXTURECUBE,
  D3DXPT_SAMPLER,
  D3DXPT_SAMPLER1D,
  D3DXPT_SAMPLER2D,
  D3DXPT_SAMPLER3D,
  D3DXPT_SAMPLERCUBE,
  D3DXPT_PIXELSHADER,
  D3DXPT_VERTEXSHADER,
  D3DXPT_PIXELFRAGMENT,
  D3DXPT_VERTEXFRAGMENT,
  D3DXPT_FORCE_DWORD = 0x7fffffff
};

struct D3DXPARAMETER_DESC {
  LPCSTR Name;
  LPCSTR Semantic;
  D3DXPARAMETER_CLASS Class;
  D3DXPARAMETER_TYPE Type;
  UINT Rows;
  UINT Columns;
  UINT Elements;
  UINT Annotations;
  UINT StructMembers;
  DWORD Flags;
  UINT Bytes;
};

struct D3DXTECHNIQUE_DESC {
  LPCSTR Name;
  UINT Passes;
  UINT Annotations;
};

constexpr DWORD D3DXFX_DONOTSAVESTATE = 1;

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
// Text that a call gives back, here the messages of a failed effect creation.
struct ID3DXBuffer : public IUnknown {
  virtual LPVOID STDMETHODCALLTYPE GetBufferPointer() = 0;
  virtual DWORD STDMETHODCALLTYPE GetBufferSize() = 0;
};

struct ID3DXEffect : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetParameterDesc(D3DXHANDLE parameter, D3DXPARAMETER_DESC* desc) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTechniqueDesc(D3DXHANDLE technique, D3DXTECHNIQUE_DESC* desc) = 0;
  // `parent` must be null: parameters are not nested here.
  virtual D3DXHANDLE STDMETHODCALLTYPE GetParameterByName(D3DXHANDLE parent, LPCSTR name) = 0;
  // Semantics compare without regard to case.
  virtual D3DXHANDLE STDMETHODCALLTYPE GetParameterBySemantic(D3DXHANDLE parent, LPCSTR semantic) = 0;
  virtual D3DXHANDLE STDMETHODCALLTYPE GetTechniqueByName(LPCSTR name) = 0;
  // The first valid technique after `technique` (null: from the first), in source order.
  virtual HRESULT STDMETHODCALLTYPE FindNextValidTechnique(D3DXHANDLE technique, D3DXHANDLE* next) = 0;
  // Valid: every pass built, and the device's caps take its shaders and stages.
  virtual HRESULT STDMETHODCALLTYPE ValidateTechnique(D3DXHANDLE technique) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetTechnique(D3DXHANDLE technique) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetFloat(D3DXHANDLE parameter, FLOAT value) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetVector(D3DXHANDLE parameter, const D3DXVECTOR4* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetMatrix(D3DXHANDLE parameter, const D3DXMATRIX* value) = 0;
  // The effect holds a reference to the texture until another replaces it.
  virtual HRESULT STDMETHODCALLTYPE SetTexture(D3DXHANDLE parameter, IDirect3DBaseTexture9* texture) = 0;
  virtual HRESULT STDMETHODCALLTYPE Begin(UINT* passes, DWORD flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Pass(UINT pass) = 0;
  virtual HRESULT STDMETHODCALLTYPE End() = 0;
};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

// `include`, `flags` and `pool` are not supported and must be null, 0 and null. `defines`
// (null-terminated, may be null) go to the HLSL compiler only. On failure `errors`, when
// not null, receives the message.
HRESULT WINAPI D3DXCreateEffectFromFileA(IDirect3DDevice9* device, LPCSTR file, const D3DXMACRO* defines,
                                         void* include, DWORD flags, void* pool, ID3DXEffect** effect,
                                         ID3DXBuffer** errors);
// The text of an RCDATA resource of `module`.
HRESULT WINAPI D3DXCreateEffectFromResourceA(IDirect3DDevice9* device, HMODULE module, LPCSTR resource,
                                             const D3DXMACRO* defines, void* include, DWORD flags, void* pool,
                                             ID3DXEffect** effect, ID3DXBuffer** errors);
