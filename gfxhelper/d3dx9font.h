#pragma once

// A small bitmap font under the public D3DX 9 names, Windows only.
//
// GDI rasterises the glyphs of the single-byte code page (0..255) of a font into an
// A8R8G8B8 atlas, white with the coverage in alpha; text is drawn as pre-transformed,
// alpha-blended quads. Drawing saves and restores all device state it touches.
//
// Limits: the height must be 1..256 pixels, the width 0..256 and the weight 0..1000;
// a font whose 256 glyphs would need an atlas larger than 2048 x 2048 is refused.
// The atlas has one mip level whatever MipLevels asks; GetDescA gives back the
// description as made. Sprites are not supported: DrawTextA takes a null sprite only.

#include <windows.h>
#include <d3d9.h>

struct D3DXFONT_DESCA {
  INT Height;
  UINT Width;
  UINT Weight;
  UINT MipLevels;
  BOOL Italic;
  BYTE CharSet;
  BYTE OutputPrecision;
  BYTE Quality;
  BYTE PitchAndFamily;
  CHAR FaceName[LF_FACESIZE];
};
typedef D3DXFONT_DESCA D3DXFONT_DESC;
typedef D3DXFONT_DESCA* LPD3DXFONT_DESCA;

static_assert(sizeof(D3DXFONT_DESCA) == 56, "D3DXFONT_DESCA must keep its public layout");

// The font object: COM reference counting, released through Release, never deleted;
// IUnknown's destructor is not virtual, which GCC warns of for every COM interface.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
struct ID3DXFont : public IUnknown {
  // The device the font was made on, with a reference added.
  virtual HRESULT STDMETHODCALLTYPE GetDevice(IDirect3DDevice9** device) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDescA(D3DXFONT_DESCA* desc) = 0;

  // Rasterises the glyphs of codes first..last (both included, clamped to 255) now
  // rather than on first use.
  virtual HRESULT STDMETHODCALLTYPE PreloadCharacters(UINT first, UINT last) = 0;
  // The same for the characters of a string; count -1 means up to its terminating 0.
  virtual HRESULT STDMETHODCALLTYPE PreloadTextA(const char* text, INT count) = 0;

  // Draws `count` characters of `text` (-1: up to its terminating 0) in `rect`. Formats:
  // DT_LEFT, DT_CENTER, DT_RIGHT, DT_TOP, DT_VCENTER, DT_BOTTOM, DT_SINGLELINE (else
  // lines break at '\n'), DT_NOCLIP (else glyphs are clipped to the rect) and
  // DT_CALCRECT (only extends rect's right and bottom to fit the text, draws nothing).
  // Returns the height of the text in pixels, 0 on failure. `sprite` must be null.
  virtual INT STDMETHODCALLTYPE DrawTextA(void* sprite, const char* text, INT count, RECT* rect, DWORD format,
                                          D3DCOLOR color) = 0;

  // The atlas is in the managed pool and survives a reset: nothing to do.
  virtual HRESULT STDMETHODCALLTYPE OnLostDevice() = 0;
  virtual HRESULT STDMETHODCALLTYPE OnResetDevice() = 0;

 protected:
  ~ID3DXFont() = default;
};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
typedef ID3DXFont* LPD3DXFONT;

// Makes a font with one reference. Fails with D3DERR_INVALIDCALL for a null argument
// or a description out of bounds, E_OUTOFMEMORY when the atlas would be too large
// for the device or above 2048 x 2048, E_FAIL when GDI cannot make the font.
HRESULT WINAPI D3DXCreateFontIndirectA(IDirect3DDevice9* device, const D3DXFONT_DESCA* desc, ID3DXFont** font);

inline HRESULT D3DXCreateFontIndirect(IDirect3DDevice9* device, const D3DXFONT_DESCA* desc, ID3DXFont** font) {
  return D3DXCreateFontIndirectA(device, desc, font);
}
